#pragma once

#include <QObject>

// The machine going to sleep and waking, from the system's login manager, and other screen
// lockers coming up, from the desktop's screen-saver service.
class SystemEvents : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    // Asks the system to wait, before sleeping, until releaseSleepDelay; false when it cannot.
    virtual bool holdSleepDelay() = 0;
    virtual void releaseSleepDelay() = 0;
    virtual bool holdsSleepDelay() const = 0;

signals:
    void willSleep();
    void didWake();
    // Another screen locker's screen came up.
    void screenLocked();
};
