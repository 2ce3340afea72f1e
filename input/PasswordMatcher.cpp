#include "input/PasswordMatcher.h"

#include "input/PasswordBuffer.h"
#include "platform/Clock.h"

void PasswordMatcher::setLastTime()
{
    m_lastTime = m_clock.absoluteSeconds();
}

PasswordMatcher::Outcome PasswordMatcher::keyPressed(const QString& key, bool orderMatters)
{
    if (orderMatters) {
        if (!matchInOrder(key))
            return Outcome::Nothing;
    } else {
        matchChord(key);
    }
    return decide();
}

bool PasswordMatcher::matchInOrder(const QString& key)
{
    QList<int>& flags = PasswordBuffer::matchFlags();
    qsizetype position = 0;
    while (position < flags.size() && flags[position] != 0)
        ++position;
    const auto& buffer = PasswordBuffer::buffer();
    if (!buffer) {
        // No password file: nothing to compare with, so the key is a mismatch.
        PasswordBuffer::clearMatchFlags();
        return true;
    }
    // A position past the end (an empty password, say) abandons the press: no unlock, no nudge.
    if (position >= buffer->size())
        return false;
    if (key == buffer->at(position))
        flags[position] = 1;
    else
        // The mismatching key is not tried again as the first character: "aab" typed as
        // a, a, a, b fails. A simple restart, kept on purpose.
        PasswordBuffer::clearMatchFlags();
    return true;
}

void PasswordMatcher::matchChord(const QString& key)
{
    const auto& buffer = PasswordBuffer::buffer();
    if (!buffer)
        return;
    QList<int>& flags = PasswordBuffer::matchFlags();
    bool seenMatched = false;
    for (qsizetype i = 0; i < buffer->size(); ++i) {
        const bool equal = key == buffer->at(i);
        const int flag = i < flags.size() ? flags[i] : 0;
        if (equal && flag == 0) {
            const double now = m_clock.absoluteSeconds();
            if (m_lastTime != 0 && now - m_lastTime >= chordWindowSeconds)
                PasswordBuffer::clearMatchFlags(); // too late: this key starts a new chord
            if (i < flags.size())
                flags[i] = 1;
            setLastTime();
            return;
        }
        if (equal && flag == 1) {
            seenMatched = true;
        } else if (!seenMatched && i == buffer->size() - 1) {
            // A key that is not in the password at all clears the chord.
            PasswordBuffer::clearMatchFlags();
            m_lastTime = 0;
        }
    }
}

PasswordMatcher::Outcome PasswordMatcher::decide()
{
    const qsizetype length = PasswordBuffer::buffer() ? PasswordBuffer::buffer()->size() : 0;
    if (PasswordBuffer::matchedCount() == length) {
        PasswordBuffer::clearMatchFlags();
        PasswordBuffer::setUnlocking(true);
        return Outcome::Unlock;
    }
    if (PasswordBuffer::getUnlocking())
        return Outcome::Nothing;
    const double now = m_clock.absoluteSeconds();
    const double last = PasswordBuffer::lastNudgeTime();
    if (last != 0 && now - last <= nudgeIntervalSeconds)
        return Outcome::Nothing;
    PasswordBuffer::setLastNudgeTime(now);
    return Outcome::Nudge;
}

PasswordMatcher::Outcome PasswordMatcher::passwordEntered(const QString& text)
{
    if (text == PasswordBuffer::joined()) {
        PasswordBuffer::clearMatchFlags();
        PasswordBuffer::setUnlocking(true);
        return Outcome::Unlock;
    }
    return text.isEmpty() ? Outcome::Nothing : Outcome::Nudge;
}
