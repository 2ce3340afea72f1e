#pragma once

#include "platform/Scheduler.h"

#include <chrono>
#include <functional>
#include <vector>

class IdleTime;
class IdleWatch;
struct Preferences;

// Locks after the user's chosen number of minutes without key or pointer input, as the X server
// counts it. One timer waits for the earliest moment the idle time could reach the limit; when it
// fires the server is asked again, since input may have come meanwhile, and the timer is set for
// the rest. So the tray costs one wake-up per stretch of inactivity, never a poll.
//
// Where the display server only says when the limit has passed (a Wayland compositor), the idle
// lock watches instead (useWatch): the server is told the limit, and the lock comes when it says
// idle, unless input came meanwhile.
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
    // From now on the server's word on idleness instead of its idle time.
    void useWatch(IdleWatch& watch);
    bool usesIdleTime() const { return m_watch == nullptr; }
    // For good: where the server's idle time does not see the user's input (a Wayland session,
    // whose native windows' keys XWayland never hears) and no watch is offered, nothing would be
    // measured.
    void disable();
    // The setting changed, a lock ended, or a hold-back ended: the timer is set anew (or locks at
    // once when the limit has passed and nothing holds it back).
    void reconsider();
    bool isWaiting() const { return m_deadline.isArmed() || m_watchedLimit.count() > 0; }
    bool isHeldBack() const;

    // The length of a minute of the setting: a minute, or TESSARINE_TEST_MINUTE_MS milliseconds
    // where the end-to-end tests shorten it (the idle time itself stays the server's).
    static std::chrono::milliseconds minuteLength();

private:
    std::chrono::milliseconds limit() const;
    // Locks when the watch said idle and nothing holds it back; the watch follows the setting.
    void reconsiderWatched();
    // Locks now, or looks again a limit later while something holds idle locking back.
    void lockUnlessHeldBack();
    void stopWatching();

    IdleTime& m_idle;
    const Preferences& m_preferences;
    LockRequest m_lock;
    Condition m_isLocked;
    std::vector<Condition> m_holdBacks;
    TimerSlot m_deadline;
    bool m_disabled = false;
    IdleWatch* m_watch = nullptr;
    // The limit the watch was given; zero while it does not watch.
    std::chrono::milliseconds m_watchedLimit{0};
    // The watch said idle, and no input has come since.
    bool m_idleNow = false;
};
