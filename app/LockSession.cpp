#include "app/LockSession.h"

#include "app/DisplayPower.h"
#include "input/PasswordBuffer.h"
#include "lockscreen/BackgroundBuilder.h"
#include "lockscreen/BatteryWidget.h"
#include "lockscreen/LockClock.h"
#include "lockscreen/LockCover.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"
#include "lockscreen/MailBadge.h"
#include "lockscreen/MusicWidget.h"
#include "lockscreen/WindowMotion.h"
#include "platform/Clock.h"
#include "platform/Dialogs.h"
#include "platform/Displays.h"
#include "platform/ImageLibrary.h"
#include "platform/Log.h"
#include "platform/Memory.h"
#include "platform/ScreenShield.h"
#include "settings/Preferences.h"

#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>

using namespace std::chrono_literals;

LockSession::LockSession(Services services, const Preferences& preferences,
                         DisplayPower& displayPower, LockWindow& window, LockScreenViews& views,
                         Widgets widgets)
    : m_services(services), m_preferences(preferences), m_displayPower(displayPower),
      m_window(window), m_views(views), m_widgets(widgets), m_timer(services.scheduler),
      m_timeoutTimeTimer(services.scheduler), m_clockTimer(services.scheduler),
      m_makeKeyCall(services.scheduler), m_kioskCall(services.scheduler),
      m_circuitCall(services.scheduler), m_closeCall(services.scheduler),
      m_unActiveCall(services.scheduler), m_grabRetry(services.scheduler),
      m_grabRefresh(services.scheduler), m_pressSettling(services.scheduler),
      m_cover(std::make_unique<LockCover>()), m_shownCheck(services.scheduler),
      m_inputCheck(services.scheduler)
{
    m_services.shield.prepareWindow(&m_window);
    // A grab another client took from us (by unmapping the lock window, say) is asked for again
    // at once, and retried while someone else holds it.
    m_services.shield.onHoldLost([this] {
        if (m_lockActive && !m_closing)
            holdGrabs();
    });
}

LockSession::~LockSession() = default;

bool LockSession::getUnlocking() const
{
    return PasswordBuffer::getUnlocking();
}

QList<QWidget*> LockSession::windows() const
{
    return QList<QWidget*>{&m_window} + m_widgets.background.coverWindows();
}

bool LockSession::holdsInput() const
{
    return m_lockActive && !m_closing && m_services.shield.holdsKeyboard() &&
           m_services.shield.holdsPointer();
}

void LockSession::whenInputHeld(std::function<void(bool)> callback)
{
    if (holdsInput() || !m_lockActive) {
        callback(holdsInput());
        return;
    }
    m_inputWaiters.push_back(std::move(callback));
    if (m_inputCheck.isArmed())
        return;
    m_inputWaitedFor = std::chrono::milliseconds(0);
    m_inputCheck.armRepeating(grabRetryFast, [this] {
        m_inputWaitedFor += grabRetryFast;
        const bool held = holdsInput();
        if (!held && m_lockActive && m_inputWaitedFor < inputWaitLimit)
            return;
        m_inputCheck.invalidate();
        auto waiters = std::move(m_inputWaiters);
        m_inputWaiters.clear();
        for (auto& waiter : waiters)
            waiter(held);
    });
}

QList<QWidget*> LockSession::coverWindows() const
{
    return m_cover->windows();
}

QList<QWidget*> LockSession::shieldedWindows() const
{
    // Bottom to top. The primary lock window comes last: where displays overlap (mirrored
    // monitors), a further display's cover must not hide the clock, the notices or the buttons.
    QList<QWidget*> shielded = m_cover->windows();
    if (m_circuit)
        shielded.append(m_circuit.get());
    return shielded + m_widgets.background.coverWindows() + QList<QWidget*>{&m_window};
}

void LockSession::keepWindowsAbove()
{
    m_services.shield.keepAbove(shieldedWindows());
}

QRect LockSession::firstScreen() const
{
    return m_services.displays.primaryGeometry();
}

void LockSession::lock()
{
    if (m_lockActive)
        return;
    // Security: the desktop is hidden before anything else is done for the lock; what follows
    // (the background built, the widgets filled) may take a while.
    const QColor cover = m_widgets.background.coverColour();
    if (!m_services.shield.coverDisplays(cover))
        m_cover->show(m_services.displays.screenGeometries(), cover);
    m_widgets.background.positionLock();
    m_closing = false;
    m_lockActive = true;
    PasswordBuffer::setUnlocking(false);
    if (m_preferences.timeout) {
        armDisplayTimeout();
        m_displayPower.getPreviousBrightness();
    }
    if (m_preferences.dimEnabled)
        m_displayPower.dimApplescript(m_preferences.lockBrightness);
    openWindow();
}

