#include "StartedProgram.h"

#include "app/LockSession.h"
#include "input/WindowController.h"
#include "lockscreen/BatteryWidget.h"
#include "lockscreen/IconRowPlacement.h"
#include "lockscreen/LockClock.h"
#include "lockscreen/LockControls.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"
#include "lockscreen/MailBadge.h"
#include "lockscreen/MusicWidget.h"
#include "platform/Log.h"

#include <QLabel>
#include <QLineEdit>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QTest>

using namespace std::chrono_literals;

namespace {

void lockAndOpen(StartedProgram& program)
{
    program.delegate->lock();
    program.scheduler.advance(500ms);
}

} // namespace

class TestLockScreenWidgets : public QObject
{
    Q_OBJECT
private slots:
    void init() { m_log.clear(); }

    // --- Clock and battery ---------------------------------------------------------------

    void thePercentageIsTruncated()
    {
        QCOMPARE(BatteryWidget::percent({4000, 5000}), std::optional<int>(80));
        QCOMPARE(BatteryWidget::percent({4999, 5000}), std::optional<int>(99));
        QCOMPARE(BatteryWidget::percent({3000, 0}), std::nullopt);
    }

    void theClockFollowsTheLocale()
    {
        const QDateTime afternoon(QDate(2026, 11, 21), QTime(14, 5));
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QCOMPARE(LockClock::timeText(afternoon), QString("14:05"));
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QVERIFY(LockClock::timeText(afternoon).startsWith("2:05"));
        QVERIFY(LockClock::timeText(afternoon).endsWith("PM"));
        QVERIFY(!LockClock::timeText(afternoon).contains(":00"));
        // The C locale's short format has seconds: the lock screen shows none.
        QLocale::setDefault(QLocale::c());
        QCOMPARE(LockClock::timeText(afternoon), QString("14:05"));
        QLocale::setDefault(QLocale(QLocale::Korean, QLocale::SouthKorea));
        QVERIFY(
            !LockClock::timeText(QDateTime(QDate(2026, 11, 21), QTime(14, 5, 37))).contains("37"));
        QLocale::setDefault(QLocale::system());
    }

    void theTickShowsTheTimeAndTheBatteryEverySecond()
    {
        TestLibrary library;
        library.configure("<key>showTime</key><true/><key>showBattery</key><true/>");
        StartedProgram program(library.folder(), true, QDateTime(QDate(2026, 1, 2), QTime(9, 41)));
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        program.power.battery = BatteryReading{4000, 5000};
        program.power.adapter = true;
        lockAndOpen(program);
        LockScreenViews* views = program.delegate->views();
        QCOMPARE(views->time()->text(), QString("09:41"));
        QCOMPARE(views->realPercentText()->text(), QString("80"));
        QCOMPARE(program.delegate->iconRow()->batteryImage(), QString("batterychargingwhite"));
        const int labelTop = views->realPercentText()->y();
        // Unplugged while locked: within a second the plain picture, the label a point lower.
        program.power.adapter = false;
        program.power.battery = BatteryReading{4999, 5000};
        program.clock.set(QDateTime(QDate(2026, 1, 2), QTime(9, 42)));
        program.scheduler.advance(1s);
        QCOMPARE(program.delegate->iconRow()->batteryImage(), QString("batteryiconwhite"));
        QCOMPARE(views->realPercentText()->y(), labelTop + 1);
        QCOMPARE(views->realPercentText()->text(), QString("99"));
        QCOMPARE(views->time()->text(), QString("09:42"));
        QLocale::setDefault(QLocale::system());
    }

