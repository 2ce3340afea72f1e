#include "ui/PreferencesController.h"

#include "app/AppDelegate.h"
#include "lockscreen/BackgroundBuilder.h"
#include "platform/x11/Compositor.h"
#include "settings/PreferenceActions.h"
#include "settings/Preferences.h"
#include "settings/SettingKeys.h"
#include "settings/SettingsSnapshot.h"
#include "settings/SettingsStore.h"
#include "ui/PreferencesWindow.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>

#include <array>
#include <utility>

bool PreferencesController::s_opened = false;

PreferencesController::PreferencesController(AppDelegate& delegate, PreferencesWindow& window,
                                             const Preferences& preferences,
                                             const SettingsStore& store, QObject* parent)
    : QObject(parent), m_delegate(delegate), m_window(window), m_preferences(preferences),
      m_store(store)
{
    connectPanes();
    connectChecks();
    connectChoices();
    connectFields();
}

void PreferencesController::connectPanes()
{
    const std::array<std::pair<const char*, void (AppDelegate::*)()>, 6> panes{
        {{"General", &AppDelegate::generalPressed},
         {"Appearance", &AppDelegate::imagesPressed},
         {"Animations", &AppDelegate::animationsPressed},
         {"Security", &AppDelegate::passwordPressed},
         {"Shortcuts", &AppDelegate::shortcutsPressed},
         {"Remote Lock", &AppDelegate::remoteLockPressed}}};
    for (const auto& [title, action] : panes)
        connect(m_window.toolbarItem(QString::fromLatin1(title)), &QAction::triggered, &m_delegate,
                action);
}

void PreferencesController::connectChecks()
{
    PreferencesWindow* w = &m_window;
    AppDelegate* d = &m_delegate;
    // Clicks only: the window setting a box when it opens changes nothing.
    connect(w->musicCheck(), &QCheckBox::clicked, d, &AppDelegate::toggleShowMusic);
    connect(w->timeCheck(), &QCheckBox::clicked, d, &AppDelegate::toggleShowTime);
    connect(w->batteryCheck(), &QCheckBox::clicked, d, &AppDelegate::toggleShowBattery);
    connect(w->donotdisturbCheck(), &QCheckBox::clicked, d, &AppDelegate::toggleShowDoNotDisturb);
    const std::array<std::pair<QCheckBox*, void (AppDelegate::*)()>, 13> flips{
        {{w->capslockCheck(), &AppDelegate::toggleShowCapslock},
         {w->lockOnWake(), &AppDelegate::toggleLockOnWake},
         {w->shutDownCheck(), &AppDelegate::toggleShutDown},
         {w->openOnLoginCheck(), &AppDelegate::toggleOpenOnLogin},
         {w->keyboardShortcutCheck(), &AppDelegate::toggleKeyboardShortcut},
         {w->useTimerCheck(), &AppDelegate::toggleUseTimer},
         {w->securityLevelCheck(), &AppDelegate::securityLevel},
         {w->slowGuessesCheck(), &AppDelegate::toggleSlowGuesses},
         {w->lockWhenIdleCheck(), &AppDelegate::toggleLockWhenIdle},
         {w->flatCheck(), &AppDelegate::toggleFlat},
         {w->wiggleLockCheck(), &AppDelegate::toggleWiggleLock},
         {w->dimCheck(), &AppDelegate::toggleTurnOffDisplay},
         {w->timeoutCheck(), &AppDelegate::toggleTimeout}}};
    for (const auto& [box, action] : flips)
        connect(box, &QCheckBox::clicked, d, action);
}

void PreferencesController::connectChoices()
{
    PreferencesWindow* w = &m_window;
    AppDelegate* d = &m_delegate;
    for (QRadioButton* colour : {w->whiteButton(), w->blackButton()})
        connect(colour, &QRadioButton::clicked, d, [d, colour] {
            d->colorChanged(colour->objectName() == QLatin1String("whiteButton")
                                ? QStringLiteral("White")
                                : QStringLiteral("Black"));
        });
    for (QRadioButton* button : w->lockAnimations())
        connect(button, &QRadioButton::clicked, d,
                [d, button] { d->lockAnimationPressed(button); });
    for (QRadioButton* button : w->unlockAnimations())
        connect(button, &QRadioButton::clicked, d,
                [d, button] { d->unlockAnimationPressed(button); });
    const std::array<void (AppDelegate::*)(), 6> lockImages{&AppDelegate::redLock,
                                                            &AppDelegate::blueLock,
                                                            &AppDelegate::blackLock,
                                                            &AppDelegate::whiteMinimalLockImage,
                                                            &AppDelegate::blackMinimalLockImage,
                                                            &AppDelegate::customLockImage};
    connect(w->lockSelector(), &QComboBox::activated, d,
            [d, lockImages](int index) { (d->*lockImages.at(index))(); });
    const std::array<void (AppDelegate::*)(), 4> backgrounds{
        &AppDelegate::desktopBackground, &AppDelegate::brushedMetal,
        &AppDelegate::customBackgroundImage, &AppDelegate::clearBackground};
    connect(w->backgroundSelector(), &QComboBox::activated, d, [this, d, backgrounds](int index) {
        (d->*backgrounds.at(index))();
        showCompositorNote();
    });
    // The menus' items are in the order of the hot key's modifier tags; the third has no "none".
    connect(w->firstShortcutModifier(), &QComboBox::activated, d,
            &AppDelegate::firstShortcutModifier);
    connect(w->secondShortcutModifier(), &QComboBox::activated, d,
            &AppDelegate::secondShortcutModifier);
    connect(w->thirdShortcutModifier(), &QComboBox::activated, d,
            [d](int index) { d->thirdShortcutModifier(index + 1); });
}

