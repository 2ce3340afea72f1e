#include "StartedProgram.h"

#include "platform/IdleWatch.h"
#include "triggers/IdleLock.h"

#include <QTest>

using namespace std::chrono_literals;

namespace {

const QString idleOptions = QStringLiteral(
    "<key>lockWhenIdle</key><true/><key>idleLockMinutes</key><integer>10</integer>"
    "<key>startAnimation</key><integer>0</integer><key>closeAnimation</key><integer>0</integer>");

// A compositor's idle notifications, said by the test.
class FakeIdleWatch final : public IdleWatch
{
public:
    std::chrono::milliseconds limit{0};
    int watches = 0;
    int stops = 0;

    void watch(std::chrono::milliseconds newLimit, Callback idle, Callback active) override
    {
        limit = newLimit;
        m_idle = std::move(idle);
        m_active = std::move(active);
        ++watches;
    }
    void stop() override
    {
        limit = 0ms;
        m_idle = m_active = nullptr;
        ++stops;
    }
    bool watching() const { return limit > 0ms && m_idle && m_active; }
    // Through a copy: the callback may start a new watch, which replaces it.
    void sayIdle()
    {
        const Callback idle = m_idle;
        idle();
    }
    void sayActive()
    {
        const Callback active = m_active;
        active();
    }

private:
    Callback m_idle;
    Callback m_active;
};

} // namespace

// The idle lock of a Wayland session, told by the compositor when the limit has passed instead of
// asking the X server's idle time.
class TestIdleWatch : public QObject
{
    Q_OBJECT
private slots:
    void locksWhenTheCompositorSaysIdleAndNotBefore()
    {
        TestLibrary library;
        library.configure(idleOptions);
        StartedProgram program(library.folder());
        FakeIdleWatch watch;
        program.delegate->idleLock()->useWatch(watch);
        QVERIFY(watch.watching());
        QCOMPARE(watch.limit, std::chrono::milliseconds(10min));
        // XWayland's idle time, however long, is not asked.
        program.idle.ms = 100 * 60000;
        program.scheduler.advance(60min);
        QVERIFY(!program.delegate->isLockActive());
        watch.sayIdle();
        QVERIFY(program.delegate->isLockActive());
        // The password's keys are input: the compositor says so, and the watch goes on as it was.
        watch.sayActive();
        program.delegate->unlock();
        program.scheduler.advance(1s);
        QVERIFY(!program.delegate->isLockActive());
        QVERIFY(watch.watching());
        QCOMPARE(watch.watches, 1);
        program.scheduler.advance(60min);
        QVERIFY(!program.delegate->isLockActive());
        watch.sayIdle();
        QVERIFY(program.delegate->isLockActive());
    }

    void anInhibitorHoldsItBackUntilItEnds()
    {
        TestLibrary library;
        library.configure(idleOptions);
        StartedProgram program(library.folder());
        FakeIdleWatch watch;
        program.delegate->idleLock()->useWatch(watch);
        program.system.idleInhibitor = true;
        watch.sayIdle();
        QVERIFY(!program.delegate->isLockActive());
        program.scheduler.advance(30min);
        QVERIFY(!program.delegate->isLockActive());
        // Still no input when the inhibitor ends: locked at the next look, a limit later at most.
        program.system.idleInhibitor = false;
        program.scheduler.advance(10min);
        QVERIFY(program.delegate->isLockActive());
    }

    void inputWhileHeldBackStartsTheCountAgain()
    {
        TestLibrary library;
        library.configure(idleOptions);
        StartedProgram program(library.folder());
        FakeIdleWatch watch;
        program.delegate->idleLock()->useWatch(watch);
        program.system.idleInhibitor = true;
        watch.sayIdle();
        watch.sayActive();
        program.system.idleInhibitor = false;
        program.scheduler.advance(60min);
        QVERIFY(!program.delegate->isLockActive());
    }

    void theWatchFollowsTheSetting()
    {
        TestLibrary library;
        library.configure(idleOptions);
        StartedProgram program(library.folder());
        FakeIdleWatch watch;
        program.delegate->idleLock()->useWatch(watch);
        program.delegate->setIdleLockMinutes(5);
        QCOMPARE(watch.limit, std::chrono::milliseconds(5min));
        QCOMPARE(watch.watches, 2);
        program.delegate->toggleLockWhenIdle();
        QVERIFY(!watch.watching());
        QCOMPARE(watch.stops, 1);
        QVERIFY(!program.delegate->idleLock()->isWaiting());
        program.delegate->toggleLockWhenIdle();
        QVERIFY(watch.watching());
        QCOMPARE(watch.limit, std::chrono::milliseconds(5min));
    }

    void offByDefaultNothingIsWatched()
    {
        TestLibrary library;
        library.configure(QString());
        StartedProgram program(library.folder());
        FakeIdleWatch watch;
        program.delegate->idleLock()->useWatch(watch);
        QVERIFY(!watch.watching());
        QCOMPARE(watch.watches, 0);
    }
};

QTEST_MAIN(TestIdleWatch)
#include "test_idle_watch.moc"
