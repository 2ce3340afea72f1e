#include "ui/PreferencesWindow.h"

#include "platform/DesktopLocker.h"
#include "settings/Preferences.h"
#include "ui/ChangePasswordFields.h"
#include "ui/CompositorBinding.h"

#include <QAction>
#include <QActionGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QEvent>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QTabWidget>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace {
const QStringList paneTitles{"General",  "Appearance", "Animations",
                             "Security", "Shortcuts",  "Remote Lock"};
const QStringList animationTitles{"Fade", "Up", "Down", "Right", "Left"};

// A pane keeps the size its contents ask for; the window is fitted to it.
QWidget* pane(QWidget* parent, const char* name, QLayout* layout)
{
    auto* view = new QWidget(parent);
    view->setObjectName(QString::fromLatin1(name));
    view->setLayout(layout);
    // Measured with the style's fonts and margins, and kept: the window fits the pane, not the
    // other way round.
    view->ensurePolished();
    view->setFixedSize(view->sizeHint());
    view->hide();
    return view;
}

// A pop-up acts only when an item is chosen from it: a wheel turn over it (scrolling the pane)
// would otherwise change the saved choice, and the lock image's and background's last items
// open a file dialog.
class IgnoreWheel : public QObject
{
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        return event->type() == QEvent::Wheel || QObject::eventFilter(watched, event);
    }
};

QComboBox* popUp(QWidget* parent, const char* name, const QStringList& items)
{
    auto* box = new QComboBox(parent);
    box->setObjectName(QString::fromLatin1(name));
    box->addItems(items);
    box->installEventFilter(new IgnoreWheel(box));
    return box;
}

QList<QRadioButton*> animationButtons(QWidget* parent, const char* group)
{
    QList<QRadioButton*> buttons;
    for (qsizetype i = 0; i < animationTitles.size(); ++i) {
        auto* button = new QRadioButton(QObject::tr(qPrintable(animationTitles.at(i))), parent);
        button->setObjectName(QStringLiteral("%1%2").arg(QLatin1String(group)).arg(i));
        // Each click is the controller's to judge: a choice cannot be cleared.
        button->setAutoExclusive(false);
        buttons.append(button);
    }
    return buttons;
}

void setChecked(QCheckBox* box, bool on)
{
    box->setChecked(on);
}
} // namespace

PreferencesWindow::PreferencesWindow(QDateTimeEdit* timePicker,
                                     ChangePasswordFields* passwordFields)
    : m_passwordFields(passwordFields), m_timeoutTime(timePicker)
{
    setObjectName(QStringLiteral("preferences"));
    m_toolbar = addToolBar(tr("Preferences"));
    m_toolbar->setObjectName(QStringLiteral("toolbar"));
    m_toolbar->setMovable(false);
    m_toolbar->toggleViewAction()->setEnabled(false);
    m_toolbarItems = new QActionGroup(this);
    for (const QString& title : paneTitles) {
        QAction* item = m_toolbar->addAction(tr(qPrintable(title)));
        item->setObjectName(title);
        item->setCheckable(true);
        m_toolbarItems->addAction(item);
    }
    m_generalView = makeGeneralView();
    m_appearanceView = makeAppearanceView();
    m_animationsView = makeAnimationsView();
    m_securityView = makeSecurityView(passwordFields);
    m_shortcutsView = makeShortcutsView();
    m_remoteLockView = makeRemoteLockView();
    // Every pane is at least as wide as the toolbar, so that all six items show on each.
    const int toolbarWidth = m_toolbar->sizeHint().width();
    for (QWidget* view : {m_generalView, m_appearanceView, m_animationsView, m_securityView,
                          m_shortcutsView, m_remoteLockView})
        view->setFixedWidth(std::max(view->width(), toolbarWidth));
    setCentralWidget(new QWidget);
}

void PreferencesWindow::showEvent(QShowEvent* event)
{
    m_placed = true;
    QMainWindow::showEvent(event);
}

QCheckBox* PreferencesWindow::checkBox(const char* name, const QString& title)
{
    auto* box = new QCheckBox(title, this);
    box->setObjectName(QString::fromLatin1(name));
    return box;
}

