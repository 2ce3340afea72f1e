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
#include "platform/DesktopLocker.h"
#include "platform/Dialogs.h"
#include "platform/Displays.h"
#include "platform/Log.h"
#include "platform/PowerSources.h"
#include "platform/ScreenShield.h"
#include "platform/SystemEvents.h"
#include "platform/x11/QtXcb.h"
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
#include "ui/PreferencesController.h"
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

#include <algorithm>
#include <cmath>
#include <cstdlib>

AppDelegate::AppDelegate(PlatformServices platform, QObject* parent)
    : QObject(parent), m_platform(std::move(platform)), m_settingsStore(m_platform.libraryFolder),
      m_passwordSetting(PasswordFile::pathIn(m_platform.libraryFolder), m_platform.dialogs),
      m_matcher(m_platform.clock), m_guessThrottle(m_platform.clock),
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
    makeIdleLock();
    m_timePicker = std::make_unique<QDateTimeEdit>();
    m_timePicker->setObjectName(QStringLiteral("timeoutTime"));
    m_timePicker->setDisplayFormat(QStringLiteral("HH:mm"));
    m_preferencesWindow =
        std::make_unique<PreferencesWindow>(m_timePicker.get(), m_changePassword.get());
    m_preferenceActions.reset(makePreferenceActions());
    m_preferencesController = new PreferencesController(*this, *m_preferencesWindow, m_preferences,
                                                        m_settingsStore, this);
    connect(&m_platform.system, &SystemEvents::screenLocked, this, &AppDelegate::screenLocked);
    // `loginctl lock-session` and the login manager's own idle action.
    connect(&m_platform.system, &SystemEvents::lockRequested, this, &AppDelegate::lock);
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
    loadSettings();
    m_views->setContactText(m_preferences.contactText);
    m_views->placeContact(m_platform.displays.primaryGeometry().width());
    setShadows();
    m_preferences.applyDefaultHotKeyCharacter();
    if (m_preferences.useTimer)
        m_scheduledLock->armFromSettings(m_preferences.hour, m_preferences.minute);
    m_idleLock->reconsider();
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
        BackgroundBuilder::Services{m_platform.displays, m_platform.desktopPicture,
                                    m_platform.shield},
        m_preferences, m_settingsStore, *m_window, *m_views,
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
    case PasswordSetting::FirstTimeStep::Untypable:
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

// --- Idle lock and the desktop's screen-saver service ---------------------------------------

void AppDelegate::makeIdleLock()
{
    m_screenSaver = new ScreenSaverService(*this, m_platform.idle, m_platform.clock,
                                           &QtXcb::windowExists, this);
    m_idleLock = std::make_unique<IdleLock>(
        m_platform.scheduler, m_platform.idle, m_preferences, [this] { lock(); },
        [this] { return isLockStanding(); });
    m_idleLock->addHoldBack([this] { return m_screenSaver->heldBack(); });
    m_idleLock->addHoldBack([this] { return m_platform.system.idleInhibited(); });
    // Queued: the last inhibitor can end while the idle lock itself is asking.
    connect(
        m_screenSaver, &ScreenSaverService::released, this, [this] { m_idleLock->reconsider(); },
        Qt::QueuedConnection);
}

void AppDelegate::toggleLockWhenIdle()
{
    m_preferences.lockWhenIdle = !m_preferences.lockWhenIdle;
    m_settingsStore.set(Keys::lockWhenIdle, m_preferences.lockWhenIdle);
    m_idleLock->reconsider();
}

void AppDelegate::setIdleLockMinutes(int minutes)
{
    m_preferences.idleLockMinutes =
        std::clamp(minutes, Preferences::minIdleLockMinutes, Preferences::maxIdleLockMinutes);
    m_settingsStore.set(Keys::idleLockMinutes, qint64(m_preferences.idleLockMinutes));
    m_idleLock->reconsider();
}

// --- A session Tessarine cannot lock itself -------------------------------------------------

void AppDelegate::handLocksToDesktop(DesktopLocker& locker)
{
    m_desktopLocker = &locker;
    m_idleLock->disable();
    Log::line(QString::fromLatin1(handedToDesktopLine));
    if (m_statusItem && m_statusItem->trayIcon())
        m_statusItem->trayIcon()->showMessage(
            tr("Tessarine"), tr("This Wayland session is locked by the desktop's own lock screen: "
                                "Tessarine hands every lock to it."));
}

void AppDelegate::handLockToDesktop()
{
    m_desktopLockAnswered = m_desktopLocker->lock();
    if (!m_desktopLockAnswered)
        Log::line(QString::fromLatin1(desktopDidNotLockLine));
}
