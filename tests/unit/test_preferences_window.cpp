#include "StartedProgram.h"

#include "settings/PreferenceActions.h"
#include "ui/AboutWindow.h"
#include "ui/ChangePasswordFields.h"
#include "ui/HelpWindow.h"
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
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QTabWidget>
#include <QTest>
#include <QTextBrowser>
#include <QToolBar>
#include <QWheelEvent>

#include <cmath>

namespace {
// Stands in for the desktop's browser: Qt hands it every web address opened.
class Browser : public QObject
{
    Q_OBJECT
public:
    Browser()
    {
        QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "open");
        QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "open");
    }
    ~Browser() override
    {
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    }
    QList<QUrl> opened;
public slots:
    void open(const QUrl& url) { opened.append(url); }
};

struct Opened
{
    explicit Opened(const QString& options = QString(), bool battery = true)
    {
        library.configure(options);
        program = std::make_unique<StartedProgram>(library.folder(), battery);
    }
    AppDelegate& delegate() { return *program->delegate; }
    PreferencesWindow& window() { return *program->delegate->preferencesWindow(); }
    QString stored(const char* key) const
    {
        return library.properties()->value(QLatin1String(key), QStringLiteral("<absent>"));
    }
    TestLibrary library;
    std::unique_ptr<StartedProgram> program;
};
} // namespace

class TestPreferencesWindow : public QObject
{
    Q_OBJECT
private slots:
    void theTrayMenuOpensTheWindow()
    {
        Opened o;
        QVERIFY(!o.window().isVisible());
        auto* item =
            o.delegate().statusItem()->statusMenu()->findChild<QAction*>("preferencesItem");
        QVERIFY(item && item->isEnabled());
        item->trigger();
        QVERIFY(o.window().isVisible());
        QVERIFY(AppDelegate::isPreferencesOpened());
        AppDelegate::preferencesAlreadyOpened();
        QVERIFY(!AppDelegate::isPreferencesOpened());
    }

    void everyAboutIsAFreshWindow()
    {
        Opened o;
        QMenu* menu = o.delegate().statusItem()->statusMenu();
        menu->findChild<QAction*>("aboutItem")->trigger();
        menu->findChild<QAction*>("aboutItem")->trigger();
        const QList<AboutWindow*> shown = o.window().findChildren<AboutWindow*>();
        QCOMPARE(shown.size(), 2);
        for (AboutWindow* about : shown) {
            QVERIFY(about->isVisible());
            QCOMPARE(about->windowTitle(), QStringLiteral("About Tessarine"));
            QCOMPARE(about->findChild<QLabel*>("version")->text(),
                     QStringLiteral("Version %1").arg(AboutWindow::version()));
        }
        QVERIFY(!AboutWindow::version().isEmpty());
    }

    void theAboutWindowNamesTheLicence()
    {
        Opened o;
        o.delegate().openAbout();
        const QList<AboutWindow*> shown = o.window().findChildren<AboutWindow*>();
        QCOMPARE(shown.size(), 1);
        QVERIFY(shown.first()->findChild<QLabel*>("licence")->text().contains(
            QStringLiteral("GNU General Public License, version 3 or later")));
    }

    void theUsersSiteIsTheUsersPageOfTheBuildsSite()
    {
        QCOMPARE(AppDelegate::usersSite(),
                 QUrl(QStringLiteral(TESSARINE_SITE) + QStringLiteral("/Users")));
        QCOMPARE(AppDelegate::usersSite().path(), QStringLiteral("/Users"));
        QVERIFY(AppDelegate::usersSite().isValid());
    }

    void theTrayMenuOpensTheUsersSite()
    {
        Opened o;
        Browser browser;
        auto* item = o.delegate().statusItem()->statusMenu()->findChild<QAction*>("usersSiteItem");
        QVERIFY(item && item->isEnabled());
        item->trigger();
        QCOMPARE(browser.opened, QList<QUrl>{AppDelegate::usersSite()});
    }

