#pragma once

#include "lockscreen/LockBanner.h"
#include "platform/Scheduler.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>
#include <vector>

class BackgroundBuilder;
class BatteryWidget;
class Clock;
class Dialogs;
class DisplayPower;
class LockClock;
class LockCover;
class MailBadge;
class MusicWidget;
class LockScreenViews;
class LockWindow;
class PointerInjector;
class ScreenShield;
class WindowMotion;
struct Preferences;
class Displays;

// The life of one lock, from the request to the desktop's return, in fixed steps with fixed
// delays:
//
//   lock → openWindow → fullScreen (0.4 s opening) → +0.4 s kioskMode → +0.01 s circuit window
//   unlock → closeWindow (0.2 s closing) → +0.19 s actuallyCloseWindow → +0.2 s unActive
//
// Security: the keyboard is grabbed as the window is made key, the pointer 0.4 s later, and both
// are held until unlock; a grab another client holds is retried (every 10 ms for the first
// second, then every 250 ms) for as long as the lock lasts, and the lock windows are raised again
// whenever another window appears above them.
class LockSession
{
public:
    struct Services
    {
        Scheduler& scheduler;
        const Clock& clock;
        Displays& displays;
        ScreenShield& shield;
        PointerInjector& pointer;
        WindowMotion& motion;
    };
    // The lock screen's parts that a session fills as it opens and empties as it closes.
    struct Widgets
    {
        BackgroundBuilder& background;
        LockClock& clock;
        BatteryWidget& battery;
        MusicWidget& music;
        MailBadge& mail;
        Dialogs& dialogs;
        // Opens the preferences on their Appearance pane and answers the window, for the alert
        // about a background that could not be loaded.
        std::function<QWidget*()> showAppearance;
    };
    static constexpr const char* backgroundFailedAlert =
        "Your background image could not be loaded, please make sure it is in your pictures "
        "folder.";

    static constexpr const char* otherLockerLine =
        "Another screen locker says it came up; this lock stays until its password is typed.";
    static constexpr const char* optionsError =
        "Error.  Make sure you have a valid combination of options.";
    static constexpr std::chrono::milliseconds openingDuration{400};
    static constexpr std::chrono::milliseconds kioskDelay{400};
    static constexpr std::chrono::milliseconds circuitDelay{10};
    static constexpr std::chrono::milliseconds closingDuration{200};
    static constexpr std::chrono::milliseconds closeDelay{190};
    static constexpr std::chrono::milliseconds unActiveDelay{200};
    static constexpr std::chrono::milliseconds grabRetryFast{10};
    static constexpr std::chrono::milliseconds grabRetrySlow{250};
    static constexpr std::chrono::milliseconds grabRetryFastFor{1000};
    static constexpr std::chrono::milliseconds pressSettlingTime{100};
    // How often a lock asks the X server again for its grabs and puts its windows back on top.
    static constexpr std::chrono::milliseconds grabRefreshInterval{1000};
    // How often, and for how long at most, the sleep waits for the lock screen to be drawn: the
    // login manager lets a delay inhibitor hold the sleep back for 5 s, and the machine should
    // sleep within a second all the same.
    static constexpr std::chrono::milliseconds shownCheckInterval{5};
    static constexpr std::chrono::milliseconds shownWaitLimit{900};

    LockSession(Services services, const Preferences& preferences, DisplayPower& displayPower,
                LockWindow& window, LockScreenViews& views, Widgets widgets);
    ~LockSession();

    void lock();
    void unlock();
    // Another locker says it came up. The lock stays: such an announcement cannot be told from a
    // forgery, so it is only written to the log.
    void screenLocked();

    void openWindow();
    void fullScreen();
    void makeWindowKey();
    void kioskMode();
    void showCircuitWindow();
    void closeWindow();
    void actuallyCloseWindow();
    void unActive();
    void simulateClick();
    // The pointer moved on the lock screen.
    void pointerMoved();
    // The display time-out: a fresh timer of the set minutes, in both timer fields.
    void armDisplayTimeout();
    void turnOffDisplay();
    void animateWasActive() { m_animateWasActive = true; }
    // Runs the callback once the lock window is up and holds the keyboard, at once when it
    // already does or when no lock is coming.
    void whenKeyboardHeld(std::function<void()> callback);
    // Runs the callback once every display shows the lock screen as it will stay: the opening
    // movement is cut short, every lock window painted and drawn by the X server, the keyboard
    // held. At once when no lock is coming or the lock is on its way out; after
    // shownWaitLimit whatever the state, so that nothing holds the sleep back for long.
    void whenScreenShown(std::function<void()> callback);

