#include "input/GuessThrottle.h"

#include "platform/Clock.h"

#include <algorithm>

void GuessThrottle::reset()
{
    m_missedKeys = 0;
    m_slow = false;
    m_tokens = 0;
    m_lastRefill = 0;
}

void GuessThrottle::refill(double now)
{
    m_tokens = std::min<double>(burstKeys, m_tokens + (now - m_lastRefill) / refillSeconds);
    m_lastRefill = now;
}

bool GuessThrottle::admit()
{
    if (!m_slow)
        return true;
    refill(m_clock.absoluteSeconds());
    if (m_tokens < 1)
        return false;
    m_tokens -= 1;
    return true;
}

void GuessThrottle::keyCompletedNothing()
{
    if (m_slow || ++m_missedKeys < freeKeys)
        return;
    // From here on the burst fills up again slowly; it starts full, so the person who sees the
    // notice can type the password at once.
    m_slow = true;
    m_tokens = burstKeys;
    m_lastRefill = m_clock.absoluteSeconds();
}

double GuessThrottle::secondsUntilNextKey() const
{
    if (!m_slow)
        return 0;
    const double tokens = std::min<double>(
        burstKeys, m_tokens + (m_clock.absoluteSeconds() - m_lastRefill) / refillSeconds);
    return tokens >= 1 ? 0 : (1 - tokens) * refillSeconds;
}
