#pragma once

#include <QDateTime>
#include <QList>
#include <QMainWindow>

#include <optional>

class QAction;
class QActionGroup;
class QCheckBox;
class QComboBox;
class QDateTimeEdit;
class QLabel;
class QLineEdit;
class QRadioButton;
class QSlider;
class QSpinBox;
class QTabWidget;
class QToolBar;
class ChangePasswordFields;
struct Preferences;

// The preferences window: a toolbar of six panes, each a view of its own size, and the controls
// the settings are changed with. It only builds and fills the controls; what they do is wired by
// the program's controller.
class PreferencesWindow : public QMainWindow
{
    Q_OBJECT
public:
    // The date picker and the password fields are the controller's; the window shows them on
    // its panes.
    PreferencesWindow(QDateTimeEdit* timePicker, ChangePasswordFields* passwordFields);

    // What opening the window fills in besides the settings in memory.
    struct Fill
    {
        bool noBattery = false;
        std::optional<QDateTime> dailyLockDate; // read from the file on disk
    };
    // Empties the password fields, shows the General pane on its first tab and sets every
    // control from the settings.
    void fill(const Preferences& preferences, const Fill& extra);

    // The panes by their titles: General, Appearance, Animations, Security, Shortcuts, Remote Lock.
    void showPane(QWidget* pane, const QString& title);
    // Resizes the window to fit the pane, its top edge staying where it is.
    void setPreferencesSize(QWidget* pane);
    // Shows the lock-image and background menus on the given choices.
    void showLockImageChoice(int lockImageType);
    void showBackgroundChoice(int backgroundType);

    // The item index of a modifier mask in the first two menus and in the third one.
    static std::optional<int> modifierItem(std::optional<int> mask, bool third);
    // The selected toolbar item's title.
    QString selectedItemIdentifier() const;
    void setSelectedItemIdentifier(const QString& title);

    QToolBar* toolbar() const { return m_toolbar; }
    QTabWidget* tabView() const { return m_tabView; }
    QWidget* generalView() const { return m_generalView; }
    QWidget* appearanceView() const { return m_appearanceView; }
    QWidget* animationsView() const { return m_animationsView; }
    QWidget* securityView() const { return m_securityView; }
    QWidget* shortcutsView() const { return m_shortcutsView; }
    QWidget* remoteLockView() const { return m_remoteLockView; }
    QAction* toolbarItem(const QString& title) const;

