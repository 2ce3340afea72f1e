#pragma once

#include <QObject>

// The machine going to sleep and waking, and this session's lock requests, from the system's
// login manager; other screen lockers coming up, from the desktop's screen-saver service.
class SystemEvents : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    // Asks the system to wait, before sleeping, until releaseSleepDelay; false when it cannot.
    virtual bool holdSleepDelay() = 0;
    virtual void releaseSleepDelay() = 0;
    virtual bool holdsSleepDelay() const = 0;
    // Tells the login manager whether this session is locked (its LockedHint).
    virtual void setLockedHint(bool) {}
    // Whether a program holds the login manager's "idle" inhibitor (systemd-inhibit --what=idle).
    virtual bool idleInhibited() const { return false; }
    // Asks the login manager to lock this session (`loginctl lock-session`); false when it
    // cannot be asked or refuses.
    virtual bool lockSession() { return false; }

signals:
    void willSleep();
    void didWake();
    // Another screen locker's screen came up.
    void screenLocked();
    // The login manager asks this session to lock (`loginctl lock-session`, its idle action).
    void lockRequested();
};