QWidget* PreferencesWindow::makeGeneralView()
{
    m_musicCheck = checkBox("musicCheck", tr("Show music controls"));
    m_timeCheck = checkBox("timeCheck", tr("Show the time"));
    m_batteryCheck = checkBox("batteryCheck", tr("Show the battery"));
    m_capslockCheck = checkBox("capslockCheck", tr("Show a Caps Lock notice"));
    m_donotdisturbCheck = checkBox("donotdisturbCheck", tr("Show do not disturb"));
    m_shutDownCheck = checkBox("shutDownCheck", tr("Show unread mail"));
    m_lockOnWake = checkBox("lockOnWake", tr("Lock on wake"));
    m_openOnLoginCheck = checkBox("openOnLoginCheck", tr("Open at login"));
    auto* lockScreen = new QWidget(this);
    auto* lockScreenLayout = new QVBoxLayout(lockScreen);
    for (QCheckBox* box : {m_musicCheck, m_timeCheck, m_batteryCheck, m_capslockCheck,
                           m_donotdisturbCheck, m_shutDownCheck, m_lockOnWake, m_openOnLoginCheck})
        lockScreenLayout->addWidget(box);
    lockScreenLayout->addStretch();

    m_dimCheck = checkBox("dimCheck", tr("Change the display brightness when locked to"));
    m_brightnessText = new QLineEdit(this);
    m_brightnessText->setObjectName(QStringLiteral("brightnessText"));
    m_timeoutCheck = checkBox("timeoutCheck", tr("Turn the display off after (minutes)"));
    m_timeoutTextBox = new QLineEdit(this);
    m_timeoutTextBox->setObjectName(QStringLiteral("timeoutTextBox"));
    m_useTimerCheck = checkBox("useTimerCheck", tr("Lock every day at"));
    auto* display = new QWidget(this);
    auto* displayLayout = new QFormLayout(display);
    displayLayout->addRow(m_dimCheck, m_brightnessText);
    displayLayout->addRow(m_timeoutCheck, m_timeoutTextBox);
    displayLayout->addRow(m_useTimerCheck, m_timeoutTime);

    m_tabView = new QTabWidget(this);
    m_tabView->setObjectName(QStringLiteral("tabView"));
    m_tabView->addTab(lockScreen, tr("Lock Screen"));
    m_tabView->addTab(display, tr("Display and Timer"));
    auto* layout = new QVBoxLayout;
    layout->addWidget(m_tabView);
    return pane(this, "generalView", layout);
}

QWidget* PreferencesWindow::makeAppearanceView()
{
    m_lockSelector = popUp(this, "lockSelector",
                           {tr("Red"), tr("Blue"), tr("Black"), tr("White Minimal"),
                            tr("Black Minimal"), tr("Custom...")});
    m_backgroundSelector =
        popUp(this, "backgroundSelector",
              {tr("Desktop Picture"), tr("Brushed Metal"), tr("Custom..."), tr("Clear")});
    m_whiteButton = new QRadioButton(tr("White"), this);
    m_whiteButton->setObjectName(QStringLiteral("whiteButton"));
    m_blackButton = new QRadioButton(tr("Black"), this);
    m_blackButton->setObjectName(QStringLiteral("blackButton"));
    m_flatCheck = checkBox("flatCheck", tr("Flat text (no shadows)"));
    auto* colours = new QHBoxLayout;
    colours->addWidget(m_whiteButton);
    colours->addWidget(m_blackButton);
    auto* layout = new QFormLayout;
    layout->addRow(tr("Lock image:"), m_lockSelector);
    layout->addRow(tr("Background:"), m_backgroundSelector);
    m_compositorNote = new QLabel(tr("Clear shows the desktop only where a compositing manager "
                                     "runs (picom, xcompmgr or the desktop's own); none runs "
                                     "now, so the lock screen would be black."),
                                  this);
    m_compositorNote->setObjectName(QStringLiteral("compositorNote"));
    m_compositorNote->setWordWrap(true);
    m_compositorNote->setStyleSheet(QStringLiteral("QLabel { color: #a05a00; }"));
    m_compositorNote->hide();
    layout->addRow(QString(), m_compositorNote);
    layout->addRow(tr("Text colour:"), colours);
    layout->addRow(m_flatCheck);
    m_contactTextField = new QLineEdit(this);
    m_contactTextField->setObjectName(QStringLiteral("contactTextField"));
    m_contactTextField->setMaxLength(maxContactLength);
    m_contactTextField->setPlaceholderText(tr("No contact line"));
    m_contactTextField->setToolTip(tr("Shown on the lock screen, for whoever finds this computer"));
    layout->addRow(tr("Contact line:"), m_contactTextField);
    return pane(this, "appearanceView", layout);
}

void PreferencesWindow::showCompositorNote(bool show)
{
    m_compositorNote->setVisible(show);
}

