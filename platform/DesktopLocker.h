#pragma once

class SystemEvents;

// The desktop's own lock screen, for a session Tessarine cannot lock itself.
//
// Security: in a Wayland session an X11 program cannot lock anything. Its grabs under XWayland
// hold only XWayland's clients, while every native Wayland window goes on taking keys and
// showing. Rather than show a lock screen that holds nothing, Tessarine hands each lock to the
// desktop's lock screen: the screen-saver service another program serves (GNOME's, KDE's), or
// the login manager's lock request (`loginctl lock-session`), which the desktop's locker follows.
class DesktopLocker
{
public:
    virtual ~DesktopLocker() = default;
    // Asks the desktop's lock screen to lock; false when nothing answered.
    virtual bool lock() = 0;

    // Whether this is a Wayland session (XDG_SESSION_TYPE, or a Wayland display to connect to).
    static bool isWaylandSession();
};

class SessionDesktopLocker final : public DesktopLocker
{
public:
    explicit SessionDesktopLocker(SystemEvents& system) : m_system(system) {}
    bool lock() override;

private:
    SystemEvents& m_system;
};
