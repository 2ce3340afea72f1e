#pragma once

#include <QImage>
#include <QString>

#include <functional>

class Dialogs;
class LoginItems;
class QWidget;
class SettingsStore;
struct Preferences;

// What the preferences window's controls do: each action changes the in-memory value, writes its
// key, and applies its immediate effect. Failed writes are never reported; the value then lives
// in memory only.
class PreferenceActions
{
public:
    // The effects that belong to other parts of the program.
    struct Effects
    {
        std::function<void()> updateIconPositions;
        std::function<void()> setShadows;
        std::function<void(const QString&)> showLockImageNamed;
        std::function<void(const QImage&)> showLockImage;
        std::function<void()> clearBackgroundReady;
        // The lock-on-wake check box, when the user takes the choice back.
        std::function<void(bool)> setLockOnWakeCheck;
        // The window the alerts belong to.
        std::function<QWidget*()> window;
    };

    static constexpr const char* lockOnWakeWarning =
        "If your desktop is set to show its own lock screen on wake, Tessarine will not be "
        "activated.  Please make sure this is disabled in your desktop's settings before "
        "continuing.";

    PreferenceActions(Preferences& preferences, const SettingsStore& store, LoginItems& loginItems,
                      Dialogs& dialogs, Effects effects);

    // Check boxes whose new value is their own state.
    void toggleShowMusic(bool checked);
    void toggleShowTime(bool checked);
    void toggleShowBattery(bool checked);
    void toggleShowDoNotDisturb(bool checked);

    // Check boxes that flip the value in memory, whatever the box shows.
    void toggleShutDown();
    void toggleShowCapslock();
    void toggleWiggleLock();
    void toggleFlat();
    // These two return the new value, which their check box and text field then show.
    bool toggleTurnOffDisplay();
    bool toggleTimeout();
    void toggleOpenOnLogin();

    // The number a text field starts with, 0 when it starts with none ("2.9 min" gives 2.9).
    static float floatValue(const QString& text);

    // Minutes; the file keeps only whole minutes, memory keeps the fraction.
    void setTimeout(float minutes);
    void setLockBrightness(float brightness);
    void screenSliderChanged(int strength);

    // Built-in lock images, by their place in the lock-image menu.
    void redLock();
    void blueLock();
    void blackLock();
    void defaultLockImage();
    void whiteMinimalLockImage();
    void blackMinimalLockImage();
    // The user's own picture; returns false, changing nothing, when the file is not an image.
    bool customLockImage(const QString& fileUrl);

    void desktopBackground();
    void brushedMetal();
    // Lasts until the program quits: the stored kind is left as it was.
    void clearBackground();
    // Returns false, changing nothing, when the file is not an image.
    bool customBackgroundImage(const QString& fileUrl);

    // Stores the position in the list of the chosen animation.
    void lockAnimationChosen(int position);
    void unlockAnimationChosen(int position);

    void toggleLockOnWake();
    void lockOnWakeAlertDidEnd(int returnCode);

private:
    void chooseBackground(int kind);
    void setLockImageType(int type);

    Preferences& m_preferences;
    const SettingsStore& m_store;
    LoginItems& m_loginItems;
    Dialogs& m_dialogs;
    Effects m_effects;
};
