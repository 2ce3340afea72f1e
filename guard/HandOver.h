#pragma once

#include <string>

// Where a guard that holds the lock listens for a restarted lock screen, one per display in the
// user's runtime folder (mode 0700: only the user can reach it). Empty without a runtime folder.
namespace HandOver {

inline constexpr const char* releaseRequest = "release\n";
inline constexpr const char* releasedAnswer = "released\n";
inline constexpr const char* refusedAnswer = "refused\n";
// What the lock screen tells its guard before it gives the desktop back.
inline constexpr const char* unlockedWord = "unlocked\n";

inline std::string socketPath(const char* runtimeFolder, const char* display)
{
    if (!runtimeFolder || runtimeFolder[0] != '/' || !display)
        return {};
    std::string name;
    for (const char* c = display; *c; ++c) {
        const bool plain = (*c >= 'a' && *c <= 'z') || (*c >= 'A' && *c <= 'Z') ||
                           (*c >= '0' && *c <= '9') || *c == '.' || *c == '-';
        name += plain ? *c : '_';
    }
    return std::string(runtimeFolder) + "/tessarine-guard-" + name + ".socket";
}

} // namespace HandOver