void LockSession::armDisplayTimeout()
{
    // Minutes held as a float, worked out in single precision.
    const float seconds = m_preferences.timeoutTime * 60.0f;
    const auto delay = std::chrono::milliseconds(
        seconds > 0 ? static_cast<qint64>(std::min(seconds, 2.0e9f / 1000.0f) * 1000.0f) : 0);
    m_timeoutTimeTimer.arm(delay, [this] { turnOffDisplay(); });
    m_timer.hold(m_timeoutTimeTimer);
}

void LockSession::turnOffDisplay()
{
    m_timeoutTimeTimer.invalidate();
    m_displayPower.turnOffDisplay();
}

void LockSession::openWindow()
{
    if (m_preferences.showTime || m_preferences.showBattery || m_preferences.showMusic) {
        // The shared timer field takes the clock's timer; the display time-out it held goes on
        // running, reachable through its own field.
        m_clockTimer.armRepeating(LockClock::interval,
                                  [this] { m_widgets.clock.updateTime(m_lockActive, m_timer); });
        m_timer.hold(m_clockTimer);
    }
    if (m_preferences.showShutDown)
        m_widgets.mail.startPolling([this] { return m_lockActive; });
    if (!m_preferences.showDoNotDisturb)
        m_views.enterPassword()->hide();
    if (m_preferences.showTime)
        m_widgets.clock.showTime();
    const QRect screen = firstScreen();
    m_window.setMinimumSize(screen.size());
    m_window.setMaximumSize(screen.size());
    m_window.setGeometry(screen);
    takeKeyboardFirst(screen);
    m_widgets.background.updateBackground();
    addWidgets();
    fullScreen();
    m_lockActive = true;
}

void LockSession::takeKeyboardFirst(const QRect& screen)
{
    // Security: the keyboard is taken before anything slow runs (a large picture decoded, the
    // music player asked, the settings file written), so that keys typed while the lock screen
    // is built never reach the desktop. The window waits where its opening starts: transparent
    // on the display for the fade, above the display for a slide. Both paint only once built,
    // on the next turn of the event loop.
    m_window.setWindowOpacity(0);
    // Chosen in the preferences since the last lock or at start, the clear background is seen
    // through at this one.
    m_window.setSeeThrough(m_preferences.backgroundType == BackgroundBuilder::ClearKind);
    const bool slides = openingAnimation() != 0;
    m_window.move(slides ? screen.topLeft() - QPoint(0, screen.height()) : screen.topLeft());
    m_window.show();
    keepWindowsAbove();
    // Security: the pointer is held from the first moment too, so that no click reaches the
    // desktop while the lock screen slides or fades in; the click that gives the lock the
    // desktop's focus still waits for kiosk mode.
    m_wantPointer = true;
    holdGrabs();
    m_grabRefresh.armRepeating(grabRefreshInterval, [this] { refreshGrabs(); });
}

void LockSession::addWidgets()
{
    // Each view added lies above those added before it.
    const auto add = [](QWidget* view) {
        view->show();
        view->raise();
    };
    if (m_preferences.showMusic) {
        for (QWidget* view : {static_cast<QWidget*>(m_views.musicText()),
                              static_cast<QWidget*>(m_views.albumCover()),
                              static_cast<QWidget*>(m_views.playPauseImage())})
            add(view);
        m_widgets.music.updateiTunes();
    }
    if (m_preferences.showBattery) {
        add(m_views.batteryIndicator());
        add(m_views.realPercentText());
        m_widgets.battery.showPercentage();
    }
    if (m_preferences.showCapslock)
        add(m_views.capslockText());
    if (!m_preferences.showTime)
        m_views.time()->setText(QString());
    if (m_preferences.showShutDown)
        add(m_views.mailImage());
    if (m_preferences.showDoNotDisturb)
        add(m_views.doNotDisturb());
    if (m_preferences.showShutDown) {
        m_widgets.mail.showEmptyBadge();
        m_widgets.mail.updateMail(m_lockActive);
    }
}

