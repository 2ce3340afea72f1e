#pragma once

#include "guard/Cover.h"
#include "guard/GuardPassword.h"
#include "guard/KeyReader.h"

#include <xcb/xcb.h>

#include <string>

#include <sys/types.h>

// The guard's life: it watches the lock screen that started it, and if that ends without
// having unlocked, it holds the display itself until the password is typed or a restarted lock
// screen takes the lock back.
//
//   watching: the control socket is open; passive grabs catch the first press once the lock
//             screen's grabs are gone. "unlocked" on the socket ends the guard.
//   holding:  the end of the socket without "unlocked", the watch window destroyed (the lock
//             screen's X connection is gone), or a press caught while the watch window is gone.
//
// Security: nothing but the password, or a hand-over to a restarted lock screen, ends the holding
// state; signals that end a process by default are ignored. The password is read when the guard
// starts, at the start of the lock, and kept: a password file changed or deleted later (before a
// crash, or before a restart) neither unlocks the guard nor lets a lock screen with another
// password take the lock back. A hand-over is granted only to a process of the lock screen's own
// program (checked through the socket's peer credentials), whose window already has the input
// focus, and while the password file still holds the password of the lock.
class Guard
{
public:
    struct Options
    {
        std::string libraryFolder;
        xcb_window_t watchWindow = XCB_NONE;
        int controlFd = -1;
        // The program of the lock screen that started the guard (its /proc/PID/exe): only a
        // process of the same program may ask for the lock back.
        std::string lockScreenProgram;
    };

    Guard(xcb_connection_t* connection, Options options);
    ~Guard();
    // The status run returns when the guard's own connection to the X server was closed (another
    // client killed it with XKillClient, say): the caller connects again and resumes.
    static constexpr int connectionLost = 3;

    // Returns the process's exit status, or connectionLost.
    int run();
    // Carries on from a guard whose connection was closed: its password, its control socket and
    // whether it held the lock. Called before run.
    void resume(const GuardPassword& password, bool holding);
    bool isHolding() const { return m_holding; }
    const GuardPassword& password() const { return m_password; }
    int controlFd() const { return m_options.controlFd; }

private:
    enum class Ending
    {
        None,
        Unlocked,  // the lock screen unlocked, or its password was typed here
        HandedOver // a restarted lock screen took the lock
    };

    void watch();
    void takeOver(const char* why);
    // Reads what the lock screen has sent; false when it is gone (end of file, error).
    bool readControl();
    bool watchWindowExists();
    void handleEvent(xcb_generic_event_t* event);
    void handlePassivePress(xcb_generic_event_t* event);
    void handleKey(const xcb_key_press_event_t& key);
    void listenForHandOver();
    void answerHandOver();
    bool focusIsOnAnotherWindow();
    // Why a hand-over asked for by process `pid` is refused; empty when it may be granted.
    std::string handOverRefusal(pid_t pid);
    void releasePressedButtons();
    int pollTimeoutMs() const;
    void retryGrabsIfDue();
    void dropPassiveGrabsOnceHeld();

    xcb_connection_t* m_connection;
    xcb_screen_t* m_screen;
    Options m_options;
    Cover m_cover;
    KeyReader m_keys;
    GuardPassword m_password;
    std::string m_control;
    bool m_holding = false;
    bool m_passwordKept = false;
    bool m_resumeHolding = false;
    Ending m_ending = Ending::None;
    int m_listenFd = -1;
    std::string m_socketPath;
    double m_heldSince = 0;
    double m_nextGrabTry = 0;
};
