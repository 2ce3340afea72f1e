#include "lockscreen/LockClock.h"

#include "lockscreen/BatteryWidget.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/MusicWidget.h"
#include "platform/Clock.h"
#include "platform/Scheduler.h"
#include "settings/Preferences.h"

#include <QLabel>
#include <QLocale>

LockClock::LockClock(const Clock& clock, const Preferences& preferences, LockScreenViews& views,
                     MusicWidget& music, BatteryWidget& battery)
    : m_clock(clock), m_preferences(preferences), m_views(views), m_music(music), m_battery(battery)
{
}

QString LockClock::timeText(const QDateTime& now)
{
    // The default locale is the user's, unless a test chose another.
    return QLocale().toString(now.time(), QLocale::ShortFormat);
}

void LockClock::showTime()
{
    m_views.time()->setText(timeText(m_clock.now()));
}

void LockClock::updateTime(bool lockActive, TimerSlot& timer)
{
    if (!lockActive) {
        timer.invalidate();
        return;
    }
    if (m_preferences.showTime)
        showTime();
    if (m_preferences.showMusic)
        m_music.watchForChange();
    if (m_preferences.showBattery)
        m_battery.refresh();
}
