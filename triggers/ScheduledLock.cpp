#include "triggers/ScheduledLock.h"

#include "platform/Clock.h"
#include "settings/Preferences.h"
#include "settings/SettingKeys.h"
#include "settings/SettingsStore.h"

#include <QAction>
#include <QMenu>

ScheduledLock::ScheduledLock(Scheduler& scheduler, const Clock& clock, Preferences& preferences,
                             const SettingsStore& store, LockRequest lock)
    : m_clock(clock), m_preferences(preferences), m_store(store), m_lock(std::move(lock)),
      m_onTimeLockout(scheduler), m_lockoutTimer(scheduler)
{
}

int ScheduledLock::secondsUntil(int hour, int minute, const QDateTime& now)
{
    const QTime current = now.time();
    int delay = (hour * 3600 + minute * 60) - (current.hour() * 3600 + current.minute() * 60);
    if (delay < 1)
        delay += 86400;
    return delay;
}

void ScheduledLock::armDaily(int hour, int minute)
{
    const int seconds = secondsUntil(hour, minute, m_clock.now());
    m_onTimeLockout.arm(std::chrono::seconds(seconds), [this] { m_lock(); });
}

void ScheduledLock::armFromSettings(qint64 hour, qint64 minute)
{
    armDaily(int(hour), int(minute));
}

void ScheduledLock::writeHourAndMinute(const QDateTime& picked)
{
    m_store.set(Keys::hour, qint64(picked.time().hour()));
    m_store.set(Keys::minute, qint64(picked.time().minute()));
}

void ScheduledLock::time(const QDateTime& picked)
{
    m_onTimeLockout.invalidate();
    // Armed whether or not the daily lock is on: the picker can only be used while it is.
    armDaily(picked.time().hour(), picked.time().minute());
    writeHourAndMinute(picked);
    m_store.set(Keys::date, picked);
}

bool ScheduledLock::toggleUseTimer(const QDateTime& picked)
{
    m_preferences.useTimer = !m_preferences.useTimer;
    m_store.set(Keys::useTimer, m_preferences.useTimer);
    m_onTimeLockout.invalidate();
    if (m_preferences.useTimer) {
        armDaily(picked.time().hour(), picked.time().minute());
        writeHourAndMinute(picked);
    }
    return m_preferences.useTimer;
}

void ScheduledLock::buildDelayMenu(QMenu* menu)
{
    for (int minutes = 5; minutes < 65; minutes += 5) {
        QAction* item = menu->addAction(QStringLiteral("%1 minutes").arg(minutes));
        item->setCheckable(true);
        // The menu leaves the checking to timeLockout.
        QObject::connect(item, &QAction::triggered, item, [this, item] {
            item->setChecked(!item->isChecked());
            timeLockout(item);
        });
        m_items.append(item);
    }
}

void ScheduledLock::timeLockout(QAction* item)
{
    m_lockoutTimer.invalidate();
    if (item->isChecked()) {
        // Chosen again: the delayed lock is called off.
        item->setChecked(false);
        return;
    }
    // The number at the start of the title; a title without one gives 0 minutes.
    const int minutes = item->text().section(QLatin1Char(' '), 0, 0).toInt();
    m_lockoutTimer.arm(std::chrono::seconds(minutes * 60), [this] { m_lock(); });
    for (QAction* other : m_items)
        other->setChecked(false);
    item->setChecked(true);
}
