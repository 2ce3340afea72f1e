#pragma once

#include <string>

// Reading a file that another program of the user may have put in its place: a FIFO, a device,
// a directory, a link to /dev/zero or a file of gigabytes. Only a regular file of a sane size is
// read; anything else is refused at once, with the reason, and left as it is. Without Qt, so that
// the guard reads the same way.
namespace RegularFile {

struct Content
{
    std::string bytes;
    // Empty when the file was read; otherwise why it was not, as the end of a sentence that
    // starts with the file's path ("is not a regular file (a FIFO)").
    std::string refusal;
    // There is no file at the path (or a link to nothing): nothing to report.
    bool missing = false;

    bool isRead() const { return refusal.empty() && !missing; }
};

// Opens without blocking (a FIFO with no writer would wait for one), checks the type and the size
// on the open file (so that neither can change in between) and reads at most maximumSize bytes.
Content read(const std::string& path, long long maximumSize);

} // namespace RegularFile
