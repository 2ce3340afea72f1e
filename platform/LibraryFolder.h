#pragma once

#include <QString>

// The folder that holds properties.plist and settings.plist: $XDG_CONFIG_HOME/tessarine, or
// ~/.config/tessarine when XDG_CONFIG_HOME is unset or not absolute.
class LibraryFolder
{
public:
    static QString path();
    // Made once at start-up, as the desktop makes a user's configuration folder: mode 0700, since
    // the password file lies in it. Returns false when it cannot be made.
    static bool ensureExists(const QString& folder);
};
