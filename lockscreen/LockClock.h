#pragma once

#include <QDateTime>
#include <QString>

#include <chrono>

class BatteryWidget;
class Clock;
class LockScreenViews;
class MusicWidget;
class TimerSlot;
struct Preferences;

// The once-a-second tick of the lock screen: the clock, the music widget's watch for a pause or
// a resume made in the player, and the battery. The tick ends itself on its first run after the
// lock is over.
class LockClock
{
public:
    static constexpr std::chrono::milliseconds interval{1000};

    LockClock(const Clock& clock, const Preferences& preferences, LockScreenViews& views,
              MusicWidget& music, BatteryWidget& battery);

    // The time as the user's locale writes it, without a date.
    static QString timeText(const QDateTime& now);

    void updateTime(bool lockActive, TimerSlot& timer);
    void showTime();

private:
    const Clock& m_clock;
    const Preferences& m_preferences;
    LockScreenViews& m_views;
    MusicWidget& m_music;
    BatteryWidget& m_battery;
};