    void theAboutWindowOpensTheUsersSite()
    {
        Opened o;
        Browser browser;
        o.delegate().openAbout();
        AboutWindow* about = o.window().findChildren<AboutWindow*>().value(0);
        QVERIFY(about);
        about->findChild<QPushButton*>("usersSite")->click();
        QCOMPARE(browser.opened, QList<QUrl>{AppDelegate::usersSite()});
        QVERIFY(about->isVisible());
    }

    void helpShowsTheHelpWindow()
    {
        Opened o;
        QVERIFY(!o.delegate().help()->isVisible());
        o.delegate().statusItem()->statusMenu()->findChild<QAction*>("helpItem")->trigger();
        QVERIFY(o.delegate().help()->isVisible());
        QCOMPARE(o.delegate().help()->windowTitle(), QStringLiteral("Tessarine Help"));
        // It tells how to lock and unlock, from here and from elsewhere, and about the mail.
        const QString text =
            o.delegate().help()->findChild<QTextBrowser*>("helpText")->toPlainText();
        for (const char* topic :
             {"Super+Alt+L", "no field", "chord", "tessarine lock", "busctl --user set-property",
              "tessarine mail N", "Maildir", "replace it"})
            QVERIFY2(text.contains(QLatin1String(topic)), topic);
    }

    void openingAlwaysShowsTheGeneralPaneOnItsFirstTab()
    {
        Opened o;
        o.delegate().openPreferences();
        o.window().toolbarItem("Animations")->trigger();
        o.window().tabView()->setCurrentIndex(1);
        QCOMPARE(o.window().windowTitle(), QStringLiteral("Animations"));
        QCOMPARE(o.window().centralWidget(), o.window().animationsView());
        o.delegate().openPreferences();
        QCOMPARE(o.window().windowTitle(), QStringLiteral("General"));
        QCOMPARE(o.window().centralWidget(), o.window().generalView());
        QCOMPARE(o.window().selectedItemIdentifier(), QStringLiteral("General"));
        QCOMPARE(o.window().tabView()->currentIndex(), 0);
    }

    void everyPaneHasItsTitleAndView()
    {
        Opened o;
        o.delegate().openPreferences();
        PreferencesWindow& w = o.window();
        const QList<std::pair<QString, QWidget*>> panes{
            {"Appearance", w.appearanceView()},  {"Animations", w.animationsView()},
            {"Security", w.securityView()},      {"Shortcuts", w.shortcutsView()},
            {"Remote Lock", w.remoteLockView()}, {"General", w.generalView()}};
        for (const auto& [title, view] : panes) {
            w.toolbarItem(title)->trigger();
            QCOMPARE(w.windowTitle(), title);
            QCOMPARE(w.centralWidget(), view);
            QVERIFY(view->isVisible());
        }
    }

    void aPaneSwitchKeepsTheTopEdgeAndFitsThePane()
    {
        Opened o;
        o.delegate().openPreferences();
        PreferencesWindow& w = o.window();
        const QRect before = w.geometry();
        const int general = w.generalView()->height();
        const int animations = w.animationsView()->height();
        QVERIFY(general != animations);
        o.delegate().animationsPressed();
        const QRect after = w.geometry();
        QCOMPARE(after.top(), before.top());
        QCOMPARE(after.left(), before.left());
        QCOMPARE(after.height() - before.height(), animations - general);
        QCOMPARE(after.height(), animations + w.toolbar()->height());
        QCOMPARE(after.width(), w.animationsView()->width());
        // Back to a taller pane: the bottom edge moves down again, the top stays.
        o.delegate().generalPressed();
        QCOMPARE(w.geometry(), before);
    }