QWidget* PreferencesWindow::makeAnimationsView()
{
    auto* lockGroup = new QGroupBox(tr("Lock"), this);
    auto* unlockGroup = new QGroupBox(tr("Unlock"), this);
    m_lockAnimations = animationButtons(lockGroup, "lockAnimation");
    m_unlockAnimations = animationButtons(unlockGroup, "unlockAnimation");
    auto* lockLayout = new QVBoxLayout(lockGroup);
    for (QRadioButton* button : m_lockAnimations)
        lockLayout->addWidget(button);
    auto* unlockLayout = new QVBoxLayout(unlockGroup);
    for (QRadioButton* button : m_unlockAnimations)
        unlockLayout->addWidget(button);
    m_wiggleLockCheck = checkBox("wiggleLockCheck", tr("Swing the lock as keys are typed"));
    m_wiggleScreenSlider = new QSlider(Qt::Horizontal, this);
    m_wiggleScreenSlider->setObjectName(QStringLiteral("wiggleScreenSlider"));
    m_wiggleScreenSlider->setRange(0, 100);
    auto* groups = new QHBoxLayout;
    groups->addWidget(lockGroup);
    groups->addWidget(unlockGroup);
    auto* layout = new QVBoxLayout;
    layout->addLayout(groups);
    layout->addWidget(m_wiggleLockCheck);
    layout->addWidget(new QLabel(tr("Shake on a wrong password:"), this));
    layout->addWidget(m_wiggleScreenSlider);
    return pane(this, "animationsView", layout);
}

QWidget* PreferencesWindow::makeSecurityView(ChangePasswordFields* passwordFields)
{
    m_securityLevelCheck =
        checkBox("securityLevelCheck", tr("The order in which the keys are typed matters"));
    m_slowGuessesCheck = checkBox("slowGuessesCheck",
                                  tr("Take keys slowly after 200 in one lock that unlock nothing"));
    m_lockWhenIdleCheck = checkBox("lockWhenIdleCheck", tr("Lock after"));
    m_idleLockMinutes = new QSpinBox(this);
    m_idleLockMinutes->setObjectName(QStringLiteral("idleLockMinutes"));
    m_idleLockMinutes->setRange(Preferences::minIdleLockMinutes, Preferences::maxIdleLockMinutes);
    // Typed digits count once the field is left or Return is pressed, not one by one.
    m_idleLockMinutes->setKeyboardTracking(false);
    auto* idle = new QHBoxLayout;
    idle->addWidget(m_lockWhenIdleCheck);
    idle->addWidget(m_idleLockMinutes);
    idle->addWidget(new QLabel(tr("minutes without input"), this));
    idle->addStretch();
    auto* layout = new QVBoxLayout;
    layout->addWidget(passwordFields);
    layout->addWidget(m_securityLevelCheck);
    layout->addWidget(m_slowGuessesCheck);
    layout->addLayout(idle);
    return pane(this, "securityView", layout);
}

QWidget* PreferencesWindow::makeShortcutsView()
{
    m_keyboardShortcutCheck = checkBox("keyboardShortcutCheck", tr("Lock with a shortcut"));
    // The stored masks keep their original meanings (256, 2048, 4096, 512); on a PC keyboard the
    // first two are the Super and Alt keys, and the menus say so.
    const QStringList modifiers{tr("Super"), tr("Alt"), tr("Control"), tr("Shift")};
    m_firstShortcutModifier =
        popUp(this, "firstShortcutModifier", QStringList{tr("None")} + modifiers);
    m_secondShortcutModifier =
        popUp(this, "secondShortcutModifier", QStringList{tr("None")} + modifiers);
    m_thirdShortcutModifier = popUp(this, "thirdShortcutModifier", modifiers);
    m_shortcutText = new QLineEdit(this);
    m_shortcutText->setObjectName(QStringLiteral("shortcutText"));
    m_shortcutText->setMaxLength(1);
    auto* keys = new QHBoxLayout;
    for (QWidget* part :
         {static_cast<QWidget*>(m_firstShortcutModifier),
          static_cast<QWidget*>(m_secondShortcutModifier),
          static_cast<QWidget*>(m_thirdShortcutModifier), static_cast<QWidget*>(m_shortcutText)})
        keys->addWidget(part);
    auto* layout = new QVBoxLayout;
    layout->addWidget(m_keyboardShortcutCheck);
    layout->addLayout(keys);
    if (DesktopLocker::isWaylandSession())
        layout->addWidget(makeWaylandShortcutNote());
    return pane(this, "shortcutsView", layout);
}

