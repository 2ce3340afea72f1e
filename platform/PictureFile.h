#pragma once

#include <QByteArray>
#include <QString>

// Picture files on disk, read with care: a picture named by the desktop's settings or by the user
// may be anything at all.
namespace PictureFile {

// No picture is larger: a file above this is refused rather than read into memory.
inline constexpr qint64 maximumSize = 256 * 1024 * 1024;

// The file URL of a regular file at `path` (absolute, percent-encoded), "" when there is none.
QString urlOfExistingFile(const QString& path);

// The local path named by a file URL or by a plain absolute path, "" for anything else.
QString localPath(const QString& urlOrPath);

// The whole content of a regular file no larger than maximumSize; empty on any error.
QByteArray read(const QString& path);

} // namespace PictureFile