void LockSession::fullScreen()
{
    const QRect screen = firstScreen();
    // Centred on the display as it is now, which may not be the one the program started on.
    m_views.placeContact(screen.width());
    const QPoint home = screen.topLeft();
    const int animation = openingAnimation();
    if (animation != 0) {
        // Placed just above the display, made key at once, then slid in; a value past the four
        // directions leaves it there, above the display.
        m_services.motion.setOpacity(&m_window, 0);
        m_services.motion.moveTo(&m_window, home - QPoint(0, screen.height()));
        makeWindowKey();
        m_services.motion.setOpacity(&m_window, 1);
        QPoint start;
        switch (animation) {
        case 1: // up: enters from below
            start = home + QPoint(0, screen.height());
            break;
        case 2: // down: enters from above
            start = home - QPoint(0, screen.height());
            break;
        case 3: // right: enters from the left
            start = home - QPoint(screen.width(), 0);
            break;
        case 4: // left: enters from the right
            start = home + QPoint(screen.width(), 0);
            break;
        default:
            break;
        }
        if (animation >= 1 && animation <= 4)
            m_services.motion.follow(&m_window, {start, home}, int(openingDuration.count()));
    } else {
        m_services.motion.setOpacity(&m_window, 0);
        m_services.motion.moveTo(&m_window, home);
        // Shown and made key on the next turn of the event loop, as the fade starts.
        m_makeKeyCall.arm(0ms, [this] { makeWindowKey(); });
        m_services.motion.fadeIn(&m_window, int(openingDuration.count()));
    }
    m_kioskCall.arm(kioskDelay, [this] { kioskMode(); });
    m_window.setFocus();
}

int LockSession::openingAnimation() const
{
    // Shown through a Wayland compositor's lock surfaces, which hide every output at once, the
    // window cannot be seen sliding over the desktop; fading in over the blank is the nearest
    // opening that can be seen.
    return m_services.shield.showsWindowPlace() ? m_preferences.startAnimation : 0;
}

void LockSession::makeWindowKey()
{
    // Shown and grabbed in one turn of the event loop: the grab request reaches the X server
    // right behind the map, before the first paint of a whole-screen window can delay it.
    m_window.show();
    keepWindowsAbove();
    // Taken as the lock opened; a retry under way goes on by itself.
    if (!m_grabRetry.isArmed())
        holdGrabs();
}

void LockSession::kioskMode()
{
    if (getUnlocking() || !m_lockActive)
        return; // the password was typed before the 0.4 s were up
    m_locked = true;
    // A clear background shows the desktop through the lock window once it has opened.
    if (m_preferences.backgroundType == BackgroundBuilder::ClearKind) {
        m_cover->hide();
        keepWindowsAbove();
    }
    if (m_preferences.closeAnimation != 0)
        m_circuitCall.arm(circuitDelay, [this] { showCircuitWindow(); });
    m_wantPointer = true;
    holdGrabs();
    simulateClick();
}

void LockSession::whenKeyboardHeld(std::function<void()> callback)
{
    const bool coming = m_lockActive && !getUnlocking();
    if (!coming || m_services.shield.holdsKeyboard()) {
        callback();
        return;
    }
    m_keyboardWaiters.push_back(std::move(callback));
}

void LockSession::whenScreenShown(std::function<void()> callback)
{
    if (!m_lockActive || m_closing || getUnlocking()) {
        callback();
        return;
    }
    m_shownWaiters.push_back(std::move(callback));
    settleOpening();
    if (m_shownCheck.isArmed())
        return;
    m_shownWaitedFor = 0ms;
    checkScreenShown();
}

void LockSession::settleOpening()
{
    // The screen as it will stay, at once: the window at home and opaque, shown and holding the
    // keyboard, instead of sliding or fading in for 0.4 s while the machine waits to sleep.
    if (m_locked)
        return;
    m_services.motion.stop(&m_window);
    m_services.motion.moveTo(&m_window, firstScreen().topLeft());
    m_services.motion.setOpacity(&m_window, 1);
    if (m_makeKeyCall.isArmed()) {
        m_makeKeyCall.invalidate();
        makeWindowKey();
    }
}

void LockSession::checkScreenShown()
{
    const bool drawn = m_services.shield.showsWindowPlace() ? LockCover::drawn(shieldedWindows())
                                                            : m_services.shield.showsLockScreen();
    const bool shown = m_services.shield.holdsKeyboard() && drawn;
    if (!shown && m_shownWaitedFor < shownWaitLimit) {
        m_shownWaitedFor += shownCheckInterval;
        m_shownCheck.arm(shownCheckInterval, [this] { checkScreenShown(); });
        return;
    }
    if (!shown)
        Log::line(QStringLiteral("The lock screen is not drawn everywhere yet; the machine may "
                                 "sleep all the same."));
    notifyShownWaiters();
}