QLabel* PreferencesWindow::makeWaylandShortcutNote()
{
    // The controls stay, for the X11 sessions that read the same settings, but say here that
    // they do not act.
    m_keyboardShortcutCheck->setText(tr("Lock with a shortcut (not in a Wayland session)"));
    const QString why = tr("A Wayland compositor keeps the keyboard to itself: add the "
                           "binding below to its configuration.");
    for (QWidget* control :
         {static_cast<QWidget*>(m_keyboardShortcutCheck),
          static_cast<QWidget*>(m_firstShortcutModifier),
          static_cast<QWidget*>(m_secondShortcutModifier),
          static_cast<QWidget*>(m_thirdShortcutModifier), static_cast<QWidget*>(m_shortcutText)})
        control->setToolTip(why);
    m_waylandShortcutNote = new QLabel(this);
    m_waylandShortcutNote->setObjectName(QStringLiteral("waylandShortcutNote"));
    // The lines are to be copied as they are: no markup, and selectable.
    m_waylandShortcutNote->setTextFormat(Qt::PlainText);
    m_waylandShortcutNote->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // The pane keeps the size it has when made: room for the longest binding.
    m_waylandShortcutNote->setText(CompositorBinding::note(
        {tr("Super"), tr("Alt"), tr("Control"), tr("Shift")}, QStringLiteral("w")));
    m_waylandShortcutNote->setMinimumSize(m_waylandShortcutNote->sizeHint());
    updateWaylandShortcutNote();
    for (QComboBox* menu :
         {m_firstShortcutModifier, m_secondShortcutModifier, m_thirdShortcutModifier})
        connect(menu, &QComboBox::currentIndexChanged, this,
                &PreferencesWindow::updateWaylandShortcutNote);
    connect(m_shortcutText, &QLineEdit::textChanged, this,
            &PreferencesWindow::updateWaylandShortcutNote);
    return m_waylandShortcutNote;
}

void PreferencesWindow::updateWaylandShortcutNote()
{
    if (!m_waylandShortcutNote)
        return;
    const QStringList modifiers{m_firstShortcutModifier->currentText(),
                                m_secondShortcutModifier->currentText(),
                                m_thirdShortcutModifier->currentText()};
    m_waylandShortcutNote->setText(CompositorBinding::note(modifiers, m_shortcutText->text()));
}

QWidget* PreferencesWindow::makeRemoteLockView()
{
    auto* text = new QLabel(tr("Lock this computer from another program or over ssh with\n"
                               "    tessarine lock\n"
                               "or through D-Bus: org.tessarine.Tessarine, property lock."),
                            this);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* layout = new QVBoxLayout;
    layout->addWidget(text);
    return pane(this, "remoteLockView", layout);
}

QAction* PreferencesWindow::toolbarItem(const QString& title) const
{
    for (QAction* item : m_toolbarItems->actions())
        if (item->objectName() == title)
            return item;
    return nullptr;
}

QString PreferencesWindow::selectedItemIdentifier() const
{
    QAction* checked = m_toolbarItems->checkedAction();
    return checked ? checked->objectName() : QString();
}

void PreferencesWindow::setSelectedItemIdentifier(const QString& title)
{
    if (QAction* item = toolbarItem(title))
        item->setChecked(true);
}

void PreferencesWindow::setPreferencesSize(QWidget* paneView)
{
    // An empty view while the size changes, so that the old pane does not show.
    QWidget* old = takeCentralWidget();
    if (old) {
        const QList<QWidget*> panes{m_generalView,  m_appearanceView, m_animationsView,
                                    m_securityView, m_shortcutsView,  m_remoteLockView};
        if (panes.contains(old)) {
            old->setParent(this);
            old->hide();
        } else {
            delete old;
        }
    }
    setCentralWidget(new QWidget);
    // The old pane's size limits go with it, before the window is given its new size.
    layout()->activate();
    // The toolbar lies inside the window's geometry; the title bar lies outside it.
    const QRect frame = geometry();
    const double target = double(paneView->height()) + m_toolbar->height();
    const int dh = int(std::trunc(target - frame.height()));
    const int dw = int(std::trunc(double(paneView->width()) - frame.width()));
    if (m_placed)
        setGeometry(frame.x(), frame.y(), frame.width() + dw, frame.height() + dh);
    else
        resize(frame.width() + dw, frame.height() + dh); // placed by the window manager
}

void PreferencesWindow::showPane(QWidget* paneView, const QString& title)
{
    setPreferencesSize(paneView);
    setWindowTitle(tr(qPrintable(title)));
    QWidget* empty = takeCentralWidget();
    delete empty;
    setCentralWidget(paneView);
    paneView->show();
}

