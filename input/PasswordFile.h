#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// settings.plist in the Library folder: an array of one-character strings, the stored password
// in plain text. It is written with mode 0600 so that no other user can read it.
class PasswordFile
{
public:
    static QString pathIn(const QString& libraryFolder);

    // Nothing when the file is missing or is not an array of strings: the caller then treats the
    // password as never set. Entries longer than one character are kept as they are.
    static std::optional<QStringList> read(const QString& path);

    static bool write(const QString& path, const QStringList& entries);

    static constexpr mode_t fileMode = 0600;
};
