#include "input/PasswordSetting.h"

#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "platform/Dialogs.h"

void PasswordSetting::store(const QString& password)
{
    PasswordBuffer::rebuildFrom(password);
    PasswordFile::write(m_passwordPath, *PasswordBuffer::buffer());
}

void PasswordSetting::confirmSaved()
{
    m_dialogs.showAlert(QString::fromLatin1(saved));
}

PasswordSetting::FirstTimeStep PasswordSetting::saveNewPassword(const QString& password,
                                                                const QString& confirmation,
                                                                QWidget* window)
{
    if (password != confirmation) {
        m_dialogs.showAlert(QString::fromLatin1(mismatchFirstTime), window);
        return FirstTimeStep::Mismatch;
    }
    if (password.isEmpty())
        return FirstTimeStep::AskAboutEmpty;
    store(password);
    return FirstTimeStep::Saved;
}

PasswordSetting::ChangeResult PasswordSetting::savePassword(const QString& oldPassword,
                                                            const QString& next,
                                                            const QString& confirmation,
                                                            QWidget* window)
{
    if (oldPassword != PasswordBuffer::joined()) {
        m_dialogs.showAlert(QString::fromLatin1(wrongOldPassword), window);
        return ChangeResult::WrongOldPassword;
    }
    if (next != confirmation) {
        m_dialogs.showAlert(QString::fromLatin1(mismatchChange), window);
        return ChangeResult::Mismatch;
    }
    // An empty new password is accepted here without a question.
    store(next);
    return ChangeResult::Saved;
}
