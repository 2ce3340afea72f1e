#include "settings/PropertyListFile.h"

#include "platform/Log.h"
#include "platform/RegularFile.h"
#include "settings/PropertyListShape.h"

#include <plist/plist++.h>

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

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

constexpr int temporarySuffixLength = 6; // the XXXXXX of mkostemp
// What writeAtomically puts between the file's name and the random suffix: a name nobody would
// give a file of their own, so that the cleaner never takes a user's ".settings.plist.backup".
constexpr std::string_view temporaryMark = ".plist.tessarine-";

// ".NAME.plist.tessarine-XXXXXX", as writeAtomically names its temporary files.
bool isTemporaryName(const char* name)
{
    const size_t length = std::strlen(name);
    const size_t suffix = temporaryMark.size() + temporarySuffixLength;
    if (name[0] != '.' || length < suffix + 2)
        return false;
    for (size_t i = length - temporarySuffixLength; i < length; ++i) {
        if (!std::isalnum(static_cast<unsigned char>(name[i])))
            return false;
    }
    return std::string_view(name, length - temporarySuffixLength).ends_with(temporaryMark);
}

// The temporary file beside the target, made and locked. A cleaner may take the file between
// its creation and the lock, when it looks abandoned: it is then gone, and another is made.
int createLockedTemporary(QByteArray& name, const QByteArray& pattern)
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        name = pattern;
        const int fd = ::mkostemp(name.data(), O_CLOEXEC);
        if (fd < 0)
            return -1;
        while (::flock(fd, LOCK_EX) != 0 && errno == EINTR) {
        }
        struct stat status = {};
        if (::fstat(fd, &status) == 0 && status.st_nlink > 0)
            return fd;
        ::close(fd);
    }
    return -1;
}

} // namespace

plist_t PropertyListFile::readRoot(const QString& path)
{
    // Security: the file may be anything another program put there; only a regular file of a
    // sane size is read, and what is refused is said, and left on disk as it is.
    const RegularFile::Content content =
        RegularFile::read(QFile::encodeName(path).toStdString(), maximumSize);
    if (!content.refusal.empty()) {
        Log::line(path + QLatin1Char(' ') + QString::fromStdString(content.refusal) +
                  QStringLiteral("; it is not read, and left as it is."));
        return nullptr;
    }
    const QByteArray bytes = QByteArray::fromStdString(content.bytes);
    if (bytes.isEmpty() || !looksLikeXml(bytes))
        return nullptr;
    if (PropertyListShape::nestingDepth(content.bytes) > PropertyListShape::maximumNesting) {
        Log::line(path + QStringLiteral(" nests its arrays or dictionaries deeper than any "
                                        "settings file does; it is not read, and left as it is."));
        return nullptr;
    }
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
                                       mode_t mode, Mode rule)
{
    const std::string xml = root.ToXml();
    QFileInfo target(path);
    // Through a link to the file it names, so that a user's linked options file (kept with their
    // other dotfiles, say) stays linked.
    if (target.isSymLink()) {
        const QString named = target.canonicalFilePath();
        target = QFileInfo(named.isEmpty() ? target.symLinkTarget() : named);
    }
    struct stat existing = {};
    if (rule == Mode::KeepExisting &&
        ::stat(QFile::encodeName(target.absoluteFilePath()).constData(), &existing) == 0 &&
        S_ISREG(existing.st_mode))
        mode = existing.st_mode & 07777;
    const QString folder = target.absolutePath();
    if (!QFileInfo(folder).isDir())
        return false;

    const QByteArray pattern = QFile::encodeName(folder + QStringLiteral("/.") + target.fileName() +
                                                 QStringLiteral(".tessarine-XXXXXX"));
    QByteArray temporary;
    const int fd = createLockedTemporary(temporary, pattern);
    if (fd < 0)
        return false;
    const bool written = ::fchmod(fd, mode) == 0 && writeAll(fd, xml) && ::fsync(fd) == 0;
    const bool renamed =
        written && ::rename(temporary.constData(),
                            QFile::encodeName(target.absoluteFilePath()).constData()) == 0;
    if (!renamed)
        ::unlink(temporary.constData());
    // The lock goes with the descriptor, once the file has its final name.
    ::close(fd);
    if (!renamed)
        return false;
    syncFolder(folder);
    return true;
}

int PropertyListFile::removeAbandonedTemporaries(const QString& folder, time_t startedAt)
{
    const int folderFd =
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folderFd < 0)
        return 0;
    DIR* listing = ::fdopendir(folderFd);
    if (!listing) {
        ::close(folderFd);
        return 0;
    }
    std::vector<std::string> names;
    while (const dirent* entry = ::readdir(listing)) {
        if (isTemporaryName(entry->d_name))
            names.emplace_back(entry->d_name);
    }
    int removed = 0;
    for (const std::string& name : names) {
        const int fd =
            ::openat(folderFd, name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
        if (fd < 0)
            continue;
        // A regular file of this user that no writer holds locked: its writer ended before the
        // rename. A file a writer holds is being written now and is left alone.
        struct stat status = {};
        // Only one written before this program started: no writer of ours made it since.
        if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
            status.st_mtime < startedAt && ::flock(fd, LOCK_EX | LOCK_NB) == 0 &&
            ::unlinkat(folderFd, name.c_str(), 0) == 0)
            ++removed;
        ::close(fd);
    }
    ::closedir(listing); // closes folderFd too
    return removed;
}
