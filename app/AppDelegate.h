#pragma once

#include "app/PlatformServices.h"
#include "input/GuessThrottle.h"
#include "input/KeySequence.h"
#include "input/PasswordMatcher.h"
#include "input/PasswordSetting.h"
#include "lockscreen/LockBanner.h"
#include "platform/Scheduler.h"
#include "settings/Preferences.h"
#include "settings/SettingsStore.h"

#include <QObject>

#include <functional>
#include <memory>

class BackgroundBuilder;
class BatteryWidget;
class FirstPasswordWindow;
class HelpWindow;
class IconRowPlacement;
class LockClock;
class LockControls;
class LockScreenColours;
class MailBadge;
class MusicWidget;
class PreferenceActions;
class PreferencesController;
class PreferencesWindow;
class QRadioButton;
class QWidget;
class LockScreenViews;
class LockSession;
class LockWindow;
class StatusItem;
class DesktopLocker;
class HotKey;
class IdleLock;
class ScreenSaverService;
class QAction;
class QDateTimeEdit;
class QUrl;
class ScheduledLock;
class ScriptingInterface;
class WindowController;

// The program's controller: it owns the windows, the tray icon, the in-memory settings and the
// session, and hands each piece of work to the component that owns it.
class ChangePasswordFields;
class DisplayPower;

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

    // --- Lock session ---------------------------------------------------------------------
    void lock();
    void unlock();
    // Another locker says it came up: ours stays, since the announcement cannot be trusted.
    void screenLocked();
    void simulateClick();
    // The pointer moved on the lock screen.
    void pointerMoved();
    void animateWasActive();
    // The lock requested by another program.
    void lockAppleScript();
    // Runs the callback once the lock screen shows on every display as it will stay, at once
    // when no lock is active (see LockSession::whenScreenShown).
    void whenLockShown(std::function<void()> callback);
    // See LockSession::whenInputHeld.
    void whenInputHeld(std::function<void(bool)> callback);
    bool isLockActive() const;
    // Active and not yet ended by the password (the closing movement may still run).
    bool isLockStanding() const;
    bool getLocked() const;
    // Whether the X server says the lock holds both keyboard and pointer.
    bool holdsInput() const;
    bool getUnlocking() const;

    // --- Sleep and wake -------------------------------------------------------------------
    // The machine is about to sleep: with lock on wake, the lock comes up first.
    void Sleep();
    // The machine woke up.
    void wakeClick();

    // --- Hot key --------------------------------------------------------------------------
    void reinstallHotKey();
    bool isHotKeyPress(int keyCode, unsigned xModifiers) const;
    void shortcutText(const QString& text);
    void firstShortcutModifier(int tag);
    void secondShortcutModifier(int tag);
    void thirdShortcutModifier(int tag);
    void toggleKeyboardShortcut();
    HotKey* hotKey() const { return m_hotKey.get(); }

    // --- Scheduled and delayed lock -------------------------------------------------------
    void time(const QDateTime& picked);
    void toggleUseTimer();
    void timeLockout(QAction* item);
    ScheduledLock* scheduledLock() const { return m_scheduledLock.get(); }
    QDateTimeEdit* timePicker() const { return m_timePicker.get(); }

    // --- Idle lock and the desktop's screen-saver service -----------------------------------
    void toggleLockWhenIdle();
    // The minutes without input, as set in the Security pane (held within 1 to 120).
    void setIdleLockMinutes(int minutes);
    IdleLock* idleLock() const { return m_idleLock.get(); }

    // --- A session Tessarine cannot lock itself (Wayland) --------------------------------------
    // From now on every lock is handed to the desktop's lock screen (see DesktopLocker); said
    // once on stderr and in the tray.
    void handLocksToDesktop(DesktopLocker& locker);
    bool locksHandedToDesktop() const { return m_desktopLocker != nullptr; }
    // Whether the desktop's lock screen answered the last lock handed to it.
    bool desktopLockAnswered() const { return m_desktopLockAnswered; }
    static constexpr const char* handedToDesktopLine =
        "this is a Wayland session, which an X11 program cannot lock: each lock is handed to the "
        "desktop's lock screen";
    static constexpr const char* desktopDidNotLockLine =
        "the desktop's lock screen did not answer: the screen is not locked";
    ScreenSaverService* screenSaverService() const { return m_screenSaver; }

    // --- Display power --------------------------------------------------------------------
    // Marks the brightness as touched from outside (a read of the mail count does it).
    void changeBackBrightness();
    bool backBrightnessChanged() const;
    void turnOffDisplay();
    void getPreviousBrightness();
    float getLockBrightness() const { return m_preferences.lockBrightness; }
    DisplayPower* displayPower() const { return m_displayPower.get(); }

    // --- Lock screen: background and layout ----------------------------------------------
    void updateBackground();
    void positionLock();
    bool didResolutionChange() const;
    // Displays were added, removed or resized.
    void applicationDidChangeScreenParameters();
    void updateIconPositions(bool force);
    void updateBattery(bool force);
    void updateDoNotDisturb(bool force);
    // Places the mail badge; the name is kept from the setting that shows it.
    void updateShutDown(bool force);
    void updatePositions();

    // --- Lock screen: text colour ---------------------------------------------------------
    void determineColor();
    // The colour selector's choice, by the title of its selected cell.
    void colorChanged(const QString& title);
    void setShadows();

    // --- Lock screen: widgets -------------------------------------------------------------
    void updateTime();
    void updateiTunes();
    void setMail(int count);
    void updateMail();
    void capslockOn();
    void capslockOff();
    void toggleDoNotDisturb();
    void hideTextBox();
    void updateDoNotDisturbImage();
    void shutDownScript();
    void cancelShutDown();
    void hideShutDown();
    // A media key while locked (16 play, 19 next, 20 previous).
    void mediaKey(int keyType);

    // --- Password and keys ----------------------------------------------------------------
    // Every key typed on the lock screen, as the characters it types.
    void keyPressed(const QString& characters);
    // The secure field's whole-password check.
    void passwordEntered();
    // Flips between typing the password in order and as a chord, and saves the choice.
    void securityLevel();
    void toggleSlowGuesses();
    void setLastTime();
    static bool isLeftKey(int character);
    void rotateLock(double phase);
    void rotateLockRightKey(double phase);
    void konami(int keyCode);

    // --- Password setting -----------------------------------------------------------------
    // The first-password window's save button.
    void saveNewPassword();
    // The end of the empty-password question: 1001 ("Continue") saves the empty password.
    void alertDidEnd(int returnCode);
    // The change-password fields' save button.
    void savePassword();

    // --- Preferences ----------------------------------------------------------------------
    void toggleShowMusic(bool checked);
    void toggleShowTime(bool checked);
    void toggleShowBattery(bool checked);
    void toggleShowDoNotDisturb(bool checked);
    void toggleShutDown();
    void toggleShowCapslock();
    void toggleWiggleLock();
    void toggleFlat();
    void toggleTurnOffDisplay();
    void toggleTimeout();
    void toggleOpenOnLogin();
    // The display time-out in minutes, as typed.
    void setTimeout(float minutes);
    void setLockBrightness(float brightness);
    void screenSliderChanged(int strength);
    void redLock();
    void blueLock();
    void blackLock();
    void defaultLockImage();
    void whiteMinimalLockImage();
    void blackMinimalLockImage();
    // Both open a panel for the user's own picture.
    void customLockImage();
    void customBackgroundImage();
    void desktopBackground();
    void brushedMetal();
    void clearBackground();
    void toggleLockOnWake();
    void lockOnWakeAlertDidEnd(int returnCode);
    // The contact line's text, as typed in the Appearance pane (empty: no contact line).
    void setContactText(const QString& text);
    // A click on one of the animation buttons; a choice cannot be cleared.
    void lockAnimationPressed(QRadioButton* sender);
    void unlockAnimationPressed(QRadioButton* sender);

    // --- Preferences window ---------------------------------------------------------------
    // Fills every control from the settings and shows the window on its General pane.
    void openPreferences();
    // The Appearance pane's note that the clear background needs a compositing manager, shown
    // while it is chosen and none runs.
    void showCompositorNote();
    void generalPressed();
    void imagesPressed();
    void animationsPressed();
    void passwordPressed();
    void shortcutsPressed();
    void remoteLockPressed();
    void setPreferencesSize(QWidget* pane);
    void closePreferences();
    static bool isPreferencesOpened();
    static void preferencesAlreadyOpened();
    // A fresh About window on every call.
    void openAbout();
    void openHelp();
    // The users' page of the program's web site, in the desktop's browser.
    void openUsersSite();
    static QUrl usersSite();
    HelpWindow* help() const { return m_help.get(); }
    PreferencesWindow* preferencesWindow() const { return m_preferencesWindow.get(); }

    // --- Parts, for the widgets and for tests ---------------------------------------------
    const Preferences& preferences() const { return m_preferences; }
    const SettingsStore& settingsStore() const { return m_settingsStore; }
    bool noBattery() const { return m_noBattery; }
    double lastTime() const { return m_matcher.lastTime(); }
    double lastRotationTime() const { return m_lastRotation; }
    LockWindow* window() const { return m_window.get(); }
    LockScreenViews* views() const { return m_views.get(); }
    LockSession* session() const { return m_session.get(); }
    FirstPasswordWindow* setPassword() const { return m_setPassword.get(); }
    ChangePasswordFields* changePasswordFields() const { return m_changePassword.get(); }
    StatusItem* statusItem() const { return m_statusItem; }
    WindowController* windowController() const { return m_windowController; }
    ScriptingInterface* scriptingInterface() const { return m_scripting; }
    BackgroundBuilder* backgroundBuilder() const { return m_background.get(); }
    MusicWidget* musicWidget() const { return m_music.get(); }
    MailBadge* mailBadge() const { return m_mail.get(); }
    LockControls* lockControls() const { return m_controls.get(); }
    IconRowPlacement* iconRow() const { return m_iconRow.get(); }