void PreferencesController::connectFields()
{
    PreferencesWindow* w = &m_window;
    AppDelegate* d = &m_delegate;
    connect(w->wiggleScreenSlider(), &QSlider::valueChanged, d, &AppDelegate::screenSliderChanged);
    connect(w->brightnessText(), &QLineEdit::returnPressed, d, [d, w] {
        d->setLockBrightness(PreferenceActions::floatValue(w->brightnessText()->text()));
    });
    connect(w->timeoutTextBox(), &QLineEdit::returnPressed, d,
            [d, w] { d->setTimeout(PreferenceActions::floatValue(w->timeoutTextBox()->text())); });
    connect(w->shortcutText(), &QLineEdit::textEdited, d, &AppDelegate::shortcutText);
    connect(w->lockWhenIdleCheck(), &QCheckBox::toggled, w->idleLockMinutes(),
            &QSpinBox::setEnabled);
    connect(w->idleLockMinutes(), &QSpinBox::valueChanged, d, &AppDelegate::setIdleLockMinutes);
    connect(w->contactTextField(), &QLineEdit::editingFinished, d,
            [d, w] { d->setContactText(w->contactTextField()->text()); });
}

void PreferencesController::open(bool noBattery)
{
    PreferencesWindow::Fill extra;
    extra.noBattery = noBattery;
    // The daily lock time is read from disk, not from memory.
    extra.dailyLockDate = m_store.load().dateValue(Keys::date);
    s_opened = true;
    {
        const QSignalBlocker quiet(m_window.wiggleScreenSlider());
        m_window.fill(m_preferences, extra);
    }
    showCompositorNote();
    m_window.show();
    m_window.raise();
    m_window.activateWindow();
}

void PreferencesController::showPane(const QString& title)
{
    PreferencesWindow& w = m_window;
    if (title == QLatin1String("Appearance")) {
        w.setSelectedItemIdentifier(title);
        w.showPane(w.appearanceView(), title);
        w.showLockImageChoice(m_preferences.lockImageType);
        w.showBackgroundChoice(m_preferences.backgroundType);
        return;
    }
    QWidget* pane = title == QLatin1String("Animations")    ? w.animationsView()
                    : title == QLatin1String("Security")    ? w.securityView()
                    : title == QLatin1String("Shortcuts")   ? w.shortcutsView()
                    : title == QLatin1String("Remote Lock") ? w.remoteLockView()
                                                            : w.generalView();
    w.showPane(pane, title);
}

void PreferencesController::animationPressed(QRadioButton* sender, bool unlock,
                                             PreferenceActions& actions)
{
    if (!sender->isChecked()) {
        sender->setChecked(true); // the chosen one was clicked again: it stays, nothing changes
        return;
    }
    const QList<QRadioButton*>& buttons =
        unlock ? m_window.unlockAnimations() : m_window.lockAnimations();
    for (int i = 0; i < int(buttons.size()); ++i) {
        if (buttons.at(i) != sender)
            buttons.at(i)->setChecked(false);
        else if (unlock)
            actions.unlockAnimationChosen(i);
        else
            actions.lockAnimationChosen(i);
    }
}

void PreferencesController::showLockImageChoice()
{
    m_window.showLockImageChoice(m_preferences.lockImageType);
}

void PreferencesController::showBackgroundChoice()
{
    m_window.showBackgroundChoice(m_preferences.backgroundType);
}

void PreferencesController::showCompositorNote()
{
    m_window.showCompositorNote(m_preferences.backgroundType == BackgroundBuilder::ClearKind &&
                                !Compositor::isRunning());
}

bool PreferencesController::isOpened()
{
    return s_opened;
}

void PreferencesController::clearOpened()
{
    s_opened = false;
}
