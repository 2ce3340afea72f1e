#include "app/AppDelegate.h"

#include "app/DisplayPower.h"
#include "app/LockSession.h"
#include "input/WindowController.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockSwing.h"
#include "lockscreen/WindowMotion.h"
#include "platform/Clock.h"

#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "lockscreen/BackgroundBuilder.h"
#include "lockscreen/BackgroundView.h"
#include "lockscreen/BatteryWidget.h"
#include "lockscreen/IconRowPlacement.h"
#include "lockscreen/LockClock.h"
#include "lockscreen/LockControls.h"
#include "lockscreen/LockImageChooser.h"
#include "lockscreen/LockScreenColours.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"
#include "lockscreen/MailBadge.h"
#include "lockscreen/MusicWidget.h"
#include "platform/Dialogs.h"
#include "platform/Displays.h"
#include "platform/PowerSources.h"
#include "platform/ScreenShield.h"
#include "platform/SystemEvents.h"
#include "settings/PreferenceActions.h"
#include "triggers/HotKey.h"
#include "triggers/IdleLock.h"
#include "triggers/ScheduledLock.h"
#include "triggers/ScreenSaverService.h"
#include "triggers/ScriptingInterface.h"
#include "ui/AboutWindow.h"
#include "ui/ChangePasswordFields.h"
#include "ui/FirstPasswordWindow.h"
#include "ui/HelpWindow.h"
#include "ui/PreferencesWindow.h"
#include "ui/StatusItem.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QToolBar>
#include <QUrl>

#include <cmath>
#include <cstdlib>

// The lock and everything that happens while it lasts: the session, the lock screen's views,
// keys and password, and the triggers that start a lock.

// --- Lock session ---------------------------------------------------------------------------

void AppDelegate::lock()
{
    if (m_desktopLocker) {
        handLockToDesktop();
        return;
    }
    const bool starting = !isLockActive();
    if (starting) {
        // Every lock starts with every key taken.
        m_guessThrottle.reset();
        m_slowKeysNotice.hide();
        m_windowController->forgetComposing();
    }
    m_session->lock();
    if (starting && isLockActive())
        m_screenSaver->activeChanged(true);
    // The login manager hears that the session is locked once the lock holds the input.
    if (starting && isLockActive())
        m_session->whenInputHeld([this](bool held) {
            if (held && isLockActive())
                m_platform.system.setLockedHint(true);
        });
}

void AppDelegate::unlock()
{
    // The password ends the lock here; its closing movement may go on for a moment.
    const bool ending = isLockActive() && !m_session->isClosing();
    m_session->unlock();
    if (ending) {
        m_platform.system.setLockedHint(false);
        m_screenSaver->activeChanged(false);
        m_idleLock->reconsider();
    }
}

void AppDelegate::screenLocked()
{
    m_session->screenLocked();
}

void AppDelegate::simulateClick()
{
    m_session->simulateClick();
}

void AppDelegate::pointerMoved()
{
    m_session->pointerMoved();
}

bool AppDelegate::holdsInput() const
{
    return m_session->holdsInput();
}

void AppDelegate::lockAppleScript()
{
    lock();
}

void AppDelegate::whenInputHeld(std::function<void(bool)> callback)
{
    m_session->whenInputHeld(std::move(callback));
}

void AppDelegate::whenLockShown(std::function<void()> callback)
{
    m_session->whenScreenShown(std::move(callback));
}

void AppDelegate::animateWasActive()
{
    m_session->animateWasActive();
}

bool AppDelegate::isLockActive() const
{
    return m_session && m_session->isLockActive();
}

bool AppDelegate::isLockStanding() const
{
    return isLockActive() && !m_session->isClosing();
}

bool AppDelegate::getLocked() const
{
    return m_session && m_session->getLocked();
}

bool AppDelegate::getUnlocking() const
{
    return PasswordBuffer::getUnlocking();
}

// --- Lock screen ----------------------------------------------------------------------------

void AppDelegate::updateBackground()
{
    m_background->updateBackground();
}

void AppDelegate::positionLock()
{
    m_background->positionLock();
}

bool AppDelegate::didResolutionChange() const
{
    return m_background->didResolutionChange();
}

void AppDelegate::applicationDidChangeScreenParameters()
{
    // A lock on its way out covers nothing new: its windows are about to go.
    const bool covering = isLockActive() && !m_session->isClosing();
    m_background->applicationDidChangeScreenParameters(covering);
    if (covering)
        m_session->keepWindowsAbove();
}

void AppDelegate::updateIconPositions(bool force)
{
    m_iconRow->updateIconPositions(force);
}

void AppDelegate::updateBattery(bool force)
{
    m_iconRow->updateBattery(force);
}

void AppDelegate::updateDoNotDisturb(bool force)
{
    m_iconRow->updateDoNotDisturb(force);
}

void AppDelegate::updateShutDown(bool force)
{
    m_iconRow->updateShutDown(force);
}

void AppDelegate::updatePositions()
{
    m_iconRow->updatePositions();
}

void AppDelegate::determineColor()
{
    const BackgroundView* background = m_views->background();
    m_colours->determineColor(background->picture().toImage(),
                              background->picture().deviceIndependentSize());
}

