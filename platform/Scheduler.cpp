#include "platform/Scheduler.h"

#include <QTimer>

QtScheduler::~QtScheduler()
{
    for (auto& [id, timer] : m_timers)
        delete timer;
}

Scheduler::TimerId QtScheduler::schedule(std::chrono::milliseconds delay, Callback callback)
{
    return start(delay, false, std::move(callback));
}

Scheduler::TimerId QtScheduler::scheduleRepeating(std::chrono::milliseconds interval,
                                                  Callback callback)
{
    return start(interval, true, std::move(callback));
}

Scheduler::TimerId QtScheduler::start(std::chrono::milliseconds delay, bool repeating,
                                      Callback callback)
{
    const TimerId id = m_nextId++;
    auto* timer = new QTimer;
    timer->setSingleShot(!repeating);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, timer, [this, id, repeating, callback] {
        if (!repeating)
            cancel(id);
        callback();
    });
    m_timers.emplace(id, timer);
    timer->start(delay);
    return id;
}

void QtScheduler::cancel(TimerId id)
{
    const auto it = m_timers.find(id);
    if (it == m_timers.end())
        return;
    it->second->stop();
    // The timer may be the sender of the signal being handled right now.
    it->second->deleteLater();
    m_timers.erase(it);
}

bool QtScheduler::isActive(TimerId id) const
{
    return m_timers.count(id) != 0;
}

void TimerSlot::arm(std::chrono::milliseconds delay, Scheduler::Callback callback)
{
    invalidate();
    m_id = m_scheduler.schedule(delay, std::move(callback));
}

void TimerSlot::armRepeating(std::chrono::milliseconds interval, Scheduler::Callback callback)
{
    invalidate();
    m_id = m_scheduler.scheduleRepeating(interval, std::move(callback));
}

void TimerSlot::invalidate()
{
    if (m_id != Scheduler::noTimer)
        m_scheduler.cancel(m_id);
    m_id = Scheduler::noTimer;
}

bool TimerSlot::isArmed() const
{
    return m_id != Scheduler::noTimer && m_scheduler.isActive(m_id);
}
