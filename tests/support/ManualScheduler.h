#pragma once

#include "platform/Scheduler.h"

#include <chrono>
#include <map>

// A scheduler on virtual time: nothing fires until the test advances the time, and then every
// due timer fires in order of its due time (ties in order of scheduling).
class ManualScheduler final : public Scheduler
{
public:
    TimerId schedule(std::chrono::milliseconds delay, Callback callback) override;
    TimerId scheduleRepeating(std::chrono::milliseconds interval, Callback callback) override;
    void cancel(TimerId id) override;
    bool isActive(TimerId id) const override;

    void advance(std::chrono::milliseconds by);
    std::chrono::milliseconds now() const { return m_now; }
    std::size_t pendingCount() const { return m_timers.size(); }
    // The delay left until the timer fires; -1 ms when it is not pending.
    std::chrono::milliseconds remaining(TimerId id) const;

private:
    struct Timer
    {
        std::chrono::milliseconds due;
        std::chrono::milliseconds interval; // zero for a one-shot timer
        Callback callback;
    };

    TimerId m_nextId = 1;
    std::chrono::milliseconds m_now{0};
    std::map<TimerId, Timer> m_timers;
};

#include "platform/Clock.h"

// A clock that stands still until the test moves it.
class FakeClock final : public Clock
{
public:
    explicit FakeClock(QDateTime now = QDateTime(QDate(2026, 11, 21), QTime(12, 0, 0)))
        : m_now(std::move(now))
    {
    }
    QDateTime now() const override { return m_now; }
    double absoluteSeconds() const override { return m_seconds; }

    void set(const QDateTime& now) { m_now = now; }
    void advanceSeconds(double seconds)
    {
        m_seconds += seconds;
        m_now = m_now.addMSecs(static_cast<qint64>(seconds * 1000));
    }

private:
    QDateTime m_now;
    double m_seconds = 1000.0;
};