    void theChecksShowTheSettings()
    {
        Opened o("<key>showMusic</key><true/><key>showTime</key><false/>"
                 "<key>showBattery</key><true/><key>showDoNotDisturb</key><true/>"
                 "<key>lockOnWake</key><true/><key>showShutDown</key><false/>"
                 "<key>openAtLogin</key><true/><key>useShortcut</key><false/>"
                 "<key>useTimer</key><true/><key>orderMatters</key><true/>"
                 "<key>flat</key><false/><key>wiggleLock</key><true/>"
                 "<key>dim</key><true/><key>timeout</key><false/>"
                 "<key>wiggleStrength</key><integer>42</integer><key>textColor</key><integer>1</"
                 "integer>");
        o.delegate().openPreferences();
        PreferencesWindow& w = o.window();
        QVERIFY(w.musicCheck()->isChecked());
        QVERIFY(!w.timeCheck()->isChecked());
        QVERIFY(w.batteryCheck()->isChecked());
        QVERIFY(w.batteryCheck()->isEnabled());
        QVERIFY(w.capslockCheck()->isChecked()); // on after every start
        QVERIFY(w.donotdisturbCheck()->isChecked());
        QVERIFY(w.lockOnWake()->isChecked());
        QVERIFY(!w.shutDownCheck()->isChecked());
        QVERIFY(w.openOnLoginCheck()->isChecked());
        QVERIFY(!w.keyboardShortcutCheck()->isChecked());
        QVERIFY(w.useTimerCheck()->isChecked());
        QVERIFY(w.timeoutTime()->isEnabled());
        QVERIFY(w.securityLevelCheck()->isChecked());
        QVERIFY(!w.flatCheck()->isChecked());
        QVERIFY(w.wiggleLockCheck()->isChecked());
        QVERIFY(w.dimCheck()->isChecked());
        QVERIFY(w.brightnessText()->isEnabled());
        QVERIFY(!w.timeoutCheck()->isChecked());
        QVERIFY(!w.timeoutTextBox()->isEnabled());
        QCOMPARE(w.wiggleScreenSlider()->value(), 42);
        QVERIFY(w.blackButton()->isChecked());
        QVERIFY(!w.whiteButton()->isChecked());
        // Filling the window wrote nothing.
        QCOMPARE(o.stored("wiggleStrength"), QStringLiteral("integer:42"));
    }

    void withoutABatteryItsBoxIsDisabled()
    {
        Opened o("<key>showBattery</key><true/>", false);
        o.delegate().openPreferences();
        QVERIFY(!o.window().batteryCheck()->isEnabled());
        // A desktop machine turns the battery off at every start.
        QVERIFY(!o.window().batteryCheck()->isChecked());
    }

    void theAnimationChoicesAreTurnedOn()
    {
        Opened o("<key>startAnimation</key><integer>3</integer>"
                 "<key>closeAnimation</key><integer>1</integer>");
        o.delegate().openPreferences();
        QVERIFY(o.window().lockAnimations().at(3)->isChecked());
        QVERIFY(o.window().unlockAnimations().at(1)->isChecked());
    }

    void clickingTheChosenAnimationKeepsItAndWritesNothing()
    {
        Opened o("<key>startAnimation</key><integer>2</integer>");
        o.delegate().openPreferences();
        const QByteArray before = o.library.readFile(o.library.propertiesPath());
        QRadioButton* chosen = o.window().lockAnimations().at(2);
        chosen->click();
        QVERIFY(chosen->isChecked());
        QCOMPARE(o.library.readFile(o.library.propertiesPath()), before);
    }

