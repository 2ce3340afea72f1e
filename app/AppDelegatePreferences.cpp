#include "app/AppDelegate.h"

#include "app/DisplayPower.h"
#include "app/LockSession.h"
#include "input/WindowController.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockSwing.h"
#include "lockscreen/WindowMotion.h"
#include "platform/Clock.h"
#include "platform/x11/Compositor.h"

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
#include <QSpinBox>
#include <QToolBar>
#include <QUrl>

#include <cmath>
#include <cstdlib>

// The preference actions and the windows the tray menu opens.

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
    m_preferencesController->showLockImageChoice();
}

void AppDelegate::showBackgroundChoice()
{
    m_preferencesController->showBackgroundChoice();
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

void AppDelegate::setContactText(const QString& text)
{
    // One line, as the lock screen shows it; the field limits the length.
    const QString line = text.simplified();
    if (line == m_preferences.contactText)
        return;
    m_preferences.contactText = line;
    m_settingsStore.set(Keys::contactText, line);
    m_views->setContactText(line);
    m_views->placeContact(m_platform.displays.primaryGeometry().width());
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
    m_preferencesController->animationPressed(sender, unlock, *m_preferenceActions);
}

// --- Preferences window -------------------------------------------------------------------

void AppDelegate::openPreferences()
{
    m_preferencesController->open(m_noBattery);
}

void AppDelegate::showCompositorNote()
{
    m_preferencesController->showCompositorNote();
}

void AppDelegate::generalPressed()
{
    m_preferencesController->showPane(QStringLiteral("General"));
}

void AppDelegate::imagesPressed()
{
    m_preferencesController->showPane(QStringLiteral("Appearance"));
}

void AppDelegate::animationsPressed()
{
    m_preferencesController->showPane(QStringLiteral("Animations"));
}

void AppDelegate::passwordPressed()
{
    m_preferencesController->showPane(QStringLiteral("Security"));
}

void AppDelegate::shortcutsPressed()
{
    m_preferencesController->showPane(QStringLiteral("Shortcuts"));
}

void AppDelegate::remoteLockPressed()
{
    m_preferencesController->showPane(QStringLiteral("Remote Lock"));
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
    return PreferencesController::isOpened();
}

void AppDelegate::preferencesAlreadyOpened()
{
    PreferencesController::clearOpened();
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
