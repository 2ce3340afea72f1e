#include "StartedProgram.h"

#include "app/LockSession.h"
#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"
#include "platform/Dialogs.h"
#include "platform/Log.h"
#include "ui/FirstPasswordWindow.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMouseEvent>
#include <QTest>
#include <QWindow>

using namespace std::chrono_literals;

namespace {
} // namespace

class TestLockSession : public QObject
{
    Q_OBJECT
private slots:
    void init() { m_capture.clear(); }

    void aFadingLockHoldsKeyboardAndPointerAtOnceAndClicksAfterPointFourSeconds()
    {
        TestLibrary library;
        library.configure("<key>startAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        LockSession* session = program.delegate->session();
        program.delegate->lock();
        QVERIFY(session->isLockActive());
        QCOMPARE(program.delegate->window()->geometry(), QRect(0, 0, 1920, 1080));
        // The keyboard is held at once, before the lock screen is built; the fade's own
        // "make key" comes one turn of the event loop later and finds it held.
        QVERIFY(program.delegate->window()->isVisible());
        QVERIFY(program.shield.keyboard);
        // So is the pointer: no click reaches the desktop while the lock fades in.
        QVERIFY(program.shield.pointer);
        program.scheduler.advance(0ms);
        QVERIFY(program.shield.keyboard);
        // A cover beneath the lock window, from the moment the lock was asked for.
        QCOMPARE(session->coverWindows().size(), 1);
        QVERIFY(session->coverWindows().first()->isVisible());
        QCOMPARE(program.shield.above,
                 session->coverWindows() + QList<QWidget*>({program.delegate->window()}));
        QVERIFY(!session->getLocked());
        program.scheduler.advance(399ms);
        QVERIFY(!session->getLocked());
        QCOMPARE(program.pointer.clicks, 0);
        program.scheduler.advance(1ms);
        QVERIFY(session->getLocked());
        QVERIFY(program.shield.pointer);
        QCOMPARE(program.pointer.clicks, 1);
        QVERIFY(program.motion.log.contains("fadeIn 400"));
        QVERIFY(m_log.isEmpty());
    }

    void aSlidingLockIsKeyAtOnceAndSlidesFromItsSide_data()
    {
        QTest::addColumn<int>("animation");
        QTest::addColumn<QString>("slide");
        QTest::newRow("up, from below") << 1 << "follow 0,1080 > 0,0 in 400";
        QTest::newRow("down, from above") << 2 << "follow 0,-1080 > 0,0 in 400";
        QTest::newRow("right, from the left") << 3 << "follow -1920,0 > 0,0 in 400";
        QTest::newRow("left, from the right") << 4 << "follow 1920,0 > 0,0 in 400";
    }
    void aSlidingLockIsKeyAtOnceAndSlidesFromItsSide()
    {
        QFETCH(int, animation);
        QFETCH(QString, slide);
        TestLibrary library;
        library.configure(
            QStringLiteral("<key>startAnimation</key><integer>%1</integer>").arg(animation));
        StartedProgram program(library.folder());
        program.delegate->lock();
        QVERIFY(program.shield.keyboard);
        QCOMPARE(program.motion.log,
                 QStringList({"opacity 0", "move 0,-1080", "opacity 1", slide}));
    }

    void whereTheWindowsPlaceDoesNotShowEveryOpeningFades_data()
    {
        QTest::addColumn<int>("animation");
        for (int animation : {0, 1, 2, 3, 4, 7})
            QTest::newRow(qPrintable(QString::number(animation))) << animation;
    }
    void whereTheWindowsPlaceDoesNotShowEveryOpeningFades()
    {
        // A Wayland compositor's lock surfaces show the window's picture, never its place.
        QFETCH(int, animation);
        TestLibrary library;
        library.configure(
            QStringLiteral("<key>startAnimation</key><integer>%1</integer>").arg(animation));
        StartedProgram program(library.folder());
        program.shield.windowPlaceShown = false;
        program.delegate->lock();
        QVERIFY(program.shield.keyboard);
        QCOMPARE(program.delegate->window()->pos(), QPoint(0, 0));
        QCOMPARE(program.motion.log, QStringList({"opacity 0", "move 0,0", "fadeIn 400"}));
    }

    void aShieldThatHidesTheDisplaysItselfIsAskedFirstAndNoCoverIsShown()
    {
        // A compositor's lock: it blanks every output as the lock is asked for, and its lock
        // surfaces show the windows, which stay off the display server.
        TestLibrary library;
        library.configure("<key>startAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.shield.windowPlaceShown = false;
        program.shield.coversDisplays = true;
        QVERIFY(program.shield.prepared.contains(program.delegate->window()));
        program.delegate->lock();
        // The colour of the background last built: before any, a dark grey like linen's.
        QCOMPARE(program.shield.coveredWith, std::optional<QColor>(QColor(0x2b, 0x2f, 0x36)));
        QVERIFY(program.delegate->session()->coverWindows().isEmpty());
        QVERIFY(program.shield.keyboard);

        // Before sleep: shown once the shield says the lock screen is drawn everywhere, not when
        // the windows are (they are never on the display server).
        bool shown = false;
        program.delegate->whenLockShown([&shown] { shown = true; });
        program.scheduler.advance(50ms);
        QVERIFY(!shown);
        program.shield.lockScreenShown = true;
        program.scheduler.advance(5ms);
        QVERIFY(shown);
    }

    void aShieldThatCannotHideTheDisplaysLeavesItToTheCover()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.delegate->lock();
        QVERIFY(!program.shield.coveredWith);
        QCOMPARE(program.delegate->session()->coverWindows().size(), 1);
    }

    void anOpeningPastTheFourDirectionsStaysAboveTheDisplay()
    {
        TestLibrary library;
        library.configure("<key>startAnimation</key><integer>7</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        QCOMPARE(program.delegate->window()->pos(), QPoint(0, -1080));
        QVERIFY(program.shield.keyboard); // still holds the keyboard
    }

    void aSecondLockRequestDuringALockDoesNothing()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        const int clicks = program.pointer.clicks;
        program.delegate->lock();
        program.scheduler.advance(1s);
        QCOMPARE(program.pointer.clicks, clicks);
    }

    void unlockingWithNoMovementEndsAtOnce()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(450ms);
        QVERIFY(program.pointer.pressed);
        program.delegate->unlock();
        QVERIFY(!program.delegate->isLockActive());
        QVERIFY(!program.delegate->getLocked());
        QVERIFY(!program.delegate->window()->isVisible());
        QVERIFY(!program.shield.keyboard && !program.shield.pointer);
        QVERIFY(!program.pointer.pressed);
        QVERIFY(program.shield.above.isEmpty());
        QVERIFY(!program.delegate->session()->circuitWindow());
    }

