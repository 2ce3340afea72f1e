#pragma once

#include "platform/SystemEvents.h"

#include <QDBusUnixFileDescriptor>

// logind on the system bus (PrepareForSleep, and a "delay" sleep inhibitor), and
// org.freedesktop.ScreenSaver's ActiveChanged on the session bus.
class LogindSystemEvents final : public SystemEvents
{
    Q_OBJECT
public:
    explicit LogindSystemEvents(QObject* parent = nullptr);

    // Whether logind answered; without it sleep locking is unavailable.
    bool isAvailable() const { return m_available; }
    bool holdSleepDelay() override;
    void releaseSleepDelay() override;
    bool holdsSleepDelay() const override { return m_inhibitor.isValid(); }

private slots:
    void prepareForSleep(bool sleeping);
    void activeChanged(bool active);

private:
    bool m_available = false;
    QDBusUnixFileDescriptor m_inhibitor;
};
