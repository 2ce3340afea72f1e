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
#include "triggers/ScheduledLock.h"
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

AppDelegate::AppDelegate(PlatformServices platform, QObject* parent)
    : QObject(parent), m_platform(std::move(platform)), m_settingsStore(m_platform.libraryFolder),
      m_passwordSetting(PasswordFile::pathIn(m_platform.libraryFolder), m_platform.dialogs),
      m_matcher(m_platform.clock),
      m_displayPower(std::make_unique<DisplayPower>(m_platform.brightness, m_platform.scripts)),
      m_window(std::make_unique<LockWindow>()),
      m_setPassword(std::make_unique<FirstPasswordWindow>()),
      m_changePassword(std::make_unique<ChangePasswordFields>()),
      m_help(std::make_unique<HelpWindow>()), m_swingCall(m_platform.scheduler)
{
    // The lock window covers the primary display; elements placed from its bottom edge need its
    // size before they are placed.
    m_window->setGeometry(m_platform.displays.primaryGeometry());
    connect(m_setPassword->saveButton(), &QPushButton::clicked, this,
            &AppDelegate::saveNewPassword);
    connect(m_changePassword->saveButton(), &QPushButton::clicked, this,
            &AppDelegate::savePassword);
    m_scripting = new ScriptingInterface(*this, this);
    m_hotKey = std::make_unique<HotKey>(m_platform.hotKey, m_preferences, m_settingsStore,
                                        [this] { lock(); });
    m_scheduledLock = std::make_unique<ScheduledLock>(
        m_platform.scheduler, m_platform.clock, m_preferences, m_settingsStore, [this] { lock(); });
    m_timePicker = std::make_unique<QDateTimeEdit>();
    m_timePicker->setObjectName(QStringLiteral("timeoutTime"));
    m_timePicker->setDisplayFormat(QStringLiteral("HH:mm"));
    m_preferencesWindow =
        std::make_unique<PreferencesWindow>(m_timePicker.get(), m_changePassword.get());
    m_preferenceActions.reset(makePreferenceActions());
    connectPreferences();
    connect(&m_platform.system, &SystemEvents::screenLocked, this, &AppDelegate::screenLocked);
    connect(&m_platform.system, &SystemEvents::willSleep, this, &AppDelegate::Sleep);
    connect(&m_platform.system, &SystemEvents::didWake, this, &AppDelegate::wakeClick);
}

AppDelegate::~AppDelegate()
{
    // The window shows the picker and the password fields but does not own them.
    m_timePicker->setParent(nullptr);
    m_changePassword->setParent(nullptr);
}

void AppDelegate::awakeFromNib()
{
    m_statusItem = new StatusItem(this);
    connect(m_statusItem, &StatusItem::lockRequested, this, &AppDelegate::lock);
    connect(m_statusItem, &StatusItem::preferencesRequested, this, &AppDelegate::openPreferences);
    connect(m_statusItem, &StatusItem::aboutRequested, this, &AppDelegate::openAbout);
    connect(m_statusItem, &StatusItem::helpRequested, this, &AppDelegate::openHelp);
    connect(m_statusItem, &StatusItem::usersSiteRequested, this, &AppDelegate::openUsersSite);
}