void PreferencesWindow::showLockImageChoice(int lockImageType)
{
    if (lockImageType >= 0 && lockImageType < m_lockSelector->count())
        m_lockSelector->setCurrentIndex(lockImageType);
}

void PreferencesWindow::showBackgroundChoice(int backgroundType)
{
    if (backgroundType >= 0 && backgroundType < m_backgroundSelector->count())
        m_backgroundSelector->setCurrentIndex(backgroundType);
}

std::optional<int> PreferencesWindow::modifierItem(std::optional<int> mask, bool third)
{
    if (!mask)
        return std::nullopt;
    const int offset = third ? -1 : 0;
    switch (*mask) {
    case 0:
        return third ? std::nullopt : std::optional<int>(0);
    case 256:
        return 1 + offset;
    case 2048:
        return 2 + offset;
    case 4096:
        return 3 + offset;
    case 512:
        return 4 + offset;
    default:
        return std::nullopt;
    }
}

void PreferencesWindow::fillShortcutModifiers(const Preferences& preferences)
{
    const std::array<std::pair<QComboBox*, std::optional<int>>, 3> menus{
        {{m_firstShortcutModifier, preferences.shortcutModifier1},
         {m_secondShortcutModifier, preferences.shortcutModifier2},
         {m_thirdShortcutModifier, preferences.shortcutModifier3}}};
    for (const auto& [menu, mask] : menus) {
        // A value without an item leaves the menu as it was.
        if (const auto item = modifierItem(mask, menu == m_thirdShortcutModifier))
            menu->setCurrentIndex(*item);
    }
}

void PreferencesWindow::fill(const Preferences& p, const Fill& extra)
{
    m_passwordFields->clearFields();
    m_tabView->setCurrentIndex(0);
    setSelectedItemIdentifier(QStringLiteral("General"));
    showPane(m_generalView, QStringLiteral("General"));

    m_whiteButton->setChecked(p.textIsBlack == 0);
    m_blackButton->setChecked(p.textIsBlack != 0);
    setChecked(m_musicCheck, p.showMusic);
    setChecked(m_timeCheck, p.showTime);
    setChecked(m_batteryCheck, p.showBattery);
    m_batteryCheck->setEnabled(!extra.noBattery);
    setChecked(m_capslockCheck, p.showCapslock);
    setChecked(m_donotdisturbCheck, p.showDoNotDisturb);
    setChecked(m_lockOnWake, p.lockOnWakeVariable);
    setChecked(m_shutDownCheck, p.showShutDown);
    setChecked(m_openOnLoginCheck, p.openAtLogin);
    setChecked(m_keyboardShortcutCheck, p.useShortcut);
    setChecked(m_useTimerCheck, p.useTimer);
    m_timeoutTime->setEnabled(p.useTimer);
    setChecked(m_securityLevelCheck, p.orderMatters);
    setChecked(m_slowGuessesCheck, p.slowGuesses);
    setChecked(m_lockWhenIdleCheck, p.lockWhenIdle);
    {
        const QSignalBlocker quiet(m_idleLockMinutes);
        m_idleLockMinutes->setValue(p.idleLockMinutes);
    }
    m_idleLockMinutes->setEnabled(p.lockWhenIdle);
    setChecked(m_flatCheck, p.flat);
    m_contactTextField->setText(p.contactText);

    // Only the chosen buttons are turned on; the others keep what they show.
    if (p.startAnimation >= 0 && p.startAnimation < m_lockAnimations.size())
        m_lockAnimations.at(p.startAnimation)->setChecked(true);
    if (p.closeAnimation >= 0 && p.closeAnimation < m_unlockAnimations.size())
        m_unlockAnimations.at(p.closeAnimation)->setChecked(true);

    m_wiggleScreenSlider->setValue(p.wiggleStrength);
    setChecked(m_wiggleLockCheck, p.wiggleLock);
    setChecked(m_dimCheck, p.dimEnabled);
    m_brightnessText->setEnabled(p.dimEnabled);
    setChecked(m_timeoutCheck, p.timeout);
    m_timeoutTextBox->setEnabled(p.timeout);
    fillShortcutModifiers(p);
    m_shortcutText->setText(p.shortcutString.value_or(QString()));
    // No daily lock time on disk: the picker shows its earliest, an empty time.
    m_timeoutTime->setDateTime(extra.dailyLockDate ? extra.dailyLockDate->toLocalTime()
                                                   : m_timeoutTime->minimumDateTime());
    m_brightnessText->setText(QString::number(double(p.lockBrightness)));
    m_timeoutTextBox->setText(QString::number(double(p.timeoutTime)));
}
