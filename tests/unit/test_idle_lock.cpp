#include "StartedProgram.h"

#include "app/LockSession.h"
#include "triggers/IdleLock.h"
#include "triggers/ScreenSaverService.h"

#include <QCoreApplication>
#include <QTest>

using namespace std::chrono_literals;

namespace {
constexpr uint32_t minute = 60000;
const QString idleOptions = QStringLiteral(
    "<key>lockWhenIdle</key><true/><key>idleLockMinutes</key><integer>10</integer>"
    "<key>startAnimation</key><integer>0</integer><key>closeAnimation</key><integer>0</integer>");

// The password's keys are input: the server's idle time starts again.
void unlock(StartedProgram& program)
{
    program.idle.ms = 0;
    program.delegate->unlock();
    program.scheduler.advance(1s);
}
} // namespace

class TestIdleLock : public QObject
{
    Q_OBJECT
private slots:
    void offByDefaultNoTimerWaits()
    {
        TestLibrary library;
        library.configure(QString());
        StartedProgram program(library.folder());
        QVERIFY(!program.delegate->preferences().lockWhenIdle);
        QVERIFY(!program.delegate->idleLock()->isWaiting());
        program.idle.ms = 200 * minute;
        program.scheduler.advance(std::chrono::minutes(200));
        QVERIFY(!program.delegate->isLockActive());
    }

    void locksOnceTheServerSaysTheLimitPassed()
    {
        TestLibrary library;
        library.configure(idleOptions);
        StartedProgram program(library.folder());
        program.idle.ms = 4 * minute;
        program.delegate->idleLock()->reconsider();
        // The timer waits the six minutes left; input came meanwhile, so it waits again.
        program.idle.ms = 3 * minute;
        program.scheduler.advance(6min);
        QVERIFY(!program.delegate->isLockActive());
        QVERIFY(program.delegate->idleLock()->isWaiting());
        program.idle.ms = 9 * minute;
        program.scheduler.advance(59s);
        QVERIFY(!program.delegate->isLockActive());
        program.idle.ms = 10 * minute;
        program.scheduler.advance(7min);
        QVERIFY(program.delegate->isLockActive());
        QVERIFY(!program.delegate->idleLock()->isWaiting());
        // After the password the count starts again from the server's idle time.
        unlock(program);
        QVERIFY(program.delegate->idleLock()->isWaiting());
        QVERIFY(!program.delegate->isLockActive());
    }

    void thePasswordEndsTheLockForEveryoneWhileTheWindowStillSlidesAway()
    {
        TestLibrary library;
        // The default closing: the window slides away for a moment after the password.
        library.configure(QStringLiteral("<key>lockWhenIdle</key><true/>"
                                         "<key>startAnimation</key><integer>0</integer>"
                                         "<key>closeAnimation</key><integer>3</integer>"));
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        QVERIFY(program.delegate->isLockActive());
        program.idle.ms = 0;
        program.delegate->unlock();
        QVERIFY(program.delegate->isLockActive()); // still sliding
        QCOMPARE(program.system.lockedHints.last(), false);
        QVERIFY(!program.delegate->screenSaverService()->GetActive());
        QVERIFY(program.delegate->idleLock()->isWaiting());
        // A second call while it slides changes nothing.
        const auto hints = program.system.lockedHints.size();
        program.delegate->unlock();
        QCOMPARE(program.system.lockedHints.size(), hints);
        program.scheduler.advance(2s);
        QVERIFY(!program.delegate->isLockActive());
        QVERIFY(program.delegate->idleLock()->isWaiting());
    }

    void anInhibitorHoldsItBackUntilItEnds()
    {
        TestLibrary library;
        library.configure(idleOptions);
        StartedProgram program(library.folder());
        ScreenSaverService* saver = program.delegate->screenSaverService();
        const uint cookie = saver->Inhibit(QStringLiteral("player"), QStringLiteral("film"));
        QVERIFY(cookie != 0);
        program.idle.ms = 30 * minute;
        program.scheduler.advance(31min);
        QVERIFY(!program.delegate->isLockActive());
        saver->UnInhibit(cookie);
        QCoreApplication::processEvents();
        QVERIFY(program.delegate->isLockActive());
        // A lock asked for is never held back.
        unlock(program);
        saver->Inhibit(QStringLiteral("player"), QStringLiteral("film"));
        saver->Lock();
        QVERIFY(program.delegate->isLockActive());
    }

