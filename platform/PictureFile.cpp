#include "platform/PictureFile.h"

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
    // Without O_NONBLOCK, opening a FIFO would wait for a writer; the type is checked right after,
    // on the open file, so that it cannot change in between.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return {};
    QByteArray content;
    struct stat status = {};
    if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= maximumSize) {
        // The size may change while reading: read one byte past the cap to notice growth.
        content.resize(static_cast<qsizetype>(status.st_size) + 1);
        qsizetype filled = 0;
        bool failed = false;
        while (filled < content.size()) {
            const ssize_t n = ::read(fd, content.data() + filled, content.size() - filled);
            if (n == 0)
                break;
            if (n < 0) {
                if (errno == EINTR)
                    continue;
                failed = true;
                break;
            }
            filled += n;
            if (filled == content.size() && filled <= maximumSize)
                content.resize(std::min<qint64>(qint64(filled) * 2, maximumSize + 1));
        }
        if (failed || filled > maximumSize)
            content.clear();
        else
            content.resize(filled);
    }
    ::close(fd);
    return content;
}

} // namespace PictureFile
