#include "triggers/IdleLock.h"

#include "platform/IdleTime.h"
#include "platform/IdleWatch.h"
#include "settings/Preferences.h"

#include <QByteArray>
#include <QtGlobal>

#include <algorithm>

IdleLock::IdleLock(Scheduler& scheduler, IdleTime& idle, const Preferences& preferences,
                   LockRequest lock, Condition isLocked)
    : m_idle(idle), m_preferences(preferences), m_lock(std::move(lock)),
      m_isLocked(std::move(isLocked)), m_deadline(scheduler)
{
}

void IdleLock::addHoldBack(Condition heldBack)
{
    m_holdBacks.push_back(std::move(heldBack));
}

bool IdleLock::isHeldBack() const
{
    return std::any_of(m_holdBacks.begin(), m_holdBacks.end(),
                       [](const Condition& heldBack) { return heldBack(); });
}

std::chrono::milliseconds IdleLock::minuteLength()
{
    bool valid = false;
    const int shortened = qEnvironmentVariableIntValue("TESSARINE_TEST_MINUTE_MS", &valid);
    return std::chrono::milliseconds(valid && shortened > 0 ? shortened : 60000);
}

std::chrono::milliseconds IdleLock::limit() const
{
    const int minutes = std::clamp(m_preferences.idleLockMinutes, Preferences::minIdleLockMinutes,
                                   Preferences::maxIdleLockMinutes);
    return minutes * minuteLength();
}

void IdleLock::disable()
{
    m_disabled = true;
    m_deadline.invalidate();
    stopWatching();
}

void IdleLock::useWatch(IdleWatch& watch)
{
    stopWatching();
    m_watch = &watch;
    reconsider();
}

void IdleLock::stopWatching()
{
    if (m_watch && m_watchedLimit.count() > 0)
        m_watch->stop();
    m_watchedLimit = std::chrono::milliseconds(0);
    m_idleNow = false;
}

void IdleLock::reconsider()
{
    m_deadline.invalidate();
    if (m_disabled || !m_preferences.lockWhenIdle) {
        stopWatching();
        return;
    }
    // While locked there is nothing to do; the end of the lock calls again. A watch goes on
    // watching: the password's keys are input, so it says active before the lock ends.
    if (m_isLocked())
        return;
    if (m_watch) {
        reconsiderWatched();
        return;
    }
    const auto idle = std::chrono::milliseconds(m_idle.sinceInput());
    if (idle < limit()) {
        m_deadline.arm(limit() - idle, [this] { reconsider(); });
        return;
    }
    lockUnlessHeldBack();
}

void IdleLock::reconsiderWatched()
{
    if (m_watchedLimit != limit()) {
        // A new limit counts from now: the server cannot be asked how long ago input came.
        m_watchedLimit = limit();
        m_idleNow = false;
        m_watch->watch(
            m_watchedLimit,
            [this] {
                m_idleNow = true;
                reconsider();
            },
            [this] {
                m_idleNow = false;
                reconsider();
            });
    }
    if (!m_idleNow)
        return;
    lockUnlessHeldBack();
}

void IdleLock::lockUnlessHeldBack()
{
    if (isHeldBack()) {
        // A whole limit later, unless the hold-back's end comes first.
        m_deadline.arm(limit(), [this] { reconsider(); });
        return;
    }
    m_lock();
    // A lock that could not start is tried again a limit later.
    if (!m_isLocked())
        m_deadline.arm(limit(), [this] { reconsider(); });
}
