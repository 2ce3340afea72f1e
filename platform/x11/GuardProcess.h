#pragma once

#include <xcb/xcb.h>

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

class QSocketNotifier;

// The lock's guard: a small process without Qt (tessarine-guard) that watches this one while a
// lock lasts and, should this one end without having unlocked, covers the display and holds the
// keyboard and pointer until the password is typed.
//
// It is told through a socket pair; the end of that socket without the word "unlocked" is its
// signal to take over, and so is the end of a watch window of ours (the X server destroys it with
// our connection). A guard that dies while the lock lasts (killed by another program of the
// user) is noticed at once, by the end of its socket, and a new one started in its place.
class GuardProcess
{
public:
    explicit GuardProcess(xcb_connection_t* connection);
    ~GuardProcess();
    GuardProcess(const GuardProcess&) = delete;
    GuardProcess& operator=(const GuardProcess&) = delete;

    // Starts a guard for the lock under way, unless one watches already. Returns false when none
    // could be started (no guard program found, say): the lock goes on without one.
    bool watch();
    // Before the grabs are let go: the guard ends without taking over.
    void unlocked();
    bool isWatching() const { return m_control >= 0; }

    // A guard of an earlier Tessarine that holds the lock of this display.
    static bool holderListening();
    // Asks that guard to let go, once our lock window is mapped and has the input focus; true
    // when it did, so that the grabs can be taken at once.
    bool askHolderToRelease();

    // Where the guard program is: beside the binary (the build tree), or beside the program's
    // module (an installed tree).
    static std::string programPath();

private:
    void reapEnded();
    bool start();
    // The guard's end of the socket closed while we still watch: it died; another takes its place.
    void guardEnded();
    void destroyWatchWindow();

    xcb_connection_t* m_connection;
    int m_control = -1;
    pid_t m_pid = -1;
    xcb_window_t m_watchWindow = XCB_NONE;
    std::vector<pid_t> m_ending;
    std::unique_ptr<QSocketNotifier> m_guardWatch;
};
