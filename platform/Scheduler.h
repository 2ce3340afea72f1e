#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

class QTimer;

// Delayed calls and timers, on the main thread. The program uses Qt timers; tests use a manual
// scheduler whose virtual time they advance.
class Scheduler
{
public:
    using TimerId = std::uint64_t;
    using Callback = std::function<void()>;
    static constexpr TimerId noTimer = 0;

    virtual ~Scheduler() = default;
    virtual TimerId schedule(std::chrono::milliseconds delay, Callback callback) = 0;
    virtual TimerId scheduleRepeating(std::chrono::milliseconds interval, Callback callback) = 0;
    // Cancelling an id that has fired or was cancelled already does nothing.
    virtual void cancel(TimerId id) = 0;
    virtual bool isActive(TimerId id) const = 0;
};

class QtScheduler final : public Scheduler
{
public:
    QtScheduler();
    ~QtScheduler() override;
    TimerId schedule(std::chrono::milliseconds delay, Callback callback) override;
    TimerId scheduleRepeating(std::chrono::milliseconds interval, Callback callback) override;
    void cancel(TimerId id) override;
    bool isActive(TimerId id) const override;

private:
    TimerId start(std::chrono::milliseconds delay, bool repeating, Callback callback);
    TimerId post(Callback callback);
    void runPosted(TimerId id);

    class Poster;
    friend class Poster;

    TimerId m_nextId = 1;
    std::map<TimerId, QTimer*> m_timers;
    std::map<TimerId, Callback> m_posted;
    Poster* m_poster = nullptr;
};

// A field that holds one timer: arming it again first cancels the timer it held, so at most one
// timer per slot is ever pending.
class TimerSlot
{
public:
    explicit TimerSlot(Scheduler& scheduler) : m_scheduler(scheduler) {}
    ~TimerSlot() { invalidate(); }
    TimerSlot(const TimerSlot&) = delete;
    TimerSlot& operator=(const TimerSlot&) = delete;

    void arm(std::chrono::milliseconds delay, Scheduler::Callback callback);
    void armRepeating(std::chrono::milliseconds interval, Scheduler::Callback callback);
    // Takes another slot's timer as its own, letting go of the one it held without cancelling
    // it: two slots may then name the same timer.
    void hold(const TimerSlot& other) { m_id = other.m_id; }
    void invalidate();
    bool isArmed() const;

private:
    Scheduler& m_scheduler;
    Scheduler::TimerId m_id = Scheduler::noTimer;
};
