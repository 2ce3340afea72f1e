#pragma once

#include <QList>
#include <QStringList>

#include <optional>

// The stored password and its per-position match flags, one of each for the whole process.
//
// Security: the buffer holds the password in clear text for the life of the process; it is
// never logged, and only the matcher and the password-setting flows read it.
class PasswordBuffer
{
public:
    // Absent (no password file was read) is not the same as empty (an empty password was saved):
    // the two behave differently when keys are matched.
    static const std::optional<QStringList>& buffer() { return s_buffer; }
    static const QList<int>& matchFlags() { return s_matchFlags; }
    static bool isAbsent() { return !s_buffer.has_value(); }

    // Start-up: the buffer as read from the password file, with one cleared flag per entry.
    static void load(std::optional<QStringList> entries);

private:
    static std::optional<QStringList> s_buffer;
    static QList<int> s_matchFlags;
};