    bool isLockActive() const { return m_lockActive; }
    // The lock is on its way out: still active until its windows are gone.
    bool isClosing() const { return m_lockActive && m_closing; }
    bool getLocked() const { return m_locked; }
    // A lock under way whose keyboard and pointer grabs the X server has granted.
    bool holdsInput() const;
    // Calls back with true once the lock holds keyboard and pointer (at once when it does), or
    // with false when it still does not after inputWaitLimit of retries: a grab another client
    // holds only for a moment (the tray's own, say) is not reported as held elsewhere.
    void whenInputHeld(std::function<void(bool)> callback);
    static constexpr std::chrono::milliseconds inputWaitLimit{1000};
    bool getUnlocking() const;
    bool animateWasActiveFlag() const { return m_animateWasActive; }

    // The shared timer field: the later of the display time-out and the clock tick.
    TimerSlot& timer() { return m_timer; }
    TimerSlot& timeoutTimeTimer() { return m_timeoutTimeTimer; }

    QWidget* circuitWindow() const { return m_circuit.get(); }
    const LockBanner& inputHeldNotice() const { return m_inputHeldNotice; }
    // Every lock window; the primary one first.
    QList<QWidget*> windows() const;
    // What the shield keeps mapped and on top, bottom to top: the circuit window beneath the
    // primary lock window (a nudge uncovers it, never another window), then the lock windows.
    QList<QWidget*> shieldedWindows() const;
    // Shielded windows again after they changed (a display added, the circuit window shown).
    void keepWindowsAbove();
    // The covers shown as a lock is asked for, beneath the lock windows; empty when none.
    QList<QWidget*> coverWindows() const;

private:
    bool tryGrabs();
    void holdGrabs();
    void retryGrabs();
    void refreshGrabs();
    void letGoOfPress();
    void tearDownViews();
    void notifyKeyboardWaiters();
    void takeKeyboardFirst(const QRect& screen);
    void addWidgets();
    void reportBackgroundFailure();
    QRect firstScreen() const;
    // The opening as chosen, or the fade where the window's place on the screen does not show.
    int openingAnimation() const;
    void settleOpening();
    void checkScreenShown();
    void notifyShownWaiters();

    Services m_services;
    const Preferences& m_preferences;
    DisplayPower& m_displayPower;
    LockWindow& m_window;
    LockScreenViews& m_views;
    Widgets m_widgets;

    bool m_lockActive = false;
    bool m_locked = false;
    bool m_closing = false;
    bool m_animateWasActive = false;
    bool m_wantPointer = false;
    std::chrono::milliseconds m_grabRetriedFor{0};

    TimerSlot m_timer;
    TimerSlot m_timeoutTimeTimer;
    TimerSlot m_clockTimer;
    TimerSlot m_makeKeyCall;
    TimerSlot m_kioskCall;
    TimerSlot m_circuitCall;
    TimerSlot m_closeCall;
    TimerSlot m_unActiveCall;
    TimerSlot m_grabRetry;
    TimerSlot m_grabRefresh;
    TimerSlot m_pressSettling;
    bool m_pressHeld = false;
    std::unique_ptr<QWidget> m_circuit;
    LockBanner m_inputHeldNotice{"inputHeldNotice", QString::fromLatin1(InputHeldNotice::text),
                                 InputHeldNotice::colour, 0};
    std::vector<std::function<void()>> m_keyboardWaiters;
    std::unique_ptr<LockCover> m_cover;
    TimerSlot m_shownCheck;
    std::chrono::milliseconds m_shownWaitedFor{0};
    std::vector<std::function<void()>> m_shownWaiters;
    std::vector<std::function<void(bool)>> m_inputWaiters;
    TimerSlot m_inputCheck;
    std::chrono::milliseconds m_inputWaitedFor{0};
};
