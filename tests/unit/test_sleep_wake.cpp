#include "StartedProgram.h"

#include "app/LockSession.h"
#include "input/PasswordFile.h"

#include <QTest>

using namespace std::chrono_literals;

namespace {
} // namespace

class TestSleepWake : public QObject
{
    Q_OBJECT
private slots:
    void theSleepDelayIsHeldFromTheStart()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        QVERIFY(program.system.held);
    }

    void withLockOnWakeOffSleepNeverLocksAndWaitsForNothing()
    {
        TestLibrary library;
        library.configure("<key>lockOnWake</key><false/>");
        StartedProgram program(library.folder());
        program.system.sleep();
        QVERIFY(!program.delegate->isLockActive());
        QCOMPARE(program.system.releases, 1);
        program.system.wake();
        QVERIFY(!program.delegate->isLockActive());
        QVERIFY(program.system.held); // held again for the next sleep
    }

    void withLockOnWakeTheMachineSleepsOnlyOnceTheKeyboardIsHeld()
    {
        TestLibrary library;
        library.configure(
            "<key>lockOnWake</key><true/><key>startAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.shield.keyboardFree = false; // another client holds it for a while
        program.system.sleep();
        QVERIFY(program.delegate->isLockActive());
        QVERIFY(program.system.held);
        program.scheduler.advance(0ms);
        QVERIFY(program.system.held);
        program.shield.keyboardFree = true;
        program.scheduler.advance(10ms); // the retry takes it
        QVERIFY(program.shield.keyboard);
        QVERIFY(!program.system.held);
        QCOMPARE(program.system.releases, 1);
    }

    void aKeyboardHeldElsewhereKeepsTheMachineAwakeUntilItIsFree()
    {
        TestLibrary library;
        library.configure(
            "<key>lockOnWake</key><true/><key>startAnimation</key><integer>1</integer>");
        StartedProgram program(library.folder());
        program.shield.keyboardFree = false;
        program.system.sleep();
        program.scheduler.advance(200ms);
        QVERIFY(program.system.held);
        program.shield.keyboardFree = true;
        program.scheduler.advance(20ms);
        QVERIFY(program.shield.keyboard);
        QVERIFY(!program.system.held);
    }

    void aKeyboardNeverFreeHoldsTheSleepBackForUnderASecond()
    {
        TestLibrary library;
        library.configure("<key>lockOnWake</key><true/>");
        StartedProgram program(library.folder());
        program.shield.keyboardFree = false;
        program.system.sleep();
        program.scheduler.advance(850ms);
        QVERIFY(program.system.held);
        program.scheduler.advance(100ms);
        QVERIFY(!program.system.held);
        QCOMPARE(program.system.releases, 1);
    }

    void aSleepDuringTheClosingSlideLetsTheMachineSleepAtOnce()
    {
        TestLibrary library;
        library.configure(
            "<key>lockOnWake</key><true/><key>closeAnimation</key><integer>1</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        program.delegate->unlock();
        QVERIFY(program.delegate->isLockActive()); // sliding out
        program.system.sleep();
        QVERIFY(!program.system.held);
        QCOMPARE(program.system.releases, 1);
    }

    void anEndingLockLetsTheWaitingSleepGo()
    {
        TestLibrary library;
        library.configure("<key>lockOnWake</key><true/>");
        StartedProgram program(library.folder());
        program.shield.keyboardFree = false;
        program.system.sleep();
        QVERIFY(program.system.held);
        program.delegate->unlock();
        QVERIFY(!program.system.held);
    }

    void theOpeningSlideIsCutShortForTheSleep()
    {
        TestLibrary library;
        library.configure(
            "<key>lockOnWake</key><true/><key>startAnimation</key><integer>1</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(50ms);
        program.motion.log.clear();
        program.system.sleep();
        // Put where the slide ends, opaque, rather than left to slide on for 0.35 s.
        QCOMPARE(program.motion.log, QStringList({"move 0,0", "opacity 1"}));
        QVERIFY(!program.system.held);
    }

    void sleepingWhileLockedLetsTheMachineSleepAtOnce()
    {
        TestLibrary library;
        library.configure("<key>lockOnWake</key><true/>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        program.system.sleep();
        QVERIFY(!program.system.held);
    }

    void wakingWhileLockedClicksAgain()
    {
        TestLibrary library;
        library.configure("<key>lockOnWake</key><false/>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        const int clicks = program.pointer.clicks;
        program.system.wake();
        QCOMPARE(program.pointer.clicks, clicks + 1);
    }

    void anotherLockerLeavesOursInPlace()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        program.system.otherLocker();
        program.scheduler.advance(1s);
        QVERIFY(program.delegate->isLockActive());
        QVERIFY(program.delegate->getLocked());
        QVERIFY(program.shield.keyboard && program.shield.pointer);
    }

    void withoutTheLoginManagerTheProgramRuns()
    {
        TestLibrary library;
        library.configure("<key>lockOnWake</key><true/>");
        StartedProgram program(library.folder());
        program.system.available = false;
        program.system.held = false;
        program.system.sleep();
        program.scheduler.advance(1s);
        QVERIFY(program.delegate->isLockActive()); // the signal, had it come, still locks
        program.system.wake();
        QVERIFY(!program.system.held);
    }
};

QTEST_MAIN(TestSleepWake)
#include "test_sleep_wake.moc"