    void clickingAnotherAnimationStoresItsPosition()
    {
        Opened o("<key>startAnimation</key><integer>2</integer>"
                 "<key>closeAnimation</key><integer>0</integer>");
        o.delegate().openPreferences();
        o.window().lockAnimations().at(4)->click();
        o.window().unlockAnimations().at(3)->click();
        QCOMPARE(o.stored("startAnimation"), QStringLiteral("integer:4"));
        QCOMPARE(o.stored("closeAnimation"), QStringLiteral("integer:3"));
        QCOMPARE(o.delegate().preferences().startAnimation, 4);
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(o.window().lockAnimations().at(i)->isChecked(), i == 4);
            QCOMPARE(o.window().unlockAnimations().at(i)->isChecked(), i == 3);
        }
    }

    void theModifierMenusShowTheHotKey()
    {
        Opened o("<key>shortcutModifier1</key><integer>4096</integer>"
                 "<key>shortcutModifier2</key><integer>512</integer>"
                 "<key>shortcutModifier3</key><integer>0</integer>"
                 "<key>shortcutString</key><string>K</string>");
        o.window().thirdShortcutModifier()->setCurrentIndex(2);
        o.delegate().openPreferences();
        QCOMPARE(o.window().firstShortcutModifier()->currentText(), QStringLiteral("Control"));
        QCOMPARE(o.window().secondShortcutModifier()->currentText(), QStringLiteral("Shift"));
        // No item for "none" in the third menu: it stays as it was.
        QCOMPARE(o.window().thirdShortcutModifier()->currentIndex(), 2);
        QCOMPARE(o.window().shortcutText()->text(), QStringLiteral("K"));
    }

    void aModifierChosenInTheMenuIsStored()
    {
        Opened o;
        o.delegate().openPreferences();
        QComboBox* third = o.window().thirdShortcutModifier();
        third->setCurrentIndex(1);
        emit third->activated(1);
        QCOMPARE(o.stored("shortcutModifier3"), QStringLiteral("integer:2048"));
    }

    void aWheelTurnOverAPopUpChangesNothing()
    {
        Opened o;
        o.delegate().openPreferences();
        o.delegate().imagesPressed();
        QComboBox* lock = o.window().lockSelector();
        QComboBox* background = o.window().backgroundSelector();
        const int lockBefore = lock->currentIndex();
        const int backgroundBefore = background->currentIndex();
        const QString before = o.stored("lockImageType") + o.stored("desktopImageType");
        for (QComboBox* box : {lock, background}) {
            for (int step : {-120, -120, -120, 120, -120, -120, -120, -120}) {
                QWheelEvent wheel(QPointF(5, 5), box->mapToGlobal(QPointF(5, 5)), QPoint(),
                                  QPoint(0, step), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                                  false);
                QCoreApplication::sendEvent(box, &wheel);
            }
        }
        QCOMPARE(lock->currentIndex(), lockBefore);
        QCOMPARE(background->currentIndex(), backgroundBefore);
        QCOMPARE(o.stored("lockImageType") + o.stored("desktopImageType"), before);
        QVERIFY(o.program->dialogs.panelMessage.isEmpty()); // no file dialog
    }

    void thePasswordFieldsAreEmptiedOnOpening()
    {
        Opened o;
        o.delegate().changePasswordFields()->oldPassword()->setText("typed");
        o.delegate().openPreferences();
        QCOMPARE(o.delegate().changePasswordFields()->oldPassword()->text(), QString());
        QCOMPARE(o.delegate().changePasswordFields()->window(), &o.window());
    }

    void theDailyLockTimeIsReadFromDisk()
    {
        Opened o("<key>date</key><date>2026-01-01T07:45:00Z</date>");
        o.delegate().timePicker()->setTime(QTime(12, 0));
        o.delegate().openPreferences();
        QCOMPARE(o.window().timeoutTime()->dateTime(),
                 QDateTime(QDate(2026, 1, 1), QTime(7, 45), Qt::UTC).toLocalTime());
    }

    void theDailyLockTimeComesFromTheFileNotFromMemory()
    {
        Opened o("<key>date</key><date>2026-01-01T07:45:00Z</date>");
        // Changed on disk behind the program's back: memory still holds 07:45.
        o.library.writeProperties("<key>date</key><date>2026-01-01T21:10:00Z</date>");
        o.delegate().openPreferences();
        QCOMPARE(o.window().timeoutTime()->dateTime(),
                 QDateTime(QDate(2026, 1, 1), QTime(21, 10), Qt::UTC).toLocalTime());
        QCOMPARE(o.delegate().preferences().date->toUTC().time(), QTime(7, 45));
        // And gone from disk: an empty time, whatever memory holds.
        o.library.writeProperties("<key>showTime</key><true/>");
        o.delegate().openPreferences();
        QCOMPARE(o.window().timeoutTime()->time(), QTime(0, 0));
    }

    void noDailyLockTimeGivesAnEmptyTime()
    {
        Opened o;
        o.delegate().openPreferences();
        QCOMPARE(o.window().timeoutTime()->time(), QTime(0, 0));
    }

    void theNumbersShowWhatMemoryHolds()
    {
        Opened o("<key>lockBrightnes</key><real>0.25</real><key>timeout</key><true/>"
                 "<key>timeoutTime</key><integer>5</integer>");
        o.delegate().openPreferences();
        QCOMPARE(o.window().brightnessText()->text(), QStringLiteral("0.25"));
        QCOMPARE(o.window().timeoutTextBox()->text(), QStringLiteral("5"));
        o.window().timeoutTextBox()->setText(QStringLiteral("2.9"));
        QTest::keyClick(o.window().timeoutTextBox(), Qt::Key_Return);
        QCOMPARE(o.stored("timeoutTime"), QStringLiteral("integer:2"));
        o.delegate().openPreferences();
        QCOMPARE(o.window().timeoutTextBox()->text(), QStringLiteral("2.9"));
    }

    void returnInTheBrightnessFieldStoresIt()
    {
        Opened o("<key>dim</key><true/>");
        o.delegate().openPreferences();
        o.window().brightnessText()->setText(QStringLiteral("0.5 bright"));
        QTest::keyClick(o.window().brightnessText(), Qt::Key_Return);
        QCOMPARE(o.stored("lockBrightnes"), QStringLiteral("real:0.5"));
    }

    void textIsReadAsTheNumberItStartsWith()
    {
        QCOMPARE(PreferenceActions::floatValue("2.9"), 2.9f);
        QCOMPARE(PreferenceActions::floatValue("  .5x"), 0.5f);
        QCOMPARE(PreferenceActions::floatValue("-3 minutes"), -3.0f);
        QCOMPARE(PreferenceActions::floatValue("1e1"), 10.0f);
        QCOMPARE(PreferenceActions::floatValue("abc"), 0.0f);
        QCOMPARE(PreferenceActions::floatValue(""), 0.0f);
    }

    // What is typed into the two number fields is read as the number it starts with, whatever
    // follows; nonsense is 0, a number beyond a float's range infinite. None of it may crash.
    void typedNumbersThatAreNoNumbers_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<float>("minutes");
        QTest::addColumn<QString>("storedMinutes");
        QTest::addColumn<QString>("storedBrightness");
        QTest::newRow("words") << "soon" << 0.0f << "integer:0"
                               << "real:0";
        QTest::newRow("empty") << "" << 0.0f << "integer:0"
                               << "real:0";
        QTest::newRow("negative") << "-7.5" << -7.5f << "integer:-7"
                                  << "real:-7.5";
        QTest::newRow("huge") << "1e30" << 1e30f << "integer:2147483647"
                              << "real:1e+30";
        QTest::newRow("many digits")
            << "123456789012345678901234567890" << 1.2345679e29f << "integer:2147483647"
            << "real:1.23457e+29";
        QTest::newRow("hugely negative") << "-1e30" << -1e30f << "integer:-2147483648"
                                         << "real:-1e+30";
        QTest::newRow("tiny") << "1e-60" << 0.0f << "integer:0"
                              << "real:0";
    }

    void typedNumbersThatAreNoNumbers()
    {
        QFETCH(QString, typed);
        QFETCH(float, minutes);
        QFETCH(QString, storedMinutes);
        QFETCH(QString, storedBrightness);
        Opened o("<key>dim</key><true/><key>timeout</key><true/>");
        o.delegate().openPreferences();
        o.window().timeoutTextBox()->setText(typed);
        QTest::keyClick(o.window().timeoutTextBox(), Qt::Key_Return);
        o.window().brightnessText()->setText(typed);
        QTest::keyClick(o.window().brightnessText(), Qt::Key_Return);
        QCOMPARE(o.delegate().preferences().timeoutTime, minutes);
        QCOMPARE(o.delegate().preferences().lockBrightness, minutes);
        QCOMPARE(o.stored("timeoutTime"), storedMinutes);
        QCOMPARE(o.stored("lockBrightnes"), storedBrightness);
        // Reopened, the fields show what memory holds; a lock with these values comes and goes.
        o.delegate().openPreferences();
        QCOMPARE(PreferenceActions::floatValue(o.window().timeoutTextBox()->text()), minutes);
        o.delegate().lock();
        QVERIFY(o.delegate().isLockActive());
    }

    void aNumberBeyondAFloatIsInfinite()
    {
        Opened o("<key>dim</key><true/><key>timeout</key><true/>");
        o.delegate().openPreferences();
        o.window().timeoutTextBox()->setText(QStringLiteral("1e39 minutes"));
        QTest::keyClick(o.window().timeoutTextBox(), Qt::Key_Return);
        o.window().brightnessText()->setText(QStringLiteral("-1e400"));
        QTest::keyClick(o.window().brightnessText(), Qt::Key_Return);
        QVERIFY(std::isinf(o.delegate().preferences().timeoutTime));
        QVERIFY(o.delegate().preferences().timeoutTime > 0);
        QVERIFY(std::isinf(o.delegate().preferences().lockBrightness));
        QVERIFY(o.delegate().preferences().lockBrightness < 0);
        QCOMPARE(o.stored("timeoutTime"), QStringLiteral("integer:2147483647"));
        // Written as the property list's own "-infinity".
        QCOMPARE(o.stored("lockBrightnes"), QStringLiteral("real:-inf"));
        // The file stays readable, and the next start reads the limits back.
        QVERIFY(o.library.properties().has_value());
        o.program.reset();
        o.program = std::make_unique<StartedProgram>(o.library.folder());
        QCOMPARE(o.delegate().preferences().timeoutTime, 2147483647.0f);
        QVERIFY(std::isinf(o.delegate().preferences().lockBrightness));
        o.delegate().lock();
        QVERIFY(o.delegate().isLockActive());
    }

    void clickingACheckBoxStoresIt()
    {
        Opened o("<key>showMusic</key><true/><key>openAtLogin</key><false/>");
        o.delegate().openPreferences();
        o.window().musicCheck()->click();
        QCOMPARE(o.stored("showMusic"), QStringLiteral("boolean:false"));
        o.window().openOnLoginCheck()->click();
        QCOMPARE(o.stored("openAtLogin"), QStringLiteral("boolean:true"));
        QCOMPARE(o.program->loginItems.calls, QStringList{"append"});
    }

    void theMailAndCapsLockBoxesFlipMemoryWhateverTheyShow()
    {
        Opened o("<key>showShutDown</key><true/>");
        o.delegate().openPreferences();
        QVERIFY(o.delegate().preferences().showShutDown);
        QVERIFY(o.delegate().preferences().showCapslock);
        // Set off by the program, not by a click: the box and memory disagree.
        o.window().shutDownCheck()->setChecked(false);
        o.window().capslockCheck()->setChecked(false);
        o.window().shutDownCheck()->click();
        o.window().capslockCheck()->click();
        QVERIFY(o.window().shutDownCheck()->isChecked());
        QVERIFY(o.window().capslockCheck()->isChecked());
        QVERIFY(!o.delegate().preferences().showShutDown);
        QVERIFY(!o.delegate().preferences().showCapslock);
        QCOMPARE(o.stored("showShutDown"), QStringLiteral("boolean:false"));
        QCOMPARE(o.stored("showCapslock"), QStringLiteral("boolean:false"));
    }

    void theDisplayChecksEnableTheirFields()
    {
        Opened o("<key>dim</key><false/><key>timeout</key><true/>");
        o.delegate().openPreferences();
        QVERIFY(!o.window().brightnessText()->isEnabled());
        o.window().dimCheck()->click();
        QVERIFY(o.window().dimCheck()->isChecked());
        QVERIFY(o.window().brightnessText()->isEnabled());
        QCOMPARE(o.stored("dim"), QStringLiteral("boolean:true"));
        o.window().timeoutCheck()->click();
        QVERIFY(!o.window().timeoutTextBox()->isEnabled());
        QCOMPARE(o.stored("timeout"), QStringLiteral("boolean:false"));
    }

    void goingBackFromLockOnWakeClearsItsBox()
    {
        Opened o("<key>lockOnWake</key><false/>");
        o.delegate().openPreferences();
        o.window().lockOnWake()->click();
        QVERIFY(o.window().lockOnWake()->isChecked());
        o.program->dialogs.answer(1001);
        QVERIFY(!o.window().lockOnWake()->isChecked());
        QCOMPARE(o.stored("lockOnWake"), QStringLiteral("boolean:false"));
    }

    void theAppearancePaneShowsTheChoices()
    {
        Opened o("<key>lockImageType</key><integer>4</integer>"
                 "<key>desktopImageType</key><integer>1</integer>");
        o.delegate().openPreferences();
        o.delegate().imagesPressed();
        QCOMPARE(o.window().selectedItemIdentifier(), QStringLiteral("Appearance"));
        QCOMPARE(o.window().lockSelector()->currentIndex(), 4);
        QCOMPARE(o.window().backgroundSelector()->currentIndex(), 1);
    }

    void aCancelledPanelShowsThePreviousChoiceAgain()
    {
        Opened o("<key>lockImageType</key><integer>1</integer>"
                 "<key>desktopImageType</key><integer>0</integer>");
        o.delegate().openPreferences();
        o.delegate().imagesPressed();
        QComboBox* lock = o.window().lockSelector();
        lock->setCurrentIndex(5);
        emit lock->activated(5);
        o.program->dialogs.choose(std::nullopt);
        QCOMPARE(lock->currentIndex(), 1);
        QComboBox* background = o.window().backgroundSelector();
        background->setCurrentIndex(2);
        emit background->activated(2);
        o.program->dialogs.choose(QStringLiteral("file:///etc/hostname"));
        QCOMPARE(background->currentIndex(), 0);
        QCOMPARE(o.stored("desktopImageType"), QStringLiteral("integer:0"));
    }

    void choosingABuiltInLockImageInTheMenuStoresIt()
    {
        Opened o;
        o.delegate().openPreferences();
        o.delegate().imagesPressed();
        QComboBox* lock = o.window().lockSelector();
        lock->setCurrentIndex(3);
        emit lock->activated(3);
        QCOMPARE(o.stored("lockImageType"), QStringLiteral("integer:3"));
    }

    void clearSaysItNeedsACompositingManagerWhereNoneRuns()
    {
        // No X server here, so no compositing manager either.
        Opened o;
        o.delegate().openPreferences();
        o.delegate().imagesPressed();
        QLabel* note = o.window().compositorNote();
        QVERIFY(!note->isVisible());
        const QString stored = o.stored("desktopImageType");
        QComboBox* background = o.window().backgroundSelector();
        background->setCurrentIndex(3);
        emit background->activated(3);
        QVERIFY(note->isVisible());
        QVERIFY(note->text().contains("compositing manager"));
        QCOMPARE(o.stored("desktopImageType"), stored); // the clear choice is not written
        background->setCurrentIndex(1);
        emit background->activated(1);
        QVERIFY(!note->isVisible());
    }
};

QTEST_MAIN(TestPreferencesWindow)
#include "test_preferences_window.moc"
