#include "platform/RegularFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace RegularFile {

namespace {

const char* kindOf(mode_t mode)
{
    if (S_ISDIR(mode))
        return "a folder";
    if (S_ISFIFO(mode))
        return "a FIFO";
    if (S_ISCHR(mode))
        return "a character device";
    if (S_ISBLK(mode))
        return "a block device";
    if (S_ISSOCK(mode))
        return "a socket";
    return "not a file";
}

} // namespace

Content read(const std::string& path, long long maximumSize)
{
    Content content;
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        if (errno == ENOENT)
            content.missing = true;
        else
            content.refusal = std::string("cannot be opened: ") + std::strerror(errno);
        return content;
    }
    struct stat status = {};
    if (::fstat(fd, &status) != 0) {
        content.refusal = std::string("cannot be examined: ") + std::strerror(errno);
    } else if (!S_ISREG(status.st_mode)) {
        content.refusal = std::string("is not a regular file (") + kindOf(status.st_mode) + ")";
    } else if (status.st_size > maximumSize) {
        content.refusal = "is larger than " + std::to_string(maximumSize) + " bytes";
    } else {
        // One byte past the size, to notice a file that grows while it is read.
        content.bytes.resize(static_cast<size_t>(status.st_size) + 1);
        size_t filled = 0;
        while (filled < content.bytes.size()) {
            const ssize_t n =
                ::read(fd, content.bytes.data() + filled, content.bytes.size() - filled);
            if (n == 0)
                break;
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                content.refusal = std::string("cannot be read: ") + std::strerror(errno);
                break;
            }
            filled += static_cast<size_t>(n);
        }
        content.bytes.resize(filled);
        if (content.refusal.empty() && static_cast<long long>(filled) > maximumSize)
            content.refusal = "is larger than " + std::to_string(maximumSize) + " bytes";
        if (!content.refusal.empty())
            content.bytes.clear();
    }
    ::close(fd);
    return content;
}

} // namespace RegularFile
