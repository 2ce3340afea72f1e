#pragma once

#include "platform/Scheduler.h"

#include <chrono>
#include <functional>
#include <vector>

class IdleTime;
struct Preferences;

// Locks after the user's chosen number of minutes without key or pointer input, as the X server
// counts it. One timer waits for the earliest moment the idle time could reach the limit; when it
// fires the server is asked again, since input may have come meanwhile, and the timer is set for
// the rest. So the tray costs one wake-up per stretch of inactivity, never a poll.
//
// Held back while any hold-back answers true (a program that inhibits the screen saver, a logind
// idle inhibitor); the lock then waits for the next deadline, or for reconsider().
class IdleLock
{
public:
    using LockRequest = std::function<void()>;
    using Condition = std::function<bool()>;

    IdleLock(Scheduler& scheduler, IdleTime& idle, const Preferences& preferences, LockRequest lock,
             Condition isLocked);

    void addHoldBack(Condition heldBack);
    // For good: where the server's idle time does not see the user's input (a Wayland session,
    // whose native windows' keys XWayland never hears), nothing would be measured.
    void disable();
    // The setting changed, a lock ended, or a hold-back ended: the timer is set anew (or locks at
    // once when the limit has passed and nothing holds it back).
    void reconsider();
    bool isWaiting() const { return m_deadline.isArmed(); }
    bool isHeldBack() const;

    // The length of a minute of the setting: a minute, or TESSARINE_TEST_MINUTE_MS milliseconds
    // where the end-to-end tests shorten it (the idle time itself stays the server's).
    static std::chrono::milliseconds minuteLength();

private:
    std::chrono::milliseconds limit() const;

    IdleTime& m_idle;
    const Preferences& m_preferences;
    LockRequest m_lock;
    Condition m_isLocked;
    std::vector<Condition> m_holdBacks;
    TimerSlot m_deadline;
    bool m_disabled = false;
};
