#pragma once

#include <QWidget>

class QLineEdit;
class QPushButton;

// The window that asks for a password on the first start, when no password file exists.
class FirstPasswordWindow : public QWidget
{
    Q_OBJECT
public:
    static constexpr const char* title = "Welcome to Tessarine";

    explicit FirstPasswordWindow(QWidget* parent = nullptr);

    QLineEdit* firstPassword() const { return m_firstPassword; }
    QLineEdit* firstPasswordConfirm() const { return m_firstPasswordConfirm; }
    QPushButton* saveButton() const { return m_saveButton; }

    // Shows the window above the others and gives it the keyboard.
    void bringToFront();
    void clearFields();

private:
    QLineEdit* m_firstPassword = nullptr;
    QLineEdit* m_firstPasswordConfirm = nullptr;
    QPushButton* m_saveButton = nullptr;
};
