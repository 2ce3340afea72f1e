#include "lockscreen/LockClock.h"

#include "lockscreen/BatteryWidget.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/MusicWidget.h"
#include "platform/Clock.h"
#include "platform/Scheduler.h"
#include "settings/Preferences.h"

#include <QLabel>
#include <QLocale>
#include <QRegularExpression>

LockClock::LockClock(const Clock& clock, const Preferences& preferences, LockScreenViews& views,
                     MusicWidget& music, BatteryWidget& battery)
    : m_clock(clock), m_preferences(preferences), m_views(views), m_music(music), m_battery(battery)
{
}

QString LockClock::timeText(const QDateTime& now)
{
    // Hours and minutes in every locale, 12- or 24-hour as the locale says. The default locale
    // is the user's, unless a test chose another; some locales' short format (C, C.UTF-8) has
    // seconds, which are taken out with the separator before them.
    const QLocale locale;
    QString format = locale.timeFormat(QLocale::ShortFormat);
    static const QRegularExpression seconds(QStringLiteral("[^hHmaApPt']?s{1,2}(\\.?z{1,3})?"));
    format.remove(seconds);
    return locale.toString(now.time(), format.trimmed());
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