    QCheckBox* musicCheck() const { return m_musicCheck; }
    QCheckBox* timeCheck() const { return m_timeCheck; }
    QCheckBox* batteryCheck() const { return m_batteryCheck; }
    QCheckBox* capslockCheck() const { return m_capslockCheck; }
    QCheckBox* donotdisturbCheck() const { return m_donotdisturbCheck; }
    QCheckBox* lockOnWake() const { return m_lockOnWake; }
    QCheckBox* shutDownCheck() const { return m_shutDownCheck; }
    QCheckBox* openOnLoginCheck() const { return m_openOnLoginCheck; }
    QCheckBox* keyboardShortcutCheck() const { return m_keyboardShortcutCheck; }
    QCheckBox* useTimerCheck() const { return m_useTimerCheck; }
    QCheckBox* securityLevelCheck() const { return m_securityLevelCheck; }
    QCheckBox* slowGuessesCheck() const { return m_slowGuessesCheck; }
    QCheckBox* lockWhenIdleCheck() const { return m_lockWhenIdleCheck; }
    QSpinBox* idleLockMinutes() const { return m_idleLockMinutes; }
    QLineEdit* contactTextField() const { return m_contactTextField; }
    // Under the background menu: the clear background needs a compositing manager.
    void showCompositorNote(bool show);
    QLabel* compositorNote() const { return m_compositorNote; }
    // A line across the lock screen, not a letter.
    static constexpr int maxContactLength = 120;
    QCheckBox* flatCheck() const { return m_flatCheck; }
    QCheckBox* wiggleLockCheck() const { return m_wiggleLockCheck; }
    QCheckBox* dimCheck() const { return m_dimCheck; }
    QCheckBox* timeoutCheck() const { return m_timeoutCheck; }
    QRadioButton* whiteButton() const { return m_whiteButton; }
    QRadioButton* blackButton() const { return m_blackButton; }
    const QList<QRadioButton*>& lockAnimations() const { return m_lockAnimations; }
    const QList<QRadioButton*>& unlockAnimations() const { return m_unlockAnimations; }
    QSlider* wiggleScreenSlider() const { return m_wiggleScreenSlider; }
    QDateTimeEdit* timeoutTime() const { return m_timeoutTime; }
    QLineEdit* brightnessText() const { return m_brightnessText; }
    QLineEdit* timeoutTextBox() const { return m_timeoutTextBox; }
    QComboBox* firstShortcutModifier() const { return m_firstShortcutModifier; }
    QComboBox* secondShortcutModifier() const { return m_secondShortcutModifier; }
    QComboBox* thirdShortcutModifier() const { return m_thirdShortcutModifier; }
    QLineEdit* shortcutText() const { return m_shortcutText; }
    // In a Wayland session, under the shortcut's controls: the compositor's binding to add.
    QLabel* waylandShortcutNote() const { return m_waylandShortcutNote; }
    QComboBox* lockSelector() const { return m_lockSelector; }
    QComboBox* backgroundSelector() const { return m_backgroundSelector; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* makeGeneralView();
    QWidget* makeAppearanceView();
    QWidget* makeAnimationsView();
    QWidget* makeSecurityView(ChangePasswordFields* passwordFields);
    QWidget* makeShortcutsView();
    QLabel* makeWaylandShortcutNote();
    void updateWaylandShortcutNote();
    QWidget* makeRemoteLockView();
    QCheckBox* checkBox(const char* name, const QString& title);
    void fillShortcutModifiers(const Preferences& preferences);

    // Until its first showing the window has no place of its own: the window manager gives it one.
    bool m_placed = false;
    QToolBar* m_toolbar = nullptr;
    QActionGroup* m_toolbarItems = nullptr;
    QTabWidget* m_tabView = nullptr;
    QWidget* m_generalView = nullptr;
    QWidget* m_appearanceView = nullptr;
    QWidget* m_animationsView = nullptr;
    QWidget* m_securityView = nullptr;
    QWidget* m_shortcutsView = nullptr;
    QWidget* m_remoteLockView = nullptr;
    ChangePasswordFields* m_passwordFields = nullptr;

    QCheckBox* m_musicCheck = nullptr;
    QCheckBox* m_timeCheck = nullptr;
    QCheckBox* m_batteryCheck = nullptr;
    QCheckBox* m_capslockCheck = nullptr;
    QCheckBox* m_donotdisturbCheck = nullptr;
    QCheckBox* m_lockOnWake = nullptr;
    QCheckBox* m_shutDownCheck = nullptr;
    QCheckBox* m_openOnLoginCheck = nullptr;
    QCheckBox* m_keyboardShortcutCheck = nullptr;
    QCheckBox* m_useTimerCheck = nullptr;
    QCheckBox* m_securityLevelCheck = nullptr;
    QCheckBox* m_slowGuessesCheck = nullptr;
    QCheckBox* m_lockWhenIdleCheck = nullptr;
    QSpinBox* m_idleLockMinutes = nullptr;
    QLineEdit* m_contactTextField = nullptr;
    QLabel* m_compositorNote = nullptr;
    QCheckBox* m_flatCheck = nullptr;
    QCheckBox* m_wiggleLockCheck = nullptr;
    QCheckBox* m_dimCheck = nullptr;
    QCheckBox* m_timeoutCheck = nullptr;
    QRadioButton* m_whiteButton = nullptr;
    QRadioButton* m_blackButton = nullptr;
    QList<QRadioButton*> m_lockAnimations;
    QList<QRadioButton*> m_unlockAnimations;
    QSlider* m_wiggleScreenSlider = nullptr;
    QDateTimeEdit* m_timeoutTime = nullptr;
    QLineEdit* m_brightnessText = nullptr;
    QLineEdit* m_timeoutTextBox = nullptr;
    QComboBox* m_firstShortcutModifier = nullptr;
    QComboBox* m_secondShortcutModifier = nullptr;
    QComboBox* m_thirdShortcutModifier = nullptr;
    QLineEdit* m_shortcutText = nullptr;
    QLabel* m_waylandShortcutNote = nullptr;
    QComboBox* m_lockSelector = nullptr;
    QComboBox* m_backgroundSelector = nullptr;
};