    void unlockingWithASlideKeepsTheSessionForPointThreeNineSeconds()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>3</integer>");
        StartedProgram program(library.folder());
        LockSession* session = program.delegate->session();
        program.delegate->lock();
        program.scheduler.advance(400ms);
        QVERIFY(!session->circuitWindow());
        program.scheduler.advance(10ms);
        QVERIFY(session->circuitWindow() && session->circuitWindow()->isVisible());
        // The circuit board, filling the display.
        const auto* board = session->circuitWindow()->findChild<QLabel*>();
        QVERIFY(board && !board->pixmap().isNull());
        QCOMPARE(board->geometry(), QRect(0, 0, 1920, 1080));
        program.delegate->unlock();
        QVERIFY(!session->circuitWindow()->isVisible()); // ordered out before the slide
        QVERIFY(!program.shield.keyboard);
        QCOMPARE(program.motion.log.last(), QString("follow 0,0 > 1920,0 in 200"));
        program.scheduler.advance(189ms);
        QVERIFY(program.delegate->window()->isVisible());
        program.scheduler.advance(1ms);
        QVERIFY(!program.delegate->window()->isVisible());
        QVERIFY(session->isLockActive()); // a lock now would be ignored
        program.delegate->lock();
        QVERIFY(!program.delegate->window()->isVisible());
        program.scheduler.advance(199ms);
        QVERIFY(session->isLockActive());
        program.scheduler.advance(1ms);
        QVERIFY(!session->isLockActive());
        QVERIFY(!session->circuitWindow());
    }

    void theClosingSlidesTowardsItsSide_data()
    {
        QTest::addColumn<int>("animation");
        QTest::addColumn<QString>("slide");
        QTest::newRow("up") << 1 << "follow 0,0 > 0,-1080 in 200";
        QTest::newRow("down") << 2 << "follow 0,0 > 0,1080 in 200";
        QTest::newRow("right") << 3 << "follow 0,0 > 1920,0 in 200";
        QTest::newRow("left") << 4 << "follow 0,0 > -1920,0 in 200";
        QTest::newRow("past the four, left") << 9 << "follow 0,0 > -1920,0 in 200";
    }
    void theClosingSlidesTowardsItsSide()
    {
        QFETCH(int, animation);
        QFETCH(QString, slide);
        TestLibrary library;
        library.configure(
            QStringLiteral("<key>closeAnimation</key><integer>%1</integer>").arg(animation));
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        program.delegate->unlock();
        QCOMPARE(program.motion.log.last(), slide);
    }

    void aPasswordTypedWithinPointFourSecondsLetsThePointerGoUnclicked()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(0ms);
        program.delegate->keyPressed("a");
        program.delegate->keyPressed("b");
        QVERIFY(!program.delegate->isLockActive());
        QVERIFY(!program.shield.pointer);
        program.scheduler.advance(1s);
        QCOMPARE(program.shield.pointerCalls, 1);
        QVERIFY(!program.shield.pointer);
        QCOMPARE(program.pointer.clicks, 0);
        QVERIFY(!program.delegate->getLocked());
    }

    void anotherLockerComingUpIsLoggedAndTheLockStays()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        program.delegate->screenLocked();
        program.scheduler.advance(1s);
        QVERIFY(program.delegate->isLockActive());
        QVERIFY(program.delegate->getLocked());
        QVERIFY(program.shield.keyboard && program.shield.pointer);
        QCOMPARE(m_log, QStringList({"Another screen locker says it came up; this lock stays "
                                     "until its password is typed."}));
    }

    void aHeldKeyboardIsRetriedEveryTenMillisecondsThenMoreSlowly()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.shield.keyboardFree = false;
        program.delegate->lock();
        program.scheduler.advance(0ms);
        QCOMPARE(m_log,
                 QStringList({"Error.  Make sure you have a valid combination of options."}));
        const int first = program.shield.makeKeyCalls;
        program.scheduler.advance(1000ms);
        QVERIFY(program.shield.makeKeyCalls - first >= 99);
        const int afterASecond = program.shield.makeKeyCalls;
        program.scheduler.advance(1000ms);
        QVERIFY(program.shield.makeKeyCalls - afterASecond <= 5);
        QVERIFY(program.shield.makeKeyCalls - afterASecond >= 3);
        QVERIFY(program.delegate->window()->isVisible()); // the screen stays covered meanwhile
        // Kiosk mode met the keyboard still held elsewhere and said so too.
        QCOMPARE(m_log,
                 QStringList(2, "Error.  Make sure you have a valid combination of options."));
        program.shield.keyboardFree = true;
        program.scheduler.advance(250ms);
        QVERIFY(program.shield.keyboard && program.shield.pointer);
        QCOMPARE(m_log.size(), 2);
        program.delegate->unlock();
        const int calls = program.shield.makeKeyCalls;
        program.scheduler.advance(5s);
        QCOMPARE(program.shield.makeKeyCalls, calls);
    }

    void aGrabTakenAwayIsTakenBackAndRetriedWhileHeldElsewhere()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        QVERIFY(program.shield.keyboard && program.shield.pointer);
        // Another client unmapped the lock window and grabbed the keyboard itself.
        program.shield.keyboardFree = false;
        program.shield.loseGrabs();
        QVERIFY(!program.shield.keyboard);
        QCOMPARE(m_log,
                 QStringList({"Error.  Make sure you have a valid combination of options."}));
        program.scheduler.advance(500ms);
        QVERIFY(!program.shield.keyboard);
        program.shield.keyboardFree = true;
        program.scheduler.advance(250ms);
        QVERIFY(program.shield.keyboard && program.shield.pointer);
        QVERIFY(program.delegate->getLocked());
    }

    void theGrabsAreAskedForAgainEverySecondOnlyWhileLocked()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.scheduler.advance(10s);
        QCOMPARE(program.shield.refreshes, 0);
        program.delegate->lock();
        program.scheduler.advance(3s);
        QCOMPARE(program.shield.refreshes, 3);
        // A grab the server dropped without a word is found and taken again.
        program.shield.keyboard = false;
        program.scheduler.advance(1s);
        QVERIFY(program.shield.keyboard);
        program.delegate->unlock();
        program.scheduler.advance(10s);
        QCOMPARE(program.shield.refreshes, 4);
    }

    void anUnlockDuringTheOpeningLeavesNothingHeld()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>2</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(300ms);
        program.delegate->unlock();
        program.scheduler.advance(2s);
        QVERIFY(!program.shield.keyboard && !program.shield.pointer);
        QCOMPARE(program.pointer.clicks, 0);
        QVERIFY(!program.delegate->getLocked());
        QVERIFY(!program.delegate->isLockActive());
        QVERIFY(program.shield.above.isEmpty());
        QVERIFY(!program.delegate->session()->circuitWindow());
    }

    void aPasswordTypedDuringASlidingOpeningNeverReachesKioskMode()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>3</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(100ms);
        program.delegate->keyPressed("a");
        program.delegate->keyPressed("b");
        QVERIFY(program.delegate->isLockActive()); // closing: the slide is under way
        program.scheduler.advance(2s);
        QVERIFY(!program.shield.pointer);
        QCOMPARE(program.pointer.clicks, 0);
        QVERIFY(!program.delegate->session()->circuitWindow());
        QVERIFY(!program.delegate->isLockActive());
    }

    void theClosingTakesItsSizeFromTheWindow()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>3</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        program.delegate->window()->setFixedSize(800, 600); // held to the screen's size otherwise
        program.delegate->unlock();
        QCOMPARE(program.motion.log.last(), QString("follow 0,0 > 800,0 in 200"));
    }

    void theSyntheticPressIsLetGoOnceTheUserMovesThePointer()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(400ms);
        QVERIFY(program.pointer.pressed);
        // The press's own movement right after it changes nothing.
        program.delegate->pointerMoved();
        QVERIFY(program.pointer.pressed);
        program.scheduler.advance(100ms);
        QMouseEvent move(QEvent::MouseMove, QPointF(300, 300), QPointF(300, 300), Qt::LeftButton,
                         Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(program.delegate->window(), &move);
        QVERIFY(!program.pointer.pressed);
        QVERIFY(program.delegate->getLocked()); // the lock and its grabs stay
        QVERIFY(program.shield.pointer);
    }

    void theSyntheticPressIsLetGoBeforeAFirstClickWithoutMovement()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(400ms);
        QVERIFY(program.pointer.pressed);
        QCOMPARE(program.pointer.clicks, 1);
        program.scheduler.advance(100ms);
        QVERIFY(!program.pointer.pressed);
        QVERIFY(program.delegate->getLocked());
        QVERIFY(program.shield.pointer);
    }

    void noClickWithoutThePointer()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.shield.pointerFree = false;
        program.delegate->lock();
        program.scheduler.advance(1s);
        QVERIFY(program.delegate->getLocked());
        QCOMPARE(program.pointer.clicks, 0);
        program.delegate->simulateClick();
        QCOMPARE(program.pointer.clicks, 0);
        program.shield.pointerFree = true;
        program.scheduler.advance(300ms);
        QVERIFY(program.shield.pointer);
        program.delegate->simulateClick();
        QCOMPARE(program.pointer.clicks, 1);
    }

    void anOpenAlertNeverBlocksTheLockScreensKeys()
    {
        TestLibrary library;
        library.writeProperties("<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder()); // no password: any key unlocks
        QtDialogs dialogs;
        dialogs.showAlert("Password saved successfully!");
        dialogs.showAlert("Passwords do not match.", program.delegate->setPassword());
        program.delegate->lock();
        program.scheduler.advance(1s);
        QKeyEvent key(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, "x");
        QCoreApplication::sendEvent(program.delegate->window()->windowHandle(), &key);
        QVERIFY(!program.delegate->isLockActive());
        for (QWidget* alert : QApplication::topLevelWidgets())
            if (qobject_cast<QMessageBox*>(alert))
                alert->close();
    }

    void theClockShowsTheTimeOnlyWhenChosen()
    {
        TestLibrary library;
        library.configure("<key>showTime</key><false/>");
        StartedProgram program(library.folder());
        program.delegate->views()->time()->setText("stale");
        program.delegate->lock();
        QCOMPARE(program.delegate->views()->time()->text(), QString());
    }

    void withoutDoNotDisturbThePasswordFieldIsHidden()
    {
        TestLibrary library;
        library.configure("<key>showDoNotDisturb</key><false/>");
        StartedProgram program(library.folder());
        program.delegate->views()->enterPassword()->show();
        program.delegate->lock();
        QVERIFY(program.delegate->views()->enterPassword()->isHidden());
    }

private:
    LogCapture m_capture;
    QStringList& m_log = m_capture.lines();
};

QTEST_MAIN(TestLockSession)
#include "test_lock_session.moc"