void AppDelegate::applicationDidFinishLaunching()
{
    m_settingsStore.writeFirstRunSettingsIfMissing();
    m_views = std::make_unique<LockScreenViews>(*m_window);
    makeLockScreenParts();
    m_session = std::make_unique<LockSession>(
        LockSession::Services{m_platform.scheduler, m_platform.clock, m_platform.displays,
                              m_platform.shield, m_platform.pointer, m_platform.motion},
        m_preferences, *m_displayPower, *m_window, *m_views,
        LockSession::Widgets{*m_background, *m_clock, *m_battery, *m_music, *m_mail,
                             m_platform.dialogs, [this]() -> QWidget* {
                                 openPreferences();
                                 imagesPressed();
                                 return preferencesWindow();
                             }});
    m_windowController = new WindowController(*this, this);
    m_window->installEventFilter(m_windowController);
    connect(m_views->enterPassword(), &QLineEdit::returnPressed, this,
            &AppDelegate::passwordEntered);
    checkForBattery();
    if (m_statusItem)
        m_scheduledLock->buildDelayMenu(m_statusItem->lockoutItem()->menu());
    m_views->placeContact(m_platform.displays.primaryPixelSize().width());
    loadSettings();
    if (m_preferences.backgroundType == BackgroundBuilder::ClearKind)
        m_window->allowTransparency();
    setShadows();
    m_preferences.applyDefaultHotKeyCharacter();
    if (m_preferences.useTimer)
        m_scheduledLock->armFromSettings(m_preferences.hour, m_preferences.minute);
    m_timePicker->setDateTime(m_preferences.date ? m_preferences.date->toLocalTime()
                                                 : m_platform.clock.now());
    m_timePicker->setEnabled(m_preferences.useTimer);
    // Leaving the picker without changing it picks nothing.
    connect(m_timePicker.get(), &QDateTimeEdit::editingFinished, this, [this] {
        const QDateTime picked = m_timePicker->dateTime();
        if (picked.time().hour() == m_pickedTime.time().hour() &&
            picked.time().minute() == m_pickedTime.time().minute())
            return;
        m_pickedTime = picked;
        time(picked);
    });
    m_pickedTime = m_timePicker->dateTime();
    showChosenLockImage();
    m_views->applyTextColours(m_preferences.textIsBlack != 0);
    loadPassword();
    // The sleep delay is held from now on, so that the machine waits for the lock.
    m_platform.system.holdSleepDelay();
    if (m_preferences.useShortcut)
        m_hotKey->install();
    m_matcher.clearLastTime();
    updateDoNotDisturbImage();
}

void AppDelegate::makeLockScreenParts()
{
    m_colours = std::make_unique<LockScreenColours>(m_preferences, m_settingsStore, *m_views,
                                                    [this] { updateDoNotDisturbImage(); });
    m_background = std::make_unique<BackgroundBuilder>(
        BackgroundBuilder::Services{m_platform.displays, m_platform.desktopPicture}, m_preferences,
        m_settingsStore, *m_window, *m_views,
        [this](const QImage& picture, const QSizeF& shownSize) {
            m_colours->determineColor(picture, shownSize);
        },
        [this] { updateIconPositions(true); });
    m_iconRow = std::make_unique<IconRowPlacement>(m_preferences, *m_views, m_platform.powerSources,
                                                   [this] { return didResolutionChange(); });
    m_battery = std::make_unique<BatteryWidget>(m_platform.powerSources, *m_views, *m_iconRow);
    m_music = std::make_unique<MusicWidget>(m_platform.musicPlayer, m_platform.scheduler,
                                            m_preferences, *m_views);
    m_clock = std::make_unique<LockClock>(m_platform.clock, m_preferences, *m_views, *m_music,
                                          *m_battery);
    m_mail = std::make_unique<MailBadge>(m_platform.scripts, m_platform.scheduler, m_preferences,
                                         *m_views);
    m_controls = std::make_unique<LockControls>(
        LockControls::Services{m_platform.scheduler, m_platform.displays, m_platform.scripts},
        m_preferences, *m_window, *m_views);
    connect(m_views->doNotDisturb(), &QPushButton::clicked, this, &AppDelegate::toggleDoNotDisturb);
    connect(m_views->shutDown(), &QPushButton::clicked, this, &AppDelegate::shutDownScript);
    connect(m_views->cancel(), &QPushButton::clicked, this, &AppDelegate::cancelShutDown);
    connect(m_scripting, &ScriptingInterface::mailReported, this, &AppDelegate::setMail);
}

void AppDelegate::checkForBattery()
{
    if (m_platform.powerSources.firstBattery())
        return;
    // A desktop machine: the battery widget is turned off at every start, on disk too.
    m_noBattery = true;
    m_preferences.showBattery = false;
    m_settingsStore.set(Keys::showBattery, false);
}

void AppDelegate::loadSettings()
{
    const SettingsSnapshot file = m_settingsStore.load();
    m_preferences.loadFrom(file);
    m_lockImageURL = file.stringValue(Keys::lockImageURL);
}

void AppDelegate::showChosenLockImage()
{
    if (m_preferences.lockImageType != LockImageChooser::customImageType) {
        m_views->showLockImage(LockImageChooser::builtInImageName(m_preferences.lockImageType));
        return;
    }
    // A custom picture that can no longer be read leaves the default image.
    if (!m_lockImageURL)
        return;
    if (const auto image = LockImageChooser::loadCustomImage(*m_lockImageURL))
        m_views->showLockImage(*image);
}

