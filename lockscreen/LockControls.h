#pragma once

#include <QString>

#include <chrono>
#include <memory>

class Displays;
class LockScreenViews;
class LockWindow;
class Scheduler;
class ScriptRunner;
class TimerSlot;
class QWidget;
struct Preferences;

// The small controls of the lock screen: the caps-lock notice, the do-not-disturb button that
// fades the password field in and out, and the shut-down pair.
class LockControls
{
public:
    static constexpr const char* capslockLiveText = "Caps Lock Is On";
    static constexpr std::chrono::milliseconds fadeDuration{200};
    static constexpr const char* shutDownScriptName = "ShutDownScript";

    struct Services
    {
        Scheduler& scheduler;
        Displays& displays;
        ScriptRunner& scripts;
    };
    LockControls(Services services, const Preferences& preferences, LockWindow& window,
                 LockScreenViews& views);
    ~LockControls();

    void capslockOn();
    void capslockOff();
    void toggleDoNotDisturb();
    void hideTextBox();
    void updateDoNotDisturbImage();
    void shutDownScript();
    void cancelShutDown();
    void hideShutDown();

    bool doNotDisturbBool() const { return m_doNotDisturbBool; }
    QString doNotDisturbImage() const { return m_doNotDisturbImage; }

private:
    void fade(QWidget* view, bool in);

    Services m_services;
    const Preferences& m_preferences;
    LockWindow& m_window;
    LockScreenViews& m_views;
    bool m_doNotDisturbBool = false;
    QString m_doNotDisturbImage;
    std::unique_ptr<TimerSlot> m_hideTextBoxCall;
    std::unique_ptr<TimerSlot> m_hideShutDownCall;
};
