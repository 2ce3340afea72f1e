#include "settings/PropertyListFile.h"

#include <plist/plist++.h>

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool looksLikeXml(const QByteArray& bytes)
{
    const QByteArray start = bytes.left(64).trimmed();
    return start.startsWith("<?xml") || start.startsWith("<!DOCTYPE") ||
           start.startsWith("<plist") || start.startsWith("\xEF\xBB\xBF<");
}

bool writeAll(int fd, const std::string& data)
{
    size_t written = 0;
    while (written < data.size()) {
        const ssize_t n = ::write(fd, data.data() + written, data.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        written += static_cast<size_t>(n);
    }
    return true;
}

void syncFolder(const QString& folder)
{
    const int fd =
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

} // namespace

std::unique_ptr<PList::Structure> PropertyListFile::readStructure(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    if (file.size() > maximumSize || file.size() == 0)
        return nullptr;
    const QByteArray bytes = file.read(maximumSize + 1);
    if (bytes.size() > maximumSize || !looksLikeXml(bytes))
        return nullptr;
    return std::unique_ptr<PList::Structure>(
        PList::Structure::FromXml(std::string(bytes.constData(), size_t(bytes.size()))));
}

std::unique_ptr<PList::Dictionary> PropertyListFile::readDictionary(const QString& path)
{
    auto root = readStructure(path);
    if (!root || root->GetType() != PLIST_DICT)
        return nullptr;
    return std::unique_ptr<PList::Dictionary>(static_cast<PList::Dictionary*>(root.release()));
}

std::unique_ptr<PList::Array> PropertyListFile::readArray(const QString& path)
{
    auto root = readStructure(path);
    if (!root || root->GetType() != PLIST_ARRAY)
        return nullptr;
    return std::unique_ptr<PList::Array>(static_cast<PList::Array*>(root.release()));
}

bool PropertyListFile::writeAtomically(const QString& path, const PList::Structure& root,
                                       mode_t mode)
{
    const std::string xml = root.ToXml();
    const QFileInfo target(path);
    const QString folder = target.absolutePath();
    if (!QFileInfo(folder).isDir())
        return false;

    QByteArray tmpl = QFile::encodeName(folder + QStringLiteral("/.") + target.fileName() +
                                        QStringLiteral(".XXXXXX"));
    const int fd = ::mkostemp(tmpl.data(), O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fchmod(fd, mode) == 0 && writeAll(fd, xml) && ::fsync(fd) == 0;
    ::close(fd);
    if (!ok || ::rename(tmpl.constData(), QFile::encodeName(path).constData()) != 0) {
        ::unlink(tmpl.constData());
        return false;
    }
    syncFolder(folder);
    return true;
}
