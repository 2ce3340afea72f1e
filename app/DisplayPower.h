#pragma once

#include <atomic>
#include <thread>

class DisplayBrightness;
class ScriptRunner;

// The display while locked: dimmed to the lock brightness for the whole lock, turned dark after
// the time-out, brought back by the first key, and put back as it was when the lock ends.
//
// The dimming runs on a short-lived thread of its own (reading the display and running the two
// scripts may take a while); it hands its reading back through setBrightness. Values shared with
// it are atomic.
class DisplayPower
{
public:
    static constexpr const char* turningOffLine = "turning off";

    DisplayPower(DisplayBrightness& display, ScriptRunner& scripts);
    ~DisplayPower();

    // At a lock with the time-out on: the brightness to come back to after the time-out.
    void getPreviousBrightness();
    // The time-out has run out: the display goes dark.
    void turnOffDisplay();
    bool displayDimmed() const { return m_displayDimmed; }
    // The first key after the time-out: the display comes back as it was at the lock's start.
    void wakeDisplay();

    // At a lock with dimming on: read the brightness, run "animateOn" and "Tessarine", then dim
    // to the lock brightness; on a thread of its own.
    void dimApplescript(float lockBrightness);
    // At the end of a lock with dimming on: the brightness read at its start. A dimming still
    // under way then leaves the display alone when it ends.
    void restoreBrightness();
    // At the end of a lock when something asked for it: "animateOn" once more.
    void runAnimateOn();

    void setBrightness(float level) { m_brightness = level; }
    float brightness() const { return m_brightness; }
    float savedBrightness() const { return m_savedBrightness; }
    void changeBackBrightness() { m_backBrightnessChanged = true; }
    bool backBrightnessChanged() const { return m_backBrightnessChanged; }
    // Waits for a dimming under way to finish (for tests and shut-down).
    void waitForDimming();

private:
    // A dimming still running from an earlier lock is left to finish on its own.
    void letGoOfEarlierDimming();

    DisplayBrightness& m_display;
    ScriptRunner& m_scripts;
    std::atomic<float> m_brightness{0.0f};
    float m_savedBrightness = 0.0f;
    bool m_displayDimmed = false;
    std::atomic<bool> m_backBrightnessChanged{false};
    std::atomic<bool> m_lockEnded{false};
    std::thread m_dimming;
};
