#include "platform/PictureFile.h"

#include "platform/RegularFile.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace PictureFile {

QString urlOfExistingFile(const QString& path)
{
    if (path.isEmpty())
        return {};
    const QFileInfo info(path);
    if (!info.isFile())
        return {};
    return QString::fromLatin1(
        QUrl::fromLocalFile(info.absoluteFilePath()).toEncoded(QUrl::FullyEncoded));
}

QString localPath(const QString& urlOrPath)
{
    if (urlOrPath.startsWith('/'))
        return urlOrPath;
    const QUrl url(urlOrPath);
    if (!url.isValid())
        return {};
    if (url.scheme().isEmpty())
        return urlOrPath;
    // A file URL naming another host is a network path in disguise.
    if (url.scheme() != "file" || !(url.host().isEmpty() || url.host() == "localhost"))
        return {};
    return url.path(QUrl::FullyDecoded);
}

QByteArray read(const QString& path)
{
    if (path.isEmpty())
        return {};
    // A FIFO or a device named as a picture is refused without waiting on it.
    const RegularFile::Content content =
        RegularFile::read(QFile::encodeName(path).toStdString(), maximumSize);
    return content.isRead() ? QByteArray::fromStdString(content.bytes) : QByteArray();
}

} // namespace PictureFile
