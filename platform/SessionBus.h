#pragma once

class ScriptingInterface;

// The program's name and object on the user's session bus. Holding the name is also what makes
// Tessarine run once per session.
namespace SessionBus {
enum class Claim
{
    Claimed,        // the object is exported and the name is ours
    AlreadyRunning, // another Tessarine of this session holds the name
    Unavailable,    // no session bus: the program runs without remote requests
};
// Whether another Tessarine already holds the name.
bool isTaken();
Claim claim(ScriptingInterface& scriptingInterface);
} // namespace SessionBus
