#pragma once

#include <memory>

class GlobalHotKey;
class IdleTime;
class IdleWatch;
class PointerInjector;
class ScreenShield;

// The display server's half of the program: what holds the lock, clicks into it, hears the lock
// shortcut and tells idleness. Chosen once at start, by `choose`, the one place that knows the
// kinds there are:
//   x11                 X grabs, the click into the lock's own grab, an X key grab for the
//                       shortcut, the X server's idle time;
//   compositorLock      a Wayland compositor's session lock (ext-session-lock-v1), no injected
//                       click, no shortcut of its own (a compositor binding), idleness from the
//                       compositor (ext-idle-notify-v1) where it offers it;
//   desktopLockScreen   a Wayland session without that protocol: every lock is handed to the
//                       desktop's own lock screen, and nothing of X11's pretends to lock.
class DisplayBackend
{
public:
    enum class Kind
    {
        x11,
        compositorLock,
        desktopLockScreen,
    };

    // From the session: X11, or Wayland with or without the compositor's lock. Says which on
    // stderr where it is Wayland. Defined in the program (app/DisplayBackendChoice.cpp).
    static std::unique_ptr<DisplayBackend> choose();
    static std::unique_ptr<DisplayBackend> makeX11();
    static std::unique_ptr<DisplayBackend> makeDesktopLockScreen();

    virtual ~DisplayBackend() = default;
    virtual Kind kind() const = 0;
    virtual ScreenShield& shield() = 0;
    virtual PointerInjector& pointer() = 0;
    virtual GlobalHotKey& hotKey() = 0;
    virtual IdleTime& idleTime() = 0;
    // The display server's own word on idleness, where it gives one; null where the idle lock
    // asks the idle time instead (X11) or has nothing to go by.
    virtual IdleWatch* idleWatch() { return nullptr; }
    // A lock of a Tessarine that ended while locked still stands (X11: its guard holds the
    // display; Wayland: the compositor holds its lock): this one takes it over at start.
    virtual bool earlierLockLeftStanding() const = 0;
    // The line said when it is taken over; empty for none.
    virtual const char* takeOverLine() const = 0;
};
