#include "input/PasswordMatcher.h"

#include "input/PasswordBuffer.h"
#include "input/PasswordRules.h"
#include "platform/Clock.h"

#include <optional>

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

namespace {

// The buffer and flags as the shared rules take them, and the flags back afterwards.
struct RulesView
{
    RulesView()
    {
        if (const auto& stored = PasswordBuffer::buffer()) {
            buffer.emplace();
            buffer->reserve(size_t(stored->size()));
            for (const QString& entry : *stored)
                buffer->push_back(entry.toStdU16String());
        }
        const QList<int>& stored = PasswordBuffer::matchFlags();
        flags.assign(stored.begin(), stored.end());
    }
    const PasswordRules::Buffer* bufferOrNull() const { return buffer ? &*buffer : nullptr; }
    void storeFlags() const
    {
        QList<int>& stored = PasswordBuffer::matchFlags();
        for (qsizetype i = 0; i < stored.size() && size_t(i) < flags.size(); ++i)
            stored[i] = flags[size_t(i)];
    }

    std::optional<PasswordRules::Buffer> buffer;
    PasswordRules::Flags flags;
};

} // namespace

bool PasswordMatcher::matchInOrder(const QString& key)
{
    RulesView view;
    const bool matched =
        PasswordRules::matchInOrder(view.bufferOrNull(), view.flags, key.toStdU16String());
    view.storeFlags();
    return matched;
}

void PasswordMatcher::matchChord(const QString& key)
{
    RulesView view;
    PasswordRules::matchChord(view.bufferOrNull(), view.flags, key.toStdU16String(),
                              m_clock.absoluteSeconds(), m_lastTime);
    view.storeFlags();
}

PasswordMatcher::Outcome PasswordMatcher::decide()
{
    const RulesView view;
    if (PasswordRules::isComplete(view.bufferOrNull(), view.flags)) {
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
