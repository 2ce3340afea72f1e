// The end of a lock: the password, the closing movement and the teardown in its fixed order.
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

void LockSession::unlock()
{
    if (!m_lockActive)
        return;
    // Steps of the opening still to come belong to a session that is ending.
    m_makeKeyCall.invalidate();
    m_kioskCall.invalidate();
    m_circuitCall.invalidate();
    m_grabRetry.invalidate();
    m_grabRefresh.invalidate();
    m_inputHeldNotice.hide();
    m_wantPointer = false;
    notifyKeyboardWaiters(); // nothing more to wait for
    notifyShownWaiters();
    // The synthetic press is let go while the pointer is still ours, so the desktop never sees
    // a button held down.
    m_services.pointer.releasePressedButton();
    m_pressHeld = false;
    m_services.shield.releaseGrabs();
    m_timeoutTimeTimer.invalidate();
    if (m_preferences.dimEnabled)
        m_displayPower.restoreBrightness();
    if (m_animateWasActive)
        m_displayPower.runAnimateOn();
    closeWindow();
}

void LockSession::screenLocked()
{
    // Security: any program of the session can own the screen saver's bus name and announce a
    // locker, and nothing tells a real one from a forgery, so the announcement never ends this
    // lock: only the password does. The user unlocks both.
    if (m_lockActive && !m_closing)
        Log::line(QString::fromLatin1(otherLockerLine));
}

void LockSession::closeWindow()
{
    m_timer.invalidate();
    m_widgets.music.musicTimer().invalidate();
    m_widgets.mail.mailTimer().invalidate();
    if (m_circuit)
        m_circuit->hide();
    m_widgets.mail.resetCount();
    m_locked = false;
    m_closing = true;
    // The desktop shows again behind a closing movement.
    m_cover->hide();
    keepWindowsAbove();
    m_widgets.music.stopTimers();
    const int animation = m_preferences.closeAnimation;
    if (animation == 0) {
        tearDownViews();
        m_services.motion.stop(&m_window);
        m_widgets.background.releaseCoverWindows();
        m_window.hide();
        m_window.releaseNativeWindow();
        m_lockActive = false;
        reportBackgroundFailure();
        // The lock's pictures are freed by now; the desktop is back already.
        Memory::releaseFreePages();
        return;
    }
    const QPoint home = firstScreen().topLeft();
    const QSize size = m_window.size();
    QPoint exit;
    switch (animation) {
    case 1: // up
        exit = home - QPoint(0, size.height());
        break;
    case 2: // down
        exit = home + QPoint(0, size.height());
        break;
    case 3: // right
        exit = home + QPoint(size.width(), 0);
        break;
    default: // left, and any value past the four directions
        exit = home - QPoint(size.width(), 0);
        break;
    }
    m_services.motion.follow(&m_window, {home, exit}, int(closingDuration.count()));
    // Removed 10 ms before the movement ends.
    m_closeCall.arm(closeDelay, [this] { actuallyCloseWindow(); });
    reportBackgroundFailure();
}

void LockSession::reportBackgroundFailure()
{
    BackgroundBuilder& background = m_widgets.background;
    if (!background.desktopImageLoadFailed() && !background.customImageLoadFailed())
        return;
    QWidget* preferences = m_widgets.showAppearance ? m_widgets.showAppearance() : nullptr;
    m_widgets.dialogs.showAlert(QString::fromLatin1(backgroundFailedAlert), preferences);
    background.clearLoadFailures();
}

void LockSession::tearDownViews()
{
    // The widgets leave the lock screen in this order; the mail badge is taken away twice, which
    // does no harm.
    for (QWidget* view :
         {static_cast<QWidget*>(m_views.musicText()), static_cast<QWidget*>(m_views.albumCover()),
          static_cast<QWidget*>(m_views.capslockText()),
          static_cast<QWidget*>(m_views.batteryIndicator()),
          static_cast<QWidget*>(m_views.doNotDisturb()), static_cast<QWidget*>(m_views.mailImage()),
          static_cast<QWidget*>(m_views.realPercentText()),
          static_cast<QWidget*>(m_views.playPauseImage()),
          static_cast<QWidget*>(m_views.mailImage())})
        view->hide();
    m_services.shield.keepAbove({});
}

void LockSession::actuallyCloseWindow()
{
    tearDownViews();
    m_services.motion.stop(&m_window);
    m_widgets.background.releaseCoverWindows();
    m_window.hide();
    m_window.releaseNativeWindow();
    m_window.move(firstScreen().topLeft());
    m_unActiveCall.arm(unActiveDelay, [this] { unActive(); });
}

void LockSession::unActive()
{
    m_lockActive = false;
    if (m_circuit)
        m_circuit->hide();
    m_circuit.reset();
    Memory::releaseFreePages();
}
