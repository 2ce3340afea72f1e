#pragma once

#include "input/PasswordRules.h"

#include <optional>
#include <string>

// The stored password as the guard reads it from the library folder, matched by the lock
// screen's own rules (PasswordRules).
//
// Security: unlike the lock screen, the guard never opens without a password: a password file
// that is missing, empty or not an array of strings leaves it locked for good (in that case it
// reads the file again at the next key, so that a repaired file is taken up).
class GuardPassword
{
public:
    explicit GuardPassword(std::string libraryFolder);

    // Reads settings.plist and the orderMatters option of properties.plist.
    void load();
    bool isReadable() const { return m_buffer.has_value(); }
    bool orderMatters() const { return m_orderMatters; }

    // Whether the password file still holds the password read by load; true when none could be
    // read then. A lock screen that would take the lock back with another password (or none,
    // the file deleted) must not be handed it.
    bool fileStillMatches() const;

    // One key as the lock screen would feed it; true when the password is now complete.
    bool keyPressed(const std::u16string& key, double now);

    // The files as the lock screen reads them: nothing for a file that is missing, too large,
    // not XML, or not an array of strings; orderMatters false when missing or unreadable, and a
    // value of any type converted as the lock screen converts it.
    static std::optional<PasswordRules::Buffer> readPassword(const std::string& path);
    static bool readOrderMatters(const std::string& path);

private:
    std::string m_libraryFolder;
    std::optional<PasswordRules::Buffer> m_buffer;
    PasswordRules::Flags m_flags;
    bool m_orderMatters = false;
    double m_lastTime = 0;
    double m_lastLoad = 0;
};
