#include "ManualScheduler.h"

Scheduler::TimerId ManualScheduler::schedule(std::chrono::milliseconds delay, Callback callback)
{
    const TimerId id = m_nextId++;
    m_timers.emplace(id, Timer{m_now + delay, std::chrono::milliseconds(0), std::move(callback)});
    return id;
}

Scheduler::TimerId ManualScheduler::scheduleRepeating(std::chrono::milliseconds interval,
                                                      Callback callback)
{
    const TimerId id = m_nextId++;
    // A repeating timer with no interval would fire forever within one advance.
    const auto step = std::max(interval, std::chrono::milliseconds(1));
    m_timers.emplace(id, Timer{m_now + step, step, std::move(callback)});
    return id;
}

void ManualScheduler::cancel(TimerId id)
{
    m_timers.erase(id);
}

bool ManualScheduler::isActive(TimerId id) const
{
    return m_timers.count(id) != 0;
}

std::chrono::milliseconds ManualScheduler::remaining(TimerId id) const
{
    const auto it = m_timers.find(id);
    return it == m_timers.end() ? std::chrono::milliseconds(-1) : it->second.due - m_now;
}

void ManualScheduler::advance(std::chrono::milliseconds by)
{
    const auto target = m_now + by;
    for (;;) {
        auto next = m_timers.end();
        for (auto it = m_timers.begin(); it != m_timers.end(); ++it) {
            if (it->second.due <= target &&
                (next == m_timers.end() || it->second.due < next->second.due))
                next = it;
        }
        if (next == m_timers.end())
            break;
        m_now = next->second.due;
        const TimerId id = next->first;
        Callback callback = next->second.callback;
        if (next->second.interval.count() > 0)
            next->second.due += next->second.interval;
        else
            m_timers.erase(next);
        callback();
        (void)id;
    }
    m_now = target;
}