    void withoutTheClockTheTickStillRefreshesTheBattery()
    {
        TestLibrary library;
        library.configure("<key>showTime</key><false/><key>showBattery</key><true/>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        QCOMPARE(program.delegate->views()->time()->text(), QString());
        program.power.battery = BatteryReading{10, 100};
        program.scheduler.advance(1s);
        QCOMPARE(program.delegate->views()->realPercentText()->text(), QString("10"));
        QCOMPARE(program.delegate->views()->time()->text(), QString());
    }

    void aBatteryWithoutACapacityShowsNoNumber()
    {
        TestLibrary library;
        library.configure("<key>showBattery</key><true/>");
        StartedProgram program(library.folder());
        program.power.battery = BatteryReading{0, 0};
        lockAndOpen(program);
        program.scheduler.advance(1s);
        QCOMPARE(program.delegate->views()->realPercentText()->text(), QString());
    }

    void theTickEndsItselfAfterTheLock()
    {
        TestLibrary library;
        library.configure(
            "<key>showTime</key><true/><key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        QVERIFY(program.delegate->session()->timer().isArmed());
        program.delegate->unlock();
        QVERIFY(!program.delegate->session()->timer().isArmed());
    }

    // --- Music ---------------------------------------------------------------------------

    void aPlayingTrackIsShownWithItsPictureAndState()
    {
        TestLibrary library;
        library.configure("<key>showMusic</key><true/><key>textColor</key><integer>0</integer>");
        StartedProgram program(library.folder());
        QImage cover(64, 64, QImage::Format_RGB32);
        cover.fill(Qt::red);
        program.player.play("Tuesday", 180, PlayerState::Playing, cover);
        program.player.position = 100;
        lockAndOpen(program);
        LockScreenViews* views = program.delegate->views();
        QCOMPARE(views->musicText()->text(), QString("Now Playing: Tuesday"));
        QCOMPARE(program.delegate->musicWidget()->stateImage(), QString("playwhite"));
        QCOMPARE(program.delegate->musicWidget()->coverPlaceholder(), QString());
        QVERIFY(!views->albumCover()->pixmap().isNull());
        QCOMPARE(views->albumCover()->geometry(), QRect(2, 1080 - 52, 50, 50));
        QCOMPARE(views->musicText()->x(), 55);
        QVERIFY(views->musicText()->isVisible());
        // The widget is redrawn when the track should end: 80 s from now.
        program.player.play("Wednesday", 200);
        program.player.position = 0;
        program.scheduler.advance(79s);
        QCOMPARE(views->musicText()->text(), QString("Now Playing: Tuesday"));
        program.scheduler.advance(1s);
        QCOMPARE(views->musicText()->text(), QString("Now Playing: Wednesday"));
    }

    void aTrackWithoutAPictureShowsThePlaceholder()
    {
        TestLibrary library;
        library.configure("<key>showMusic</key><true/><key>textColor</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.player.play("No Cover", 60);
        lockAndOpen(program);
        QCOMPARE(program.delegate->musicWidget()->coverPlaceholder(), QString("MusicWhite"));
        QCOMPARE(program.delegate->views()->albumCover()->size(), QSize(50, 50));
    }

    void thePlayKeyPausesAtOnce()
    {
        TestLibrary library;
        library.configure("<key>showMusic</key><true/><key>textColor</key><integer>1</integer>");
        StartedProgram program(library.folder());
        program.player.play("Song", 300);
        lockAndOpen(program);
        program.delegate->mediaKey(16);
        QCOMPARE(program.player.commands, QStringList({"playPause"}));
        QCOMPARE(program.delegate->views()->musicText()->text(), QString("Now Paused: Song"));
        QCOMPARE(program.delegate->musicWidget()->stateImage(), QString("pauseblack"));
        QVERIFY(program.delegate->musicWidget()->musicShownPaused());
    }

    void aSkipKeyRefreshesAfterTheDelay()
    {
        TestLibrary library;
        library.configure("<key>showMusic</key><true/>");
        StartedProgram program(library.folder());
        program.player.play("First", 300);
        lockAndOpen(program);
        program.delegate->mediaKey(19);
        program.player.play("Second", 300); // the player moved on
        program.scheduler.advance(199ms);
        QCOMPARE(program.delegate->views()->musicText()->text(), QString("Now Playing: First"));
        program.scheduler.advance(1ms);
        QCOMPARE(program.delegate->views()->musicText()->text(), QString("Now Playing: Second"));
        program.delegate->mediaKey(20);
        QCOMPARE(program.player.commands, QStringList({"next", "previous"}));
    }

    void aPauseMadeInThePlayerShowsWithinASecond()
    {
        TestLibrary library;
        library.configure("<key>showMusic</key><true/>");
        StartedProgram program(library.folder());
        program.player.play("Song", 300);
        lockAndOpen(program);
        program.player.state = PlayerState::Paused;
        program.scheduler.advance(1s);
        QCOMPARE(program.delegate->views()->musicText()->text(), QString("Now Paused: Song"));
    }

    void fastForwardingShowsTheBareName()
    {
        TestLibrary library;
        library.configure("<key>showMusic</key><true/><key>textColor</key><integer>1</integer>");
        StartedProgram program(library.folder());
        program.player.play("Song", 300, PlayerState::FastForwarding);
        lockAndOpen(program);
        QCOMPARE(program.delegate->views()->musicText()->text(), QString("Song"));
        QCOMPARE(program.delegate->musicWidget()->stateImage(), QString("FastForward"));
    }

    void aPlayerThatQuitsEmptiesTheWidget()
    {
        TestLibrary library;
        library.configure("<key>showMusic</key><true/>");
        StartedProgram program(library.folder());
        program.player.play("Song", 30);
        lockAndOpen(program);
        program.player.quit();
        program.scheduler.advance(30s); // the track's end comes, the player is gone
        LockScreenViews* views = program.delegate->views();
        QCOMPARE(views->musicText()->text(), QString());
        QVERIFY(views->albumCover()->pixmap().isNull());
        QVERIFY(views->playPauseImage()->pixmap().isNull());
        // The tick no longer asks for anything but whether a player runs.
        program.player.queries.clear();
        program.scheduler.advance(3s);
        QCOMPARE(program.player.queries.count("currentTrack"), 0);
    }

    // --- Mail ----------------------------------------------------------------------------

    void theBadgeByCount()
    {
        QCOMPARE(MailBadge::imageName(0, 1), QString("mailblack"));
        QCOMPARE(MailBadge::imageName(1, 1), QString("mailblack1"));
        QCOMPARE(MailBadge::imageName(9, 1), QString("mailblack9"));
        QCOMPARE(MailBadge::imageName(10, 1), QString("mailblack9+"));
        QCOMPARE(MailBadge::imageName(250, 1), QString("mailblack9+"));
        QCOMPARE(MailBadge::imageName(-1, 1), QString("mailblack9+"));
        QCOMPARE(MailBadge::imageName(3, 0), QString("mailwhite3"));
    }

    void theMailBadgeAloneStartsTheFourSecondPoll()
    {
        TestLibrary library;
        library.configure("<key>showShutDown</key><true/><key>textColor</key><integer>1</integer>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        QVERIFY(program.delegate->views()->mailImage()->isVisible());
        QCOMPARE(program.delegate->mailBadge()->image(), QString("mailblack"));
        QCOMPARE(program.scripts.runs().count("Mail"), 1); // at once
        program.scheduler.advance(4s);
        QCOMPARE(program.scripts.runs().count("Mail"), 2);
        // A count reported over the bus shows; the same count again changes nothing.
        program.delegate->setMail(3);
        QCOMPARE(program.delegate->mailBadge()->image(), QString("mailblack3"));
        program.delegate->colorChanged("White");
        program.delegate->setMail(3);
        QCOMPARE(program.delegate->mailBadge()->image(), QString("mailblack3"));
    }

    void aMissingMailScriptIsLoggedEveryFourSeconds()
    {
        TestLibrary library;
        library.configure("<key>showShutDown</key><true/>");
        StartedProgram program(library.folder());
        program.scripts.outcome = {ScriptOutcome::Missing, "no executable script at /x/Mail"};
        lockAndOpen(program);
        program.scheduler.advance(8s);
        QCOMPARE(m_log.count("Mail applescript load error: no executable script at /x/Mail"), 3);
        program.scripts.outcome = {ScriptOutcome::TimedOut, "killed after 3000 ms"};
        program.scheduler.advance(4s);
        QVERIFY(m_log.contains("Mail applescript run error: killed after 3000 ms"));
    }

    void afterTheUnlockThePollStopsWithoutARun()
    {
        TestLibrary library;
        library.configure(
            "<key>showShutDown</key><true/><key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        const int runs = program.scripts.runs().count("Mail");
        program.delegate->setMail(5);
        program.delegate->unlock();
        QCOMPARE(program.delegate->mailBadge()->lastMailCount(), 0);
        program.delegate->updateMail(); // a run that was still due
        program.scheduler.advance(10s);
        QCOMPARE(program.scripts.runs().count("Mail"), runs);
        QVERIFY(!program.delegate->mailBadge()->mailTimer().isArmed());
    }

    // --- Caps lock, do-not-disturb, shut-down --------------------------------------------

    void capsLockShowsTheNoticeInTheBottomRightCorner()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        TranslatedKey key;
        key.characters = "A";
        key.keyCode = 0;
        key.capsLock = true;
        program.delegate->windowController()->keyDown(key);
        QLabel* notice = program.delegate->views()->capslockText();
        QCOMPARE(notice->text(), QString("Caps Lock Is On"));
        QCOMPARE(notice->geometry(), QRect(1780, 1080 - 23, 140, 23));
        program.delegate->windowController()->flagsChanged(false);
        QCOMPARE(notice->text(), QString());
        QCOMPARE(notice->geometry(), QRect(1780, 1080 - 23, 140, 23));
    }

    void withoutTheCapsLockSettingNothingChanges()
    {
        Preferences preferences;
        preferences.showCapslock = false;
        LockWindow window;
        LockScreenViews views(window);
        ManualScheduler scheduler;
        FakeDisplays displays;
        FakeScripts scripts;
        LockControls controls({scheduler, displays, scripts}, preferences, window, views);
        controls.capslockOn();
        QCOMPARE(views.capslockText()->text(), QString("Caps Lock Is On."));
    }

    void doNotDisturbFadesThePasswordFieldInAndOut()
    {
        TestLibrary library;
        library.configure("<key>showDoNotDisturb</key><true/>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        QLineEdit* field = program.delegate->views()->enterPassword();
        field->hide();
        program.delegate->views()->doNotDisturb()->click();
        QVERIFY(field->isVisibleTo(program.delegate->window()));
        QVERIFY(field->findChild<QPropertyAnimation*>("fadeIn"));
        field->setText("typed");
        program.delegate->views()->doNotDisturb()->click();
        QCOMPARE(field->text(), QString());
        QVERIFY(!field->isHidden()); // still fading
        program.scheduler.advance(200ms);
        QVERIFY(field->isHidden());
        QVERIFY(!program.delegate->lockControls()->doNotDisturbBool()); // flipped twice
    }

    void cancelFadesTheShutDownPairOut()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        LockScreenViews* views = program.delegate->views();
        QVERIFY(!views->shutDown()->isHidden());
        views->cancel()->click();
        QVERIFY(views->shutDown()->findChild<QPropertyAnimation*>("fadeOut"));
        QVERIFY(views->cancel()->findChild<QPropertyAnimation*>("fadeOut"));
        program.scheduler.advance(199ms);
        QVERIFY(!views->shutDown()->isHidden());
        program.scheduler.advance(1ms);
        QVERIFY(views->shutDown()->isHidden());
        QVERIFY(views->cancel()->isHidden());
    }

    void shutDownRunsItsScript()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        program.delegate->views()->shutDown()->click();
        QVERIFY(program.scripts.runs().contains("ShutDownScript"));
    }

private:
    LogCapture m_capture;
    QStringList& m_log = m_capture.lines();
};

QTEST_MAIN(TestLockScreenWidgets)
#include "test_lock_screen_widgets.moc"