void AppDelegate::colorChanged(const QString& title)
{
    m_colours->colorChanged(title);
}

void AppDelegate::setShadows()
{
    m_colours->setShadows();
}

void AppDelegate::updateTime()
{
    m_clock->updateTime(isLockActive(), m_session->timer());
}

void AppDelegate::updateiTunes()
{
    m_music->updateiTunes();
}

void AppDelegate::setMail(int count)
{
    m_mail->setMail(count);
}

void AppDelegate::updateMail()
{
    m_mail->updateMail(isLockActive());
}

void AppDelegate::capslockOn()
{
    m_controls->capslockOn();
}

void AppDelegate::capslockOff()
{
    m_controls->capslockOff();
}

void AppDelegate::toggleDoNotDisturb()
{
    m_controls->toggleDoNotDisturb();
}

void AppDelegate::hideTextBox()
{
    m_controls->hideTextBox();
}

void AppDelegate::updateDoNotDisturbImage()
{
    m_controls->updateDoNotDisturbImage();
}

void AppDelegate::shutDownScript()
{
    m_controls->shutDownScript();
}

void AppDelegate::cancelShutDown()
{
    m_controls->cancelShutDown();
}

void AppDelegate::hideShutDown()
{
    m_controls->hideShutDown();
}

void AppDelegate::mediaKey(int keyType)
{
    if (isLockActive())
        m_music->mediaKey(keyType);
}

// --- Password and keys ----------------------------------------------------------------------

void AppDelegate::keyPressed(const QString& characters)
{
    const double now = m_platform.clock.absoluteSeconds();
    if (m_preferences.wiggleLock &&
        (m_lastRotation == 0 || now - m_lastRotation > LockSwing::minimumInterval)) {
        if (characters.isEmpty())
            return; // a dead key: nothing to swing by, and nothing to match
        // Only the low byte of the first character counts, read as a signed byte.
        const int character = static_cast<signed char>(characters.at(0).unicode() & 0xFF);
        if (isLeftKey(character))
            rotateLock(0);
        else
            rotateLockRightKey(0);
        m_lastRotation = now;
    }
    // A display that went dark comes back with the first key, and its time-out starts again.
    if (m_displayPower->displayDimmed()) {
        m_displayPower->wakeDisplay();
        m_session->armDisplayTimeout();
    }
    if (m_preferences.slowGuesses && !m_guessThrottle.admit())
        return; // taken slowly: dropped unmatched, as the banner says
    const PasswordMatcher::Outcome outcome =
        m_matcher.keyPressed(characters, m_preferences.orderMatters);
    if (outcome != PasswordMatcher::Outcome::Unlock) {
        m_guessThrottle.keyCompletedNothing();
        if (m_preferences.slowGuesses && m_guessThrottle.isSlow() && !m_slowKeysNotice.isShown())
            m_slowKeysNotice.show(m_window.get());
    }
    switch (outcome) {
    case PasswordMatcher::Outcome::Unlock:
        m_slowKeysNotice.hide();
        unlock();
        break;
    case PasswordMatcher::Outcome::Nudge:
        nudge();
        break;
    case PasswordMatcher::Outcome::Nothing:
        break;
    }
}

void AppDelegate::passwordEntered()
{
    QLineEdit* field = m_views->enterPassword();
    if (field->isHidden() || !getLocked())
        return;
    // Whole passwords typed into the field are guesses too, each counted as one key.
    if (m_preferences.slowGuesses && !m_guessThrottle.admit()) {
        field->clear();
        return;
    }
    const PasswordMatcher::Outcome outcome = m_matcher.passwordEntered(field->text());
    if (outcome == PasswordMatcher::Outcome::Nudge)
        m_guessThrottle.keyCompletedNothing();
    switch (outcome) {
    case PasswordMatcher::Outcome::Unlock:
        field->clear();
        unlock();
        break;
    case PasswordMatcher::Outcome::Nudge:
        shake();
        break;
    case PasswordMatcher::Outcome::Nothing:
        break;
    }
}

void AppDelegate::securityLevel()
{
    m_preferences.orderMatters = !m_preferences.orderMatters;
    m_settingsStore.set(Keys::orderMatters, m_preferences.orderMatters);
}

void AppDelegate::toggleSlowGuesses()
{
    m_preferences.slowGuesses = !m_preferences.slowGuesses;
    m_settingsStore.set(Keys::slowGuesses, m_preferences.slowGuesses);
}

void AppDelegate::setLastTime()
{
    m_matcher.setLastTime();
}

bool AppDelegate::isLeftKey(int character)
{
    return KeyboardSides::isLeftKey(character);
}

void AppDelegate::rotateLock(double phase)
{
    swing(phase, false);
}

void AppDelegate::rotateLockRightKey(double phase)
{
    swing(phase, true);
}

