#pragma once

#include "platform/Scheduler.h"

#include <QDateTime>
#include <QList>

#include <functional>

class Clock;
class QAction;
class QMenu;
class SettingsStore;
struct Preferences;

// The two locks that come by themselves: the daily lock at a chosen time of day, and the lock
// after a delay chosen from the tray menu. Each fires once.
//
// Kept as it has always been: the seconds of the current time are left out of the delay, so the
// daily lock comes up to a minute after its minute; a time equal to the current minute means
// tomorrow; and once fired, the daily lock stays spent until the program starts again or the
// setting is touched.
class ScheduledLock
{
public:
    using LockRequest = std::function<void()>;

    ScheduledLock(Scheduler& scheduler, const Clock& clock, Preferences& preferences,
                  const SettingsStore& store, LockRequest lock);

    // Whole seconds from now to the next hour:minute, from the hours and minutes alone.
    static int secondsUntil(int hour, int minute, const QDateTime& now);

    // At start-up, with the daily lock on: armed from the stored hour and minute.
    void armFromSettings(qint64 hour, qint64 minute);
    // A new time picked.
    void time(const QDateTime& picked);
    // The daily lock switched; returns whether it is now on (the picker is enabled to match).
    bool toggleUseTimer(const QDateTime& picked);

    // The delayed-lock menu: twelve entries, 5 to 60 minutes.
    void buildDelayMenu(QMenu* menu);
    void timeLockout(QAction* item);

    bool dailyArmed() const { return m_onTimeLockout.isArmed(); }
    bool delayArmed() const { return m_lockoutTimer.isArmed(); }
    QList<QAction*> delayItems() const { return m_items; }

private:
    void armDaily(int hour, int minute);
    void writeHourAndMinute(const QDateTime& picked);

    const Clock& m_clock;
    Preferences& m_preferences;
    const SettingsStore& m_store;
    LockRequest m_lock;
    TimerSlot m_onTimeLockout;
    TimerSlot m_lockoutTimer;
    QList<QAction*> m_items;
};
