#pragma once

#include "app/PlatformServices.h"
#include "input/PasswordSetting.h"
#include "settings/Preferences.h"
#include "settings/SettingsStore.h"

#include <QObject>

#include <memory>

class FirstPasswordWindow;
class LockScreenViews;
class LockWindow;
class StatusItem;

// The program's controller: it owns the windows, the tray icon, the in-memory settings and the
// session state, and hands each piece of work to the component that owns it.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    explicit AppDelegate(PlatformServices platform, QObject* parent = nullptr);
    ~AppDelegate() override;

    // --- Start-up -------------------------------------------------------------------------
    // Creates the tray icon. Called once the windows exist.
    void awakeFromNib();
    // The start-up sequence: settings files, lock-screen views, every setting, the password.
    void applicationDidFinishLaunching();

    // --- Password setting ---------------------------------------------------------------
    // The first-password window's save button.
    void saveNewPassword();
    // The end of the empty-password question: 1001 ("Continue") saves the empty password.
    void alertDidEnd(int returnCode);

    // --- Session state --------------------------------------------------------------------
    bool isLockActive() const { return m_lockActive; }

    // --- Parts, for the widgets and for tests ---------------------------------------------
    const Preferences& preferences() const { return m_preferences; }
    const SettingsStore& settingsStore() const { return m_settingsStore; }
    bool noBattery() const { return m_noBattery; }
    double lastTime() const { return m_lastTime; }
    LockWindow* window() const { return m_window.get(); }
    LockScreenViews* views() const { return m_views.get(); }
    FirstPasswordWindow* setPassword() const { return m_setPassword.get(); }
    StatusItem* statusItem() const { return m_statusItem; }

private:
    void checkForBattery();
    void loadSettings();
    void showChosenLockImage();
    void loadPassword();
    void finishFirstPassword();

    PlatformServices m_platform;
    SettingsStore m_settingsStore;
    Preferences m_preferences;
    PasswordSetting m_passwordSetting;

    std::unique_ptr<LockWindow> m_window;
    std::unique_ptr<LockScreenViews> m_views;
    std::unique_ptr<FirstPasswordWindow> m_setPassword;
    StatusItem* m_statusItem = nullptr;

    bool m_lockActive = false;
    bool m_noBattery = false;
    double m_lastTime = 0;
    // The URL of the user's own lock image, as loaded at start-up.
    std::optional<QString> m_lockImageURL;
};
