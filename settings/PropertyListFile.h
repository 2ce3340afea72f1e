#pragma once

#include <QString>

#include <memory>
#include <sys/types.h>

namespace PList {
class Array;
class Dictionary;
class Structure;
} // namespace PList

// Reads and writes XML property lists on disk.
//
// Reading is strict: a file that is missing, too large, binary, not well-formed XML or of the
// wrong root type yields nothing, so that a caller's read-modify-write does nothing and the file
// on disk is left exactly as it was. Writing replaces the whole file atomically.
class PropertyListFile
{
public:
    // Property lists of this program are a few kilobytes; anything above this is not ours and is
    // refused before it is parsed.
    static constexpr qint64 maximumSize = 4 * 1024 * 1024;

    static std::unique_ptr<PList::Dictionary> readDictionary(const QString& path);
    static std::unique_ptr<PList::Array> readArray(const QString& path);

    // Temporary file in the same folder, fsync, rename, fsync of the folder: a crash at any moment
    // leaves either the old or the new file, never a partial one. Returns false on any failure,
    // in which case the target is untouched.
    static bool writeAtomically(const QString& path, const PList::Structure& root, mode_t mode);

private:
    static std::unique_ptr<PList::Structure> readStructure(const QString& path);
};