void AppDelegate::loadPassword()
{
    PasswordBuffer::load(PasswordFile::read(PasswordFile::pathIn(m_platform.libraryFolder)));
    if (!PasswordBuffer::isAbsent())
        return;
    // No password yet: the hot key is reset to Command-Option-L and the user is asked for one.
    m_preferences.applyFirstRunHotKey();
    m_settingsStore.set(firstRunHotKeySettings());
    m_setPassword->bringToFront();
}

void AppDelegate::saveNewPassword()
{
    const QString password = m_setPassword->firstPassword()->text();
    switch (m_passwordSetting.saveNewPassword(
        password, m_setPassword->firstPasswordConfirm()->text(), m_setPassword.get())) {
    case PasswordSetting::FirstTimeStep::Mismatch:
        return;
    case PasswordSetting::FirstTimeStep::AskAboutEmpty:
        m_platform.dialogs.askAsSheet(
            m_setPassword.get(), QString::fromLatin1(PasswordSetting::emptyQuestion),
            {tr("Go Back"), tr("Continue")}, [this](int returnCode) { alertDidEnd(returnCode); });
        return;
    case PasswordSetting::FirstTimeStep::Saved:
        finishFirstPassword();
        return;
    }
}

void AppDelegate::alertDidEnd(int returnCode)
{
    if (returnCode != Dialogs::secondButton)
        return; // "Go Back": the window stays as it is
    m_passwordSetting.store(m_setPassword->firstPassword()->text());
    finishFirstPassword();
}

void AppDelegate::savePassword()
{
    ChangePasswordFields& fields = *m_changePassword;
    const auto result =
        m_passwordSetting.savePassword(fields.oldPassword()->text(), fields.nextPassword()->text(),
                                       fields.confirmNewPassword()->text(), fields.window());
    if (result != PasswordSetting::ChangeResult::Saved)
        return;
    fields.clearFields();
    m_passwordSetting.confirmSaved();
}

void AppDelegate::finishFirstPassword()
{
    m_setPassword->clearFields();
    m_setPassword->close();
    m_passwordSetting.confirmSaved();
}

// --- Lock session ---------------------------------------------------------------------------

void AppDelegate::lock()
{
    m_session->lock();
}

