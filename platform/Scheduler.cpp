#include "platform/Scheduler.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

// A call for the next turn of the event loop goes in as a posted event of high priority, ahead
// of the painting that a window just shown has queued: the lock's keyboard grab, made "on the
// next turn", does not wait for the lock screen to be drawn.
class QtScheduler::Poster : public QObject
{
public:
    explicit Poster(QtScheduler& scheduler) : m_scheduler(scheduler) {}

    class Call : public QEvent
    {
    public:
        static QEvent::Type kind()
        {
            static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
            return type;
        }
        explicit Call(TimerId id) : QEvent(kind()), id(id) {}
        TimerId id;
    };

protected:
    bool event(QEvent* event) override
    {
        if (event->type() != Call::kind())
            return QObject::event(event);
        m_scheduler.runPosted(static_cast<Call*>(event)->id);
        return true;
    }

private:
    QtScheduler& m_scheduler;
};

QtScheduler::QtScheduler() : m_poster(new Poster(*this)) {}

QtScheduler::~QtScheduler()
{
    for (auto& [id, timer] : m_timers)
        delete timer;
    delete m_poster;
}

Scheduler::TimerId QtScheduler::schedule(std::chrono::milliseconds delay, Callback callback)
{
    if (delay.count() <= 0)
        return post(std::move(callback));
    return start(delay, false, std::move(callback));
}

Scheduler::TimerId QtScheduler::post(Callback callback)
{
    const TimerId id = m_nextId++;
    m_posted.emplace(id, std::move(callback));
    QCoreApplication::postEvent(m_poster, new Poster::Call(id), Qt::HighEventPriority);
    return id;
}

void QtScheduler::runPosted(TimerId id)
{
    const auto it = m_posted.find(id);
    if (it == m_posted.end())
        return; // cancelled
    Callback callback = std::move(it->second);
    m_posted.erase(it);
    callback();
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
    m_posted.erase(id);
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
    return m_timers.count(id) != 0 || m_posted.count(id) != 0;
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