void AppDelegate::swing(double phase, bool rightKey)
{
    LockImageView* image = m_views->lockImage();
    const double angle = LockSwing::angle(phase, image->height(), rightKey);
    // Out and back again in 0.1 s each, replacing a swing still running.
    for (auto* running : image->findChildren<QPropertyAnimation*>(QStringLiteral("swing")))
        delete running;
    auto* animation = new QPropertyAnimation(image, "rotation", image);
    animation->setObjectName(QStringLiteral("swing"));
    animation->setDuration(int(2 * LockSwing::swingSeconds * 1000));
    animation->setStartValue(0.0);
    animation->setKeyValueAt(0.5, std::isnan(angle) ? 0.0 : angle);
    animation->setEndValue(0.0);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
    const double next = phase + LockSwing::phaseStep;
    if (next < LockSwing::phaseEnd)
        m_swingCall.arm(std::chrono::milliseconds(int(LockSwing::swingSeconds * 1000)),
                        [this, next, rightKey] { swing(next, rightKey); });
}

void AppDelegate::nudge()
{
    // The lock window moves a little in the closing direction and back, over 0.2 s.
    const QPoint home = m_platform.displays.primaryGeometry().topLeft();
    const int strength = m_preferences.wiggleStrength;
    QPoint offset;
    switch (m_preferences.closeAnimation) {
    case 0:
        return;
    case 1:
        offset = QPoint(0, -strength); // up
        break;
    case 2:
        offset = QPoint(0, strength); // down
        break;
    case 3:
        offset = QPoint(strength, 0);
        break;
    case 4:
        offset = QPoint(-strength, 0);
        break;
    default:
        m_platform.motion.moveTo(m_window.get(), home);
        return;
    }
    m_platform.motion.follow(m_window.get(), {home, home + offset, home}, 200);
}

void AppDelegate::shake()
{
    // Four quick steps either side, each a fiftieth of a percent of the window, up or down at
    // random; the points are taken from the display's corner, not from the window's origin.
    const QPoint home = m_platform.displays.primaryGeometry().topLeft();
    const QSize size = m_window->size();
    QList<QPoint> points{m_window->pos()};
    for (int i = 0; i < 4; ++i) {
        const int s1 = (std::rand() % 2) ? 1 : -1;
        const int s2 = (std::rand() % 2) ? 1 : -1;
        points.append(home +
                      QPoint(qRound(-0.002 * size.width()), qRound(-s1 * 0.002 * size.height())));
        points.append(home +
                      QPoint(qRound(0.002 * size.width()), qRound(-s2 * 0.002 * size.height())));
    }
    points.append(home);
    m_platform.motion.follow(m_window.get(), points, 200);
}

void AppDelegate::konami(int keyCode)
{
    if (!m_keySequence.konami(keyCode))
        return;
    QPalette palette = m_views->time()->palette();
    palette.setColor(QPalette::WindowText, Qt::blue);
    m_views->time()->setPalette(palette);
}

// --- Hot key ------------------------------------------------------------------------------

bool AppDelegate::isHotKeyPress(int keyCode, unsigned xModifiers) const
{
    return m_hotKey->isPressOf(keyCode, xModifiers);
}

void AppDelegate::reinstallHotKey()
{
    m_hotKey->reinstallHotKey();
}

void AppDelegate::shortcutText(const QString& text)
{
    m_hotKey->shortcutText(text);
}

void AppDelegate::firstShortcutModifier(int tag)
{
    m_hotKey->firstShortcutModifier(tag);
}

void AppDelegate::secondShortcutModifier(int tag)
{
    m_hotKey->secondShortcutModifier(tag);
}

void AppDelegate::thirdShortcutModifier(int tag)
{
    m_hotKey->thirdShortcutModifier(tag);
}

void AppDelegate::toggleKeyboardShortcut()
{
    m_hotKey->toggleKeyboardShortcut();
}

// --- Scheduled and delayed lock -----------------------------------------------------------

void AppDelegate::time(const QDateTime& picked)
{
    m_scheduledLock->time(picked);
}

void AppDelegate::toggleUseTimer()
{
    m_timePicker->setEnabled(m_scheduledLock->toggleUseTimer(m_timePicker->dateTime()));
}

void AppDelegate::timeLockout(QAction* item)
{
    m_scheduledLock->timeLockout(item);
}

// --- Sleep and wake -----------------------------------------------------------------------

void AppDelegate::Sleep()
{
    if (m_preferences.lockOnWakeVariable)
        lock();
    // Security: the machine may sleep only once every display shows the lock screen as it will
    // stay and the keyboard is held, so that it wakes up showing the lock and nothing else; the
    // same for a lock another trigger brought up just before. Without a lock it may sleep at once.
    m_session->whenScreenShown([this] { m_platform.system.releaseSleepDelay(); });
}

void AppDelegate::wakeClick()
{
    if (isLockActive())
        simulateClick();
    m_platform.system.holdSleepDelay();
}

// --- Display power ------------------------------------------------------------------------

void AppDelegate::changeBackBrightness()
{
    m_displayPower->changeBackBrightness();
}

bool AppDelegate::backBrightnessChanged() const
{
    return m_displayPower->backBrightnessChanged();
}

void AppDelegate::turnOffDisplay()
{
    m_session->turnOffDisplay();
}

void AppDelegate::getPreviousBrightness()
{
    m_displayPower->getPreviousBrightness();
}
