#include "triggers/IdleLock.h"

#include "platform/IdleTime.h"
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
}

void IdleLock::reconsider()
{
    m_deadline.invalidate();
    // While locked there is nothing to do; the end of the lock calls again.
    if (m_disabled || !m_preferences.lockWhenIdle || m_isLocked())
        return;
    const auto idle = std::chrono::milliseconds(m_idle.sinceInput());
    if (idle < limit()) {
        m_deadline.arm(limit() - idle, [this] { reconsider(); });
        return;
    }
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
