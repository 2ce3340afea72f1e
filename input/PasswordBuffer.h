#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The stored password and its per-position match flags, one of each for the whole process, with
// the flags that go with matching it.
//
// Security: the buffer holds the password in clear text for the life of the process; it is
// never logged, and only the matcher and the password-setting flows read it.
class PasswordBuffer
{
public:
    // Absent (no password file was read) is not the same as empty (an empty password was saved):
    // the two behave differently when keys are matched.
    static const std::optional<QStringList>& buffer() { return s_buffer; }
    static QList<int>& matchFlags() { return s_matchFlags; }
    static bool isAbsent() { return !s_buffer.has_value(); }

    // Start-up: the buffer as read from the password file, with one cleared flag per entry.
    static void load(std::optional<QStringList> entries);

    static void resetPassword();
    static void addToPassword(const QString& character);
    // Leaves the match flags one entry longer than the buffer; every save rebuilds both.
    static void removeFromPassword();
    // The buffer made from a typed password: one entry per UTF-16 unit, each the unit's low byte
    // as a character, the way the password file has always been written. Characters beyond
    // Latin-1 therefore do not survive; that is kept so that existing files still match.
    static void rebuildFrom(const QString& password);
    static QString joined();
    static void clearMatchFlags();
    static int matchedCount();

    static bool getUnlocking() { return s_unlocking; }
    static void setUnlocking(bool unlocking) { s_unlocking = unlocking; }
    static double lastNudgeTime() { return s_lastNudgeTime; }
    static void setLastNudgeTime(double seconds) { s_lastNudgeTime = seconds; }

private:
    static std::optional<QStringList> s_buffer;
    static QList<int> s_matchFlags;
    static bool s_unlocking;
    static double s_lastNudgeTime;
};
