#pragma once

#include "lockscreen/WindowMotion.h"
#include "platform/DisplayBrightness.h"
#include "platform/GlobalHotKey.h"
#include "platform/IdleTime.h"
#include "platform/LoginItems.h"
#include "platform/ScriptRunner.h"

#include "platform/ScreenShield.h"
#include "platform/SystemEvents.h"
#include <mutex>
#include <optional>

#include <QColor>
#include <QList>
#include <QPoint>
#include <QStringList>
#include <QWidget>

// A shield that grabs whenever it is not told to fail, and remembers what it was asked.
class FakeShield final : public ScreenShield
{
public:
    bool keyboardFree = true;
    bool pointerFree = true;
    bool keyboard = false;
    bool pointer = false;
    int makeKeyCalls = 0;
    int pointerCalls = 0;
    int releases = 0;
    QList<QWidget*> above;

    bool makeKey(QWidget*) override
    {
        ++makeKeyCalls;
        keyboardWanted = true;
        keyboard = keyboardFree;
        return keyboard;
    }
    bool grabPointer(QWidget*) override
    {
        ++pointerCalls;
        pointerWanted = true;
        pointer = pointerFree;
        return pointer;
    }
    void releaseGrabs() override
    {
        ++releases;
        keyboard = pointer = false;
        keyboardWanted = pointerWanted = false;
    }
    bool holdsKeyboard() const override { return keyboard; }
    bool holdsPointer() const override { return pointer; }
    // False plays a Wayland compositor's lock surfaces.
    bool windowPlaceShown = true;
    bool showsWindowPlace() const override { return windowPlaceShown; }
    bool refreshGrabs() override
    {
        ++refreshes;
        keyboard = keyboardWanted && keyboardFree;
        pointer = pointerWanted && pointerFree;
        return keyboard == keyboardWanted && pointer == pointerWanted;
    }
    void onHoldLost(std::function<void()> callback) override { holdLost = std::move(callback); }
    // Another client took a grab away (the lock window unmapped behind the program's back).
    void loseGrabs()
    {
        keyboard = pointer = false;
        if (holdLost)
            holdLost();
    }
    void keepAbove(const QList<QWidget*>& windows) override { above = windows; }
    // True plays a compositor's lock, which hides the displays itself: the colour it was given.
    bool coversDisplays = false;
    std::optional<QColor> coveredWith;
    bool coverDisplays(const QColor& colour) override
    {
        if (coversDisplays)
            coveredWith = colour;
        return coversDisplays;
    }
    QList<QWidget*> prepared;
    void prepareWindow(QWidget* window) override { prepared.append(window); }
    bool lockScreenShown = false;
    bool showsLockScreen() const override { return lockScreenShown; }
    int refreshes = 0;
    bool keyboardWanted = false;
    bool pointerWanted = false;
    std::function<void()> holdLost;
};

class FakePointer final : public PointerInjector
{
public:
    int clicks = 0;
    bool pressed = false;
    void clickTopLeftAndMoveBack() override
    {
        ++clicks;
        pressed = true;
    }
    void releasePressedButton() override { pressed = false; }
};

// Records each movement as a line of text, and jumps the window to where a movement ends.
class RecordingMotion final : public WindowMotion
{
public:
    QStringList log;

    void fadeIn(QWidget* window, int ms) override
    {
        log << QStringLiteral("fadeIn %1").arg(ms);
        window->setWindowOpacity(1);
    }
    void setOpacity(QWidget* window, double opacity) override
    {
        log << QStringLiteral("opacity %1").arg(opacity);
        window->setWindowOpacity(opacity);
    }
    void moveTo(QWidget* window, QPoint origin) override
    {
        log << QStringLiteral("move %1,%2").arg(origin.x()).arg(origin.y());
        window->move(origin);
    }
    void follow(QWidget* window, const QList<QPoint>& points, int ms) override
    {
        QStringList path;
        for (const QPoint& p : points)
            path << QStringLiteral("%1,%2").arg(p.x()).arg(p.y());
        log << QStringLiteral("follow %1 in %2").arg(path.join(QLatin1String(" > "))).arg(ms);
        if (!points.isEmpty())
            window->move(points.last());
    }
    void stop(QWidget*) override {}
};

// Remembers the combination registered; a test presses it with press().
class FakeHotKey final : public GlobalHotKey
{
public:
    bool available = true;
    int keyCode = -1;
    int modifierMask = -1;
    int registrations = 0;
    bool registered = false;

    bool registerKey(int code, int mask) override
    {
        ++registrations;
        keyCode = code;
        modifierMask = mask;
        registered = available;
        return registered;
    }
    void unregisterKey() override { registered = false; }
    void press() { emit pressed(); }
};

// Sleep and wake on demand; remembers whether the sleep delay is held.
// The X server's idle time, set by the test; SimulateUserActivity sets it back to 0.
class FakeIdleTime final : public IdleTime
{
public:
    uint32_t ms = 0;
    int activity = 0;
    uint32_t sinceInput() const override { return ms; }
    void countAsActivity() override
    {
        ms = 0;
        ++activity;
    }
};

class FakeSystemEvents final : public SystemEvents
{
public:
    bool idleInhibitor = false;
    bool idleInhibited() const override { return idleInhibitor; }
    bool available = true;
    bool held = false;
    int releases = 0;

    bool holdSleepDelay() override
    {
        held = available;
        return held;
    }
    void releaseSleepDelay() override
    {
        if (held)
            ++releases;
        held = false;
    }
    bool holdsSleepDelay() const override { return held; }
    void setLockedHint(bool locked) override { lockedHints.append(locked); }
    QList<bool> lockedHints;
    void sleep() { emit willSleep(); }
    void wake() { emit didWake(); }
    void otherLocker() { emit screenLocked(); }
};

// A display whose brightness is a number, with every change kept in order.
class FakeBrightness final : public DisplayBrightness
{
public:
    std::optional<float> brightness() const override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_level;
    }
    void setBrightness(float level) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_level = level;
        m_changes.append(level);
    }
    void set(std::optional<float> level)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_level = level;
    }
    QList<float> changes() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_changes;
    }

private:
    mutable std::mutex m_mutex;
    std::optional<float> m_level = 0.8f;
    QList<float> m_changes;
};

// Records the scripts run, in order.
class FakeScripts final : public ScriptRunner
{
public:
    void runAndWait(const QString& name) override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_runs.append(name);
    }
    void start(const QString& name) override { runAndWait(name); }
    // Scripts run with `run` end at once with this outcome.
    ScriptOutcome outcome;
    void run(const QString& name, std::chrono::milliseconds,
             std::function<void(const ScriptOutcome&)> done) override
    {
        runAndWait(name);
        done(outcome);
    }
    QStringList runs() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_runs;
    }

private:
    mutable std::mutex m_mutex;
    QStringList m_runs;
};

// The session's login items as a list of the calls made to it.
class FakeLoginItems final : public LoginItems
{
public:
    QStringList calls;
    void append() override { calls << QStringLiteral("append"); }
    void removeOwn() override { calls << QStringLiteral("removeOwn"); }
};
