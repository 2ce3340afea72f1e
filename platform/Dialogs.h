#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class QWidget;

// Alerts. A plain alert is modal to the window it belongs to (none when it belongs to none); a
// question asked as a sheet is modal to its window and answers through a callback with 1000 for
// the first button, 1001 for the second.
//
// Security: no alert is ever modal to the whole program, because a lock that comes up while it
// is open would then be blocked, and its keys with it.
class Dialogs
{
public:
    static constexpr int firstButton = 1000;
    static constexpr int secondButton = 1001;

    virtual ~Dialogs() = default;
    virtual void showAlert(const QString& message, QWidget* window = nullptr) = 0;
    virtual void askAsSheet(QWidget* window, const QString& message, const QStringList& buttons,
                            std::function<void(int)> answered) = 0;
    // An open panel for one existing file, modal to its window, with any file type. Answers with
    // the file's absolute URL, or nothing when the user cancels.
    virtual void chooseFile(QWidget* window, const QString& message,
                            std::function<void(std::optional<QString>)> chosen) = 0;
};

class QtDialogs final : public Dialogs
{
public:
    void showAlert(const QString& message, QWidget* window = nullptr) override;
    void askAsSheet(QWidget* window, const QString& message, const QStringList& buttons,
                    std::function<void(int)> answered) override;
    void chooseFile(QWidget* window, const QString& message,
                    std::function<void(std::optional<QString>)> chosen) override;
};