private:
    void checkForBattery();
    void makeIdleLock();
    void handLockToDesktop();
    void makeLockScreenParts();
    void loadSettings();
    void showChosenLockImage();
    void loadPassword();
    void finishFirstPassword();
    void swing(double phase, bool rightKey);
    void nudge();
    void shake();
    PreferenceActions* makePreferenceActions();
    void animationPressed(QRadioButton* sender, bool unlock);
    // A panel cancelled or a picture refused: the menus show the current choice again.
    void showLockImageChoice();
    void showBackgroundChoice();

    PlatformServices m_platform;
    SettingsStore m_settingsStore;
    Preferences m_preferences;
    PasswordSetting m_passwordSetting;
    PasswordMatcher m_matcher;
    GuessThrottle m_guessThrottle;
    LockBanner m_slowKeysNotice{"slowKeysNotice", QString::fromLatin1(SlowKeysNotice::text),
                                SlowKeysNotice::colour, LockBanner::height};
    KeySequence m_keySequence;

    std::unique_ptr<DisplayPower> m_displayPower;
    std::unique_ptr<LockWindow> m_window;
    std::unique_ptr<LockScreenViews> m_views;
    std::unique_ptr<LockScreenColours> m_colours;
    std::unique_ptr<BackgroundBuilder> m_background;
    std::unique_ptr<IconRowPlacement> m_iconRow;
    std::unique_ptr<BatteryWidget> m_battery;
    std::unique_ptr<MusicWidget> m_music;
    std::unique_ptr<LockClock> m_clock;
    std::unique_ptr<MailBadge> m_mail;
    std::unique_ptr<LockControls> m_controls;
    std::unique_ptr<LockSession> m_session;
    std::unique_ptr<FirstPasswordWindow> m_setPassword;
    std::unique_ptr<ChangePasswordFields> m_changePassword;
    std::unique_ptr<HotKey> m_hotKey;
    std::unique_ptr<ScheduledLock> m_scheduledLock;
    std::unique_ptr<IdleLock> m_idleLock;
    std::unique_ptr<QDateTimeEdit> m_timePicker;
    std::unique_ptr<PreferencesWindow> m_preferencesWindow;
    std::unique_ptr<PreferenceActions> m_preferenceActions;
    PreferencesController* m_preferencesController = nullptr;
    std::unique_ptr<HelpWindow> m_help;
    QDateTime m_pickedTime;
    StatusItem* m_statusItem = nullptr;
    WindowController* m_windowController = nullptr;
    ScriptingInterface* m_scripting = nullptr;
    ScreenSaverService* m_screenSaver = nullptr;
    DesktopLocker* m_desktopLocker = nullptr;
    bool m_desktopLockAnswered = false;

    TimerSlot m_swingCall;
    double m_lastRotation = 0;
    bool m_noBattery = false;
    // The URL of the user's own lock image, as loaded at start-up.
    std::optional<QString> m_lockImageURL;
};