void AppDelegate::unlock()
{
    m_session->unlock();
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

void AppDelegate::lockAppleScript()
{
    lock();
}

void AppDelegate::animateWasActive()
{
    m_session->animateWasActive();
}

bool AppDelegate::isLockActive() const
{
    return m_session && m_session->isLockActive();
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
        m_platform.shield.keepAbove(m_session->windows());
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
    switch (m_matcher.keyPressed(characters, m_preferences.orderMatters)) {
    case PasswordMatcher::Outcome::Unlock:
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
    switch (m_matcher.passwordEntered(field->text())) {
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
    // Security: the machine may sleep only once the lock window is up and holds the keyboard,
    // so that it wakes up locked. Without lock on wake it may sleep at once.
    m_session->whenKeyboardHeld([this] { m_platform.system.releaseSleepDelay(); });
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

// --- Preferences --------------------------------------------------------------------------

PreferenceActions* AppDelegate::makePreferenceActions()
{
    PreferenceActions::Effects effects;
    effects.updateIconPositions = [this] { updateIconPositions(true); };
    effects.setShadows = [this] { setShadows(); };
    effects.showLockImageNamed = [this](const QString& name) { m_views->showLockImage(name); };
    effects.showLockImage = [this](const QImage& image) { m_views->showLockImage(image); };
    effects.clearBackgroundReady = [this] { m_background->setBackgroundReady(false); };
    effects.setLockOnWakeCheck = [this](bool on) {
        m_preferencesWindow->lockOnWake()->setChecked(on);
    };
    effects.window = [this]() -> QWidget* { return m_preferencesWindow.get(); };
    return new PreferenceActions(m_preferences, m_settingsStore, m_platform.loginItems,
                                 m_platform.dialogs, std::move(effects));
}

void AppDelegate::showLockImageChoice()
{
    m_preferencesWindow->showLockImageChoice(m_preferences.lockImageType);
}

void AppDelegate::showBackgroundChoice()
{
    m_preferencesWindow->showBackgroundChoice(m_preferences.backgroundType);
}

void AppDelegate::toggleShowMusic(bool checked)
{
    m_preferenceActions->toggleShowMusic(checked);
}

void AppDelegate::toggleShowTime(bool checked)
{
    m_preferenceActions->toggleShowTime(checked);
}

void AppDelegate::toggleShowBattery(bool checked)
{
    m_preferenceActions->toggleShowBattery(checked);
}

void AppDelegate::toggleShowDoNotDisturb(bool checked)
{
    m_preferenceActions->toggleShowDoNotDisturb(checked);
}

void AppDelegate::toggleShutDown()
{
    m_preferenceActions->toggleShutDown();
}

void AppDelegate::toggleShowCapslock()
{
    m_preferenceActions->toggleShowCapslock();
}

void AppDelegate::toggleWiggleLock()
{
    m_preferenceActions->toggleWiggleLock();
}

void AppDelegate::toggleFlat()
{
    m_preferenceActions->toggleFlat();
}

void AppDelegate::toggleTurnOffDisplay()
{
    const bool on = m_preferenceActions->toggleTurnOffDisplay();
    m_preferencesWindow->dimCheck()->setChecked(on);
    m_preferencesWindow->brightnessText()->setEnabled(on);
}

void AppDelegate::toggleTimeout()
{
    const bool on = m_preferenceActions->toggleTimeout();
    m_preferencesWindow->timeoutCheck()->setChecked(on);
    m_preferencesWindow->timeoutTextBox()->setEnabled(on);
}

void AppDelegate::toggleOpenOnLogin()
{
    m_preferenceActions->toggleOpenOnLogin();
}

void AppDelegate::setTimeout(float minutes)
{
    m_preferenceActions->setTimeout(minutes);
}

void AppDelegate::setLockBrightness(float brightness)
{
    m_preferenceActions->setLockBrightness(brightness);
}

void AppDelegate::screenSliderChanged(int strength)
{
    m_preferenceActions->screenSliderChanged(strength);
}

void AppDelegate::redLock()
{
    m_preferenceActions->redLock();
}

void AppDelegate::blueLock()
{
    m_preferenceActions->blueLock();
}

void AppDelegate::blackLock()
{
    m_preferenceActions->blackLock();
}

void AppDelegate::defaultLockImage()
{
    m_preferenceActions->defaultLockImage();
}

void AppDelegate::whiteMinimalLockImage()
{
    m_preferenceActions->whiteMinimalLockImage();
}

void AppDelegate::blackMinimalLockImage()
{
    m_preferenceActions->blackMinimalLockImage();
}

void AppDelegate::customLockImage()
{
    m_platform.dialogs.chooseFile(m_preferencesWindow.get(), tr("Select a custom lock image."),
                                  [this](std::optional<QString> url) {
                                      if (!url)
                                          showLockImageChoice();
                                      else
                                          // A file that is no picture changes nothing, silently.
                                          m_preferenceActions->customLockImage(*url);
                                  });
}

void AppDelegate::customBackgroundImage()
{
    m_platform.dialogs.chooseFile(m_preferencesWindow.get(),
                                  tr("Select a custom background image."),
                                  [this](std::optional<QString> url) {
                                      if (!url || !m_preferenceActions->customBackgroundImage(*url))
                                          showBackgroundChoice();
                                  });
}

void AppDelegate::desktopBackground()
{
    m_preferenceActions->desktopBackground();
}

void AppDelegate::brushedMetal()
{
    m_preferenceActions->brushedMetal();
}

void AppDelegate::clearBackground()
{
    m_preferenceActions->clearBackground();
}

void AppDelegate::toggleLockOnWake()
{
    m_preferenceActions->toggleLockOnWake();
}

void AppDelegate::lockOnWakeAlertDidEnd(int returnCode)
{
    m_preferenceActions->lockOnWakeAlertDidEnd(returnCode);
}

void AppDelegate::lockAnimationPressed(QRadioButton* sender)
{
    animationPressed(sender, false);
}

void AppDelegate::unlockAnimationPressed(QRadioButton* sender)
{
    animationPressed(sender, true);
}

void AppDelegate::animationPressed(QRadioButton* sender, bool unlock)
{
    if (!sender->isChecked()) {
        sender->setChecked(true); // the chosen one was clicked again: it stays, nothing changes
        return;
    }
    const QList<QRadioButton*>& buttons =
        unlock ? m_preferencesWindow->unlockAnimations() : m_preferencesWindow->lockAnimations();
    for (int i = 0; i < int(buttons.size()); ++i) {
        if (buttons.at(i) != sender)
            buttons.at(i)->setChecked(false);
        else if (unlock)
            m_preferenceActions->unlockAnimationChosen(i);
        else
            m_preferenceActions->lockAnimationChosen(i);
    }
}

// --- Preferences window -------------------------------------------------------------------

namespace {
bool preferencesOpened = false;
} // namespace

void AppDelegate::connectPreferences()
{
    PreferencesWindow* w = m_preferencesWindow.get();
    const std::array<std::pair<const char*, void (AppDelegate::*)()>, 6> panes{
        {{"General", &AppDelegate::generalPressed},
         {"Appearance", &AppDelegate::imagesPressed},
         {"Animations", &AppDelegate::animationsPressed},
         {"Security", &AppDelegate::passwordPressed},
         {"Shortcuts", &AppDelegate::shortcutsPressed},
         {"Remote Lock", &AppDelegate::remoteLockPressed}}};
    for (const auto& [title, action] : panes)
        connect(w->toolbarItem(QString::fromLatin1(title)), &QAction::triggered, this, action);
    connectPreferenceChecks();
    connectPreferenceChoices();
    connect(w->wiggleScreenSlider(), &QSlider::valueChanged, this,
            &AppDelegate::screenSliderChanged);
    connect(w->brightnessText(), &QLineEdit::returnPressed, this, [this, w] {
        setLockBrightness(PreferenceActions::floatValue(w->brightnessText()->text()));
    });
    connect(w->timeoutTextBox(), &QLineEdit::returnPressed, this,
            [this, w] { setTimeout(PreferenceActions::floatValue(w->timeoutTextBox()->text())); });
    connect(w->shortcutText(), &QLineEdit::textEdited, this, &AppDelegate::shortcutText);
}

void AppDelegate::connectPreferenceChecks()
{
    PreferencesWindow* w = m_preferencesWindow.get();
    // Clicks only: the window setting a box when it opens changes nothing.
    connect(w->musicCheck(), &QCheckBox::clicked, this, &AppDelegate::toggleShowMusic);
    connect(w->timeCheck(), &QCheckBox::clicked, this, &AppDelegate::toggleShowTime);
    connect(w->batteryCheck(), &QCheckBox::clicked, this, &AppDelegate::toggleShowBattery);
    connect(w->donotdisturbCheck(), &QCheckBox::clicked, this,
            &AppDelegate::toggleShowDoNotDisturb);
    const std::array<std::pair<QCheckBox*, void (AppDelegate::*)()>, 11> flips{
        {{w->capslockCheck(), &AppDelegate::toggleShowCapslock},
         {w->lockOnWake(), &AppDelegate::toggleLockOnWake},
         {w->shutDownCheck(), &AppDelegate::toggleShutDown},
         {w->openOnLoginCheck(), &AppDelegate::toggleOpenOnLogin},
         {w->keyboardShortcutCheck(), &AppDelegate::toggleKeyboardShortcut},
         {w->useTimerCheck(), &AppDelegate::toggleUseTimer},
         {w->securityLevelCheck(), &AppDelegate::securityLevel},
         {w->flatCheck(), &AppDelegate::toggleFlat},
         {w->wiggleLockCheck(), &AppDelegate::toggleWiggleLock},
         {w->dimCheck(), &AppDelegate::toggleTurnOffDisplay},
         {w->timeoutCheck(), &AppDelegate::toggleTimeout}}};
    for (const auto& [box, action] : flips)
        connect(box, &QCheckBox::clicked, this, action);
}

void AppDelegate::connectPreferenceChoices()
{
    PreferencesWindow* w = m_preferencesWindow.get();
    for (QRadioButton* colour : {w->whiteButton(), w->blackButton()})
        connect(colour, &QRadioButton::clicked, this, [this, colour] {
            colorChanged(colour->objectName() == QLatin1String("whiteButton")
                             ? QStringLiteral("White")
                             : QStringLiteral("Black"));
        });
    for (QRadioButton* button : w->lockAnimations())
        connect(button, &QRadioButton::clicked, this,
                [this, button] { lockAnimationPressed(button); });
    for (QRadioButton* button : w->unlockAnimations())
        connect(button, &QRadioButton::clicked, this,
                [this, button] { unlockAnimationPressed(button); });
    const std::array<void (AppDelegate::*)(), 6> lockImages{&AppDelegate::redLock,
                                                            &AppDelegate::blueLock,
                                                            &AppDelegate::blackLock,
                                                            &AppDelegate::whiteMinimalLockImage,
                                                            &AppDelegate::blackMinimalLockImage,
                                                            &AppDelegate::customLockImage};
    connect(w->lockSelector(), &QComboBox::activated, this,
            [this, lockImages](int index) { (this->*lockImages.at(index))(); });
    const std::array<void (AppDelegate::*)(), 4> backgrounds{
        &AppDelegate::desktopBackground, &AppDelegate::brushedMetal,
        &AppDelegate::customBackgroundImage, &AppDelegate::clearBackground};
    connect(w->backgroundSelector(), &QComboBox::activated, this,
            [this, backgrounds](int index) { (this->*backgrounds.at(index))(); });
    // The menus' items are in the order of the hot key's modifier tags; the third has no "none".
    connect(w->firstShortcutModifier(), &QComboBox::activated, this,
            &AppDelegate::firstShortcutModifier);
    connect(w->secondShortcutModifier(), &QComboBox::activated, this,
            &AppDelegate::secondShortcutModifier);
    connect(w->thirdShortcutModifier(), &QComboBox::activated, this,
            [this](int index) { thirdShortcutModifier(index + 1); });
}

void AppDelegate::openPreferences()
{
    PreferencesWindow::Fill extra;
    extra.noBattery = m_noBattery;
    // The daily lock time is read from disk, not from memory.
    extra.dailyLockDate = m_settingsStore.load().dateValue(Keys::date);
    preferencesOpened = true;
    {
        const QSignalBlocker quiet(m_preferencesWindow->wiggleScreenSlider());
        m_preferencesWindow->fill(m_preferences, extra);
    }
    m_preferencesWindow->show();
    m_preferencesWindow->raise();
    m_preferencesWindow->activateWindow();
}

void AppDelegate::generalPressed()
{
    m_preferencesWindow->showPane(m_preferencesWindow->generalView(), QStringLiteral("General"));
}

void AppDelegate::imagesPressed()
{
    PreferencesWindow* w = m_preferencesWindow.get();
    w->setSelectedItemIdentifier(QStringLiteral("Appearance"));
    w->showPane(w->appearanceView(), QStringLiteral("Appearance"));
    w->showLockImageChoice(m_preferences.lockImageType);
    w->showBackgroundChoice(m_preferences.backgroundType);
}

void AppDelegate::animationsPressed()
{
    m_preferencesWindow->showPane(m_preferencesWindow->animationsView(),
                                  QStringLiteral("Animations"));
}

void AppDelegate::passwordPressed()
{
    m_preferencesWindow->showPane(m_preferencesWindow->securityView(), QStringLiteral("Security"));
}

void AppDelegate::shortcutsPressed()
{
    m_preferencesWindow->showPane(m_preferencesWindow->shortcutsView(),
                                  QStringLiteral("Shortcuts"));
}

void AppDelegate::remoteLockPressed()
{
    m_preferencesWindow->showPane(m_preferencesWindow->remoteLockView(),
                                  QStringLiteral("Remote Lock"));
}

void AppDelegate::setPreferencesSize(QWidget* pane)
{
    m_preferencesWindow->setPreferencesSize(pane);
}

void AppDelegate::closePreferences()
{
    m_preferencesWindow->close();
}

bool AppDelegate::isPreferencesOpened()
{
    return preferencesOpened;
}

void AppDelegate::preferencesAlreadyOpened()
{
    preferencesOpened = false;
}

void AppDelegate::openAbout()
{
    // Parented so that it goes with the program; it closes and deletes itself on its own.
    auto* about = new AboutWindow(m_preferencesWindow.get());
    connect(about, &AboutWindow::usersSiteRequested, this, &AppDelegate::openUsersSite);
    about->show();
    about->raise();
    about->activateWindow();
}

void AppDelegate::openHelp()
{
    m_help->show();
    m_help->raise();
    m_help->activateWindow();
}

#ifndef TESSARINE_SITE
#error "TESSARINE_SITE, the program's web site, is set by the build (CMakeLists.txt)"
#endif

QUrl AppDelegate::usersSite()
{
    // The site is chosen when building (TESSARINE_SITE); a trailing slash is not doubled.
    QString site = QStringLiteral(TESSARINE_SITE);
    while (site.endsWith(QLatin1Char('/')))
        site.chop(1);
    return QUrl(site + QStringLiteral("/Users"));
}

void AppDelegate::openUsersSite()
{
    // The desktop's own handler (xdg-open on X11); a failure is the desktop's to report.
    QDesktopServices::openUrl(usersSite());
}
