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
           start.startsWith("<plist") || start.startsWith("<!--") ||
           start.startsWith("\xEF\xBB\xBF<");
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

plist_t PropertyListFile::readRoot(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return nullptr;
    if (file.size() > maximumSize || file.size() == 0)
        return nullptr;
    const QByteArray bytes = file.read(maximumSize + 1);
    if (bytes.size() > maximumSize || !looksLikeXml(bytes))
        return nullptr;
    // XML never holds a NUL byte. libplist would keep one inside a string or key, and then abort
    // the program in an assertion when the value is read.
    if (bytes.contains('\0'))
        return nullptr;
    plist_t root = nullptr;
    plist_from_xml(bytes.constData(), static_cast<uint32_t>(bytes.size()), &root);
    return root;
}

std::unique_ptr<PList::Dictionary> PropertyListFile::readDictionary(const QString& path)
{
    plist_t root = readRoot(path);
    if (!root)
        return nullptr;
    if (plist_get_node_type(root) != PLIST_DICT) {
        plist_free(root);
        return nullptr;
    }
    // The wrapper owns the node from here on.
    return std::make_unique<PList::Dictionary>(root);
}

PropertyListFile::ArrayNode PropertyListFile::readArray(const QString& path)
{
    ArrayNode root(readRoot(path));
    if (!root || plist_get_node_type(root.get()) != PLIST_ARRAY)
        return nullptr;
    return root;
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