void LockSession::notifyShownWaiters()
{
    m_shownCheck.invalidate();
    auto waiters = std::move(m_shownWaiters);
    m_shownWaiters.clear();
    for (auto& waiter : waiters)
        waiter();
}

void LockSession::notifyKeyboardWaiters()
{
    auto waiters = std::move(m_keyboardWaiters);
    m_keyboardWaiters.clear();
    for (auto& waiter : waiters)
        waiter();
}

bool LockSession::tryGrabs()
{
    const bool keyboard = m_services.shield.holdsKeyboard() || m_services.shield.makeKey(&m_window);
    if (keyboard && !m_keyboardWaiters.empty())
        notifyKeyboardWaiters();
    const bool pointer = !m_wantPointer || m_services.shield.holdsPointer() ||
                         m_services.shield.grabPointer(&m_window);
    // Said on the lock screen for as long as it lasts: what is typed goes elsewhere meanwhile.
    if (keyboard && pointer)
        m_inputHeldNotice.hide();
    else
        m_inputHeldNotice.show(&m_window);
    return keyboard && pointer;
}

void LockSession::holdGrabs()
{
    if (tryGrabs())
        return;
    Log::line(QString::fromLatin1(optionsError));
    if (m_grabRetry.isArmed())
        return; // the retry under way takes this grab with it
    m_grabRetriedFor = 0ms;
    m_grabRetry.arm(grabRetryFast, [this] { retryGrabs(); });
}

void LockSession::refreshGrabs()
{
    // A retry under way asks the server anyway.
    if (!m_lockActive || m_closing || m_grabRetry.isArmed())
        return;
    // Security: nothing announces every way a grab can be lost (a window made unviewable and
    // mapped again between two events, say), so the server is asked again now and then. Only
    // while a lock lasts: in the tray the program does not wake up.
    if (!m_services.shield.refreshGrabs())
        holdGrabs();
}

void LockSession::retryGrabs()
{
    if (!m_lockActive)
        return;
    if (tryGrabs())
        return;
    const auto interval = m_grabRetriedFor < grabRetryFastFor ? grabRetryFast : grabRetrySlow;
    m_grabRetriedFor += interval;
    m_grabRetry.arm(interval, [this] { retryGrabs(); });
}

void LockSession::showCircuitWindow()
{
    if (getUnlocking() || !m_lockActive)
        return;
    const QRect screen = firstScreen();
    auto circuit = std::make_unique<QWidget>(nullptr, Qt::Window | Qt::FramelessWindowHint |
                                                          Qt::X11BypassWindowManagerHint);
    circuit->setObjectName(QStringLiteral("circuit"));
    circuit->setAttribute(Qt::WA_ShowWithoutActivating);
    circuit->setGeometry(screen);
    auto* picture = new QLabel(circuit.get());
    picture->setGeometry(0, 0, screen.width(), screen.height());
    picture->setScaledContents(true);
    picture->setPixmap(ImageLibrary::named(QStringLiteral("circuit.png")).pixmap(screen.size()));
    m_services.shield.prepareWindow(circuit.get());
    m_circuit = std::move(circuit);
    m_circuit->show();
    // Beneath the lock window: a nudge uncovers the picture, not the desktop.
    m_window.raise();
    keepWindowsAbove();
}

void LockSession::simulateClick()
{
    // Only into the lock's own pointer grab: without it the press would land on the desktop.
    if (!m_services.shield.holdsPointer())
        return;
    m_services.pointer.clickTopLeftAndMoveBack();
    m_pressHeld = true;
    // The press is posted alone, as the click is meant to be; but on X a button left down
    // swallows the user's next press of it, so the press is let go once it has settled, before
    // a person's first click on the lock screen's controls can arrive.
    m_pressSettling.arm(pressSettlingTime, [this] { letGoOfPress(); });
}

void LockSession::letGoOfPress()
{
    if (!m_pressHeld)
        return;
    m_services.pointer.releasePressedButton();
    m_pressHeld = false;
}

void LockSession::pointerMoved()
{
    if (!m_pressHeld || m_pressSettling.isArmed())
        return;
    // The user has taken the mouse: the synthetic press is let go at once, so that a click on
    // the lock screen's controls arrives whole. The pointer stays grabbed.
    letGoOfPress();
}
