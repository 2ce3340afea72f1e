#include "app/AppDelegate.h"

#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "lockscreen/LockImageChooser.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"
#include "platform/Dialogs.h"
#include "platform/Displays.h"
#include "platform/PowerSources.h"
#include "ui/FirstPasswordWindow.h"
#include "ui/StatusItem.h"

#include <QLineEdit>
#include <QPushButton>

AppDelegate::AppDelegate(PlatformServices platform, QObject* parent)
    : QObject(parent), m_platform(std::move(platform)), m_settingsStore(m_platform.libraryFolder),
      m_passwordSetting(PasswordFile::pathIn(m_platform.libraryFolder), m_platform.dialogs),
      m_window(std::make_unique<LockWindow>()),
      m_setPassword(std::make_unique<FirstPasswordWindow>())
{
    // The lock window covers the primary display; elements placed from its bottom edge need its
    // size before they are placed.
    m_window->setGeometry(m_platform.displays.primaryGeometry());
    connect(m_setPassword->saveButton(), &QPushButton::clicked, this,
            &AppDelegate::saveNewPassword);
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::awakeFromNib()
{
    m_statusItem = new StatusItem(this);
}

void AppDelegate::applicationDidFinishLaunching()
{
    m_settingsStore.writeFirstRunSettingsIfMissing();
    m_views = std::make_unique<LockScreenViews>(*m_window);
    checkForBattery();
    m_views->placeContact(m_platform.displays.primaryPixelSize().width());
    loadSettings();
    m_preferences.applyDefaultHotKeyCharacter();
    showChosenLockImage();
    m_views->applyTextColours(m_preferences.textIsBlack != 0);
    loadPassword();
    m_lockActive = false;
    m_lastTime = 0;
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
    switch (m_passwordSetting.saveNewPassword(password,
                                              m_setPassword->firstPasswordConfirm()->text())) {
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

void AppDelegate::finishFirstPassword()
{
    m_setPassword->clearFields();
    m_setPassword->close();
    m_passwordSetting.confirmSaved();
}
