#pragma once

#include <QObject>
#include <QString>

class AppDelegate;
class PreferenceActions;
class PreferencesWindow;
class QRadioButton;
class SettingsStore;
struct Preferences;

// The preferences window's glue: each control is wired to the AppDelegate operation it stands
// for, the controls are filled when the window opens, and the toolbar switches panes. AppDelegate
// keeps the operations' names and hands the window's work here; what an operation changes (the
// setting, its key, its effect) stays with settings/PreferenceActions and the other components.
class PreferencesController : public QObject
{
    Q_OBJECT
public:
    PreferencesController(AppDelegate& delegate, PreferencesWindow& window,
                          const Preferences& preferences, const SettingsStore& store,
                          QObject* parent = nullptr);

    // Fills every control from the settings and shows the window on the pane it was on.
    void open(bool noBattery);
    // The pane of a toolbar item: "General", "Appearance", "Animations", "Security",
    // "Shortcuts" or "Remote Lock".
    void showPane(const QString& title);
    // A click on one of the animation buttons; a choice cannot be cleared.
    void animationPressed(QRadioButton* sender, bool unlock, PreferenceActions& actions);
    // A panel cancelled or a picture refused: the menus show the current choice again.
    void showLockImageChoice();
    void showBackgroundChoice();
    // The Appearance pane's note that the clear background needs a compositing manager.
    void showCompositorNote();

    // Whether the window was opened since the flag was last cleared (the program's whole life).
    static bool isOpened();
    static void clearOpened();

private:
    void connectPanes();
    void connectChecks();
    void connectChoices();
    void connectFields();

    AppDelegate& m_delegate;
    PreferencesWindow& m_window;
    const Preferences& m_preferences;
    const SettingsStore& m_store;
    static bool s_opened;
};
