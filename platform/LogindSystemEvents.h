#pragma once

#include "platform/SystemEvents.h"

#include <QDBusContext>
#include <QDBusUnixFileDescriptor>

// logind on the system bus (PrepareForSleep, a "delay" sleep inhibitor, this session's Lock
// signal and its LockedHint), and org.freedesktop.ScreenSaver's ActiveChanged on the session bus.
// The session's Unlock signal is not followed: only the password ends a lock.
class LogindSystemEvents final : public SystemEvents, protected QDBusContext
{
    Q_OBJECT
public:
    explicit LogindSystemEvents(QObject* parent = nullptr);

    // Whether logind answered; without it sleep locking is unavailable.
    bool isAvailable() const { return m_available; }
    bool holdSleepDelay() override;
    void releaseSleepDelay() override;
    bool holdsSleepDelay() const override { return m_inhibitor.isValid(); }
    void setLockedHint(bool locked) override;
    bool idleInhibited() const override;
    bool lockSession() override;
    // Stops following the session's Lock signal: the desktop's lock screen answers it.
    void ignoreSessionLock() { m_ignoreSessionLock = true; }

private slots:
    void prepareForSleep(bool sleeping);
    void activeChanged(bool active);
    void sessionLock();

private:
    // This session's object: XDG_SESSION_ID's, else the one this process belongs to.
    QString findSession() const;

    bool m_available = false;
    bool m_ignoreSessionLock = false;
    QString m_session;
    QDBusUnixFileDescriptor m_inhibitor;
};
