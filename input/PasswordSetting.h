#pragma once

#include <QString>

class Dialogs;
class QWidget;

// Setting the password: the first-time flow of the first-password window and the change flow
// that asks for the old password. Both rebuild the password buffer from what was typed, write the
// password file and confirm with an alert.
class PasswordSetting
{
public:
    static constexpr const char* mismatchFirstTime = "Passwords do not match.";
    // Its grammar differs from the first-time message; both texts are kept as they are.
    static constexpr const char* mismatchChange = "Password do not match.";
    static constexpr const char* wrongOldPassword = "Previous password incorrect.";
    static constexpr const char* saved = "Password saved successfully!";
    static constexpr const char* emptyQuestion =
        "Are you sure you want to continue without setting a password?";
    // %1: the characters, each in quotation marks.
    static constexpr const char* untypableRefusal =
        "The password was not saved: %1 cannot be kept in the password file as typed, so it "
        "could never be typed back to unlock the screen. Use letters, digits and signs of the "
        "Latin-1 set, as on Western European keyboards.";

    PasswordSetting(QString passwordPath, Dialogs& dialogs)
        : m_passwordPath(std::move(passwordPath)), m_dialogs(dialogs)
    {
    }

    enum class FirstTimeStep
    {
        Mismatch,      // alerted; nothing changed
        Untypable,     // alerted; nothing changed
        AskAboutEmpty, // the caller asks the empty-password question
        Saved,         // written; the caller empties the fields and closes the window
    };
    // The first check of the first-time flow; on Saved the password is already written and the
    // success alert is the caller's last step.
    // Alerts about the fields belong to the window they are in.
    FirstTimeStep saveNewPassword(const QString& password, const QString& confirmation,
                                  QWidget* window = nullptr);

    enum class ChangeResult
    {
        WrongOldPassword,
        Mismatch,
        Untypable,
        Saved
    };
    ChangeResult savePassword(const QString& oldPassword, const QString& next,
                              const QString& confirmation, QWidget* window = nullptr);

    // The characters of a password that the password file keeps only as their last eight bits
    // (a euro sign would come back as a not sign), each once, in the order typed.
    static QString untypableCharacters(const QString& password);

    // Rebuilds the buffer from the text and writes the file (mode 0600).
    void store(const QString& password);
    // "Password saved successfully!" when the last store was written; otherwise an alert that
    // says it could not be saved, and why: the password then holds only until the program ends.
    void confirmSaved();
    // The reason a write into the password's folder fails, as the end of a sentence.
    static QString whyNotWritten(const QString& passwordPath);

private:
    // Alerts and answers true when the password holds characters it could not be typed back as.
    bool refuseUntypable(const QString& password, QWidget* window);

    QString m_passwordPath;
    Dialogs& m_dialogs;
    bool m_lastStoreWritten = true;
};
