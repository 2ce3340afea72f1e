#pragma once

#include "input/PasswordRules.h"

#include <QString>

class Clock;

// Matches the keys typed on the lock screen against the stored password, one key at a time,
// either in order or as a chord of keys pressed close together in any order. The rules
// themselves are PasswordRules, which the guard process shares; this adds the answer on screen.
//
// Security: a wrong key gives no message and is not counted; the only answer is a nudge of the
// lock window, at most one per 0.4 s. Nothing here logs or shows a key.
class PasswordMatcher
{
public:
    enum class Outcome
    {
        Unlock,  // every position is matched: the caller unlocks
        Nudge,   // a key that did not complete the password: the caller nudges the window
        Nothing, // no answer (rate-limited, unlocking already, or the press was abandoned)
    };

    static constexpr double chordWindowSeconds = PasswordRules::chordWindowSeconds;
    static constexpr double nudgeIntervalSeconds = 0.4;

    explicit PasswordMatcher(const Clock& clock) : m_clock(clock) {}

    Outcome keyPressed(const QString& key, bool orderMatters);

    // The whole-password check of the secure field: Unlock when the text is the password,
    // Nudge (the caller shakes the window) when it is not, Nothing for an empty field.
    Outcome passwordEntered(const QString& text);

    double lastTime() const { return m_lastTime; }
    void setLastTime();
    void clearLastTime() { m_lastTime = 0; }

private:
    // Returns false when the press must be abandoned.
    bool matchInOrder(const QString& key);
    void matchChord(const QString& key);
    Outcome decide();

    const Clock& m_clock;
    double m_lastTime = 0; // the last accepted key of a chord; 0 when no chord is in progress
};
