#include "input/PasswordSetting.h"

#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "platform/Dialogs.h"

#include <QFileInfo>

QString PasswordSetting::untypableCharacters(const QString& password)
{
    QString found;
    for (qsizetype i = 0; i < password.size(); ++i) {
        // A character beyond the basic plane is two units, both beyond eight bits.
        const qsizetype length =
            password.at(i).isHighSurrogate() && i + 1 < password.size() ? 2 : 1;
        const QString character = password.mid(i, length);
        i += length - 1;
        if (character.at(0).unicode() > 0xFF && !found.contains(character))
            found += character;
    }
    return found;
}

bool PasswordSetting::refuseUntypable(const QString& password, QWidget* window)
{
    const QString untypable = untypableCharacters(password);
    if (untypable.isEmpty())
        return false;
    QStringList quoted;
    for (qsizetype i = 0; i < untypable.size(); ++i) {
        const qsizetype length = untypable.at(i).isHighSurrogate() ? 2 : 1;
        quoted << QStringLiteral("\u201c%1\u201d").arg(untypable.mid(i, length));
        i += length - 1;
    }
    m_dialogs.showAlert(
        QString::fromLatin1(untypableRefusal).arg(quoted.join(QStringLiteral(", "))), window);
    return true;
}

void PasswordSetting::store(const QString& password)
{
    PasswordBuffer::rebuildFrom(password);
    m_lastStoreWritten = PasswordFile::write(m_passwordPath, *PasswordBuffer::buffer());
}

void PasswordSetting::confirmSaved()
{
    if (m_lastStoreWritten) {
        m_dialogs.showAlert(QString::fromLatin1(saved));
        return;
    }
    m_dialogs.showAlert(QStringLiteral("Your password could not be saved: %1. It unlocks the "
                                       "screen until Tessarine ends, but not after a restart.")
                            .arg(whyNotWritten(m_passwordPath)));
}

QString PasswordSetting::whyNotWritten(const QString& passwordPath)
{
    const QFileInfo folder(QFileInfo(passwordPath).absolutePath());
    if (!folder.exists())
        return QStringLiteral("the folder %1 does not exist and could not be made")
            .arg(folder.filePath());
    if (!folder.isDir())
        return QStringLiteral("%1 is not a folder").arg(folder.filePath());
    if (!folder.isWritable())
        return QStringLiteral("the folder %1 cannot be written").arg(folder.filePath());
    return QStringLiteral("%1 could not be written (is the disk full?)").arg(passwordPath);
}

PasswordSetting::FirstTimeStep PasswordSetting::saveNewPassword(const QString& password,
                                                                const QString& confirmation,
                                                                QWidget* window)
{
    if (password != confirmation) {
        m_dialogs.showAlert(QString::fromLatin1(mismatchFirstTime), window);
        return FirstTimeStep::Mismatch;
    }
    if (refuseUntypable(password, window))
        return FirstTimeStep::Untypable;
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
    if (refuseUntypable(next, window))
        return ChangeResult::Untypable;
    // An empty new password is accepted here without a question.
    store(next);
    return ChangeResult::Saved;
}
