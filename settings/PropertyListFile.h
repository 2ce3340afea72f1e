#pragma once

#include <QString>

#include <memory>
#include <plist/plist.h>
#include <sys/types.h>

namespace PList {
class Array;
class Dictionary;
class Structure;
} // namespace PList

// Reads and writes XML property lists on disk.
//
// Reading is strict: a file that is missing, too large, binary, not well-formed XML (a NUL byte
// included) or of the wrong root type yields nothing, so that a caller's read-modify-write does
// nothing and the file on disk is left exactly as it was. Writing replaces the whole file
// atomically.
class PropertyListFile
{
public:
    struct NodeDeleter
    {
        void operator()(plist_t node) const { plist_free(node); }
    };
    using ArrayNode = std::unique_ptr<std::remove_pointer_t<plist_t>, NodeDeleter>;

    // Property lists of this program are a few kilobytes; anything above this is not ours and is
    // refused before it is parsed.
    static constexpr qint64 maximumSize = 4 * 1024 * 1024;

    static std::unique_ptr<PList::Dictionary> readDictionary(const QString& path);
    // Arrays come back as libplist nodes: the C++ wrapper of libplist 2.2 loses the elements of
    // an array it did not build itself (and leaks their wrappers).
    static ArrayNode readArray(const QString& path);

    // Temporary file in the same folder, fsync, rename, fsync of the folder: a crash at any moment
    // leaves either the old or the new file, never a partial one. Returns false on any failure,
    // in which case the target is untouched. The temporary file ".NAME.tessarine-XXXXXX" is
    // locked (flock) by its writer until it has been renamed, so that an abandoned one can be
    // told apart.
    //
    // A path that is a symbolic link is written through: the link stays, and the file it names is
    // replaced, atomically beside itself. With `keepMode` an existing file keeps its mode, and
    // `mode` is only for a new one; without, the file always gets `mode` (the password's 0600).
    enum class Mode
    {
        Fixed,
        KeepExisting
    };
    static bool writeAtomically(const QString& path, const PList::Structure& root, mode_t mode,
                                Mode rule = Mode::Fixed);

    // A writer killed before its rename leaves its temporary file behind. Removes those in the
    // folder that no living writer holds locked and that were last written before `startedAt`
    // (the program's start), and returns how many. Only names of our own temporary files are
    // considered: a user's ".settings.plist.backup" is never touched.
    static int removeAbandonedTemporaries(const QString& folder, time_t startedAt);

private:
    static plist_t readRoot(const QString& path);
};
