#include "platform/LibraryFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

QString LibraryFolder::path()
{
    QString base = QFile::decodeName(qgetenv("XDG_CONFIG_HOME"));
    if (base.isEmpty() || !QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.config");
    return base + QStringLiteral("/tessarine");
}

bool LibraryFolder::ensureExists(const QString& folder)
{
    if (QFileInfo(folder).isDir())
        return true;
    if (!QDir().mkpath(folder))
        return false;
    return QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}