    void theLoginManagersIdleInhibitorHoldsItBack()
    {
        TestLibrary library;
        library.configure(idleOptions);
        StartedProgram program(library.folder());
        program.system.idleInhibitor = true;
        program.idle.ms = 11 * minute;
        program.scheduler.advance(11min);
        QVERIFY(!program.delegate->isLockActive());
        program.system.idleInhibitor = false;
        program.idle.ms = 22 * minute;
        program.scheduler.advance(11min);
        QVERIFY(program.delegate->isLockActive());
    }

    void theSettingIsWrittenAndHeldWithinItsRange()
    {
        TestLibrary library;
        library.configure(QString());
        StartedProgram program(library.folder());
        program.delegate->toggleLockWhenIdle();
        program.delegate->setIdleLockMinutes(500);
        auto stored = library.properties();
        QVERIFY(stored);
        QCOMPARE(stored->value(QStringLiteral("lockWhenIdle")), QStringLiteral("boolean:true"));
        QCOMPARE(stored->value(QStringLiteral("idleLockMinutes")), QStringLiteral("integer:120"));
        QVERIFY(program.delegate->idleLock()->isWaiting());
        program.delegate->setIdleLockMinutes(0);
        QCOMPARE(program.delegate->preferences().idleLockMinutes, 1);
        program.delegate->toggleLockWhenIdle();
        QVERIFY(!program.delegate->idleLock()->isWaiting());
        // Read back, a value out of range is held within it; a missing one is ten minutes.
        library.writeProperties(QStringLiteral(
            "<key>lockWhenIdle</key><true/><key>idleLockMinutes</key><integer>-4</integer>"));
        StartedProgram again(library.folder());
        QCOMPARE(again.delegate->preferences().idleLockMinutes, 1);
        library.writeProperties(QStringLiteral("<key>lockWhenIdle</key><true/>"));
        StartedProgram third(library.folder());
        QCOMPARE(third.delegate->preferences().idleLockMinutes, 10);
    }

    void theServiceAnswersWithoutEverUnlocking()
    {
        TestLibrary library;
        library.configure(idleOptions);
        StartedProgram program(library.folder());
        ScreenSaverService* saver = program.delegate->screenSaverService();
        QVERIFY(!saver->GetActive());
        QCOMPARE(saver->GetActiveTime(), 0u);
        QVERIFY(saver->SetActive(false)); // nothing to end
        QVERIFY(saver->SetActive(true));
        QVERIFY(program.delegate->isLockActive());
        program.clock.advanceSeconds(3.5);
        QCOMPARE(saver->GetActiveTime(), 3u);
        QVERIFY(!saver->SetActive(false));
        QVERIFY(program.delegate->isLockActive());
        program.idle.ms = 4500;
        QCOMPARE(saver->GetSessionIdleTime(), 4u);
        saver->SimulateUserActivity();
        QCOMPARE(program.idle.activity, 1);
        QVERIFY(program.delegate->isLockActive());
        unlock(program);
        QVERIFY(!saver->GetActive());
        QCOMPARE(saver->GetActiveTime(), 0u);
    }

    void inhibitorsAreBounded()
    {
        TestLibrary library;
        library.configure(QString());
        StartedProgram program(library.folder());
        ScreenSaverService* saver = program.delegate->screenSaverService();
        for (std::size_t i = 0; i < ScreenSaverService::maxInhibitors; ++i)
            QVERIFY(saver->Inhibit(QStringLiteral("a"), QStringLiteral("b")) != 0);
        QCOMPARE(saver->Inhibit(QStringLiteral("a"), QStringLiteral("b")), 0u);
        QCOMPARE(saver->inhibitorCount(), ScreenSaverService::maxInhibitors);
        saver->UnInhibit(1);
        saver->UnInhibit(1); // unknown now: nothing happens
        QCOMPARE(saver->inhibitorCount(), ScreenSaverService::maxInhibitors - 1);
        QVERIFY(saver->Inhibit(QStringLiteral("a"), QStringLiteral("b")) != 0);
    }
};

QTEST_MAIN(TestIdleLock)
#include "test_idle_lock.moc"
