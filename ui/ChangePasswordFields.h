#pragma once

#include <QWidget>

class QLineEdit;
class QPushButton;

// The fields that change the password: the current one, the new one twice, and a save button.
// The preferences window shows them on its Security pane.
class ChangePasswordFields : public QWidget
{
    Q_OBJECT
public:
    explicit ChangePasswordFields(QWidget* parent = nullptr);

    QLineEdit* oldPassword() const { return m_oldPassword; }
    QLineEdit* nextPassword() const { return m_nextPassword; }
    QLineEdit* confirmNewPassword() const { return m_confirmNewPassword; }
    QPushButton* saveButton() const { return m_saveButton; }
    void clearFields();

private:
    QLineEdit* m_oldPassword = nullptr;
    QLineEdit* m_nextPassword = nullptr;
    QLineEdit* m_confirmNewPassword = nullptr;
    QPushButton* m_saveButton = nullptr;
};
