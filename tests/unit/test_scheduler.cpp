#include "ManualScheduler.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>

using namespace std::chrono_literals;

class TestScheduler : public QObject
{
    Q_OBJECT
private slots:
    void manualTimersFireInDueOrderOnlyWhenTimeAdvances()
    {
        ManualScheduler scheduler;
        QStringList fired;
        scheduler.schedule(400ms, [&] { fired << "kiosk"; });
        scheduler.schedule(100ms, [&] { fired << "first"; });
        scheduler.schedule(100ms, [&] { fired << "second"; });
        scheduler.advance(99ms);
        QVERIFY(fired.isEmpty());
        scheduler.advance(1ms);
        QCOMPARE(fired, QStringList({"first", "second"}));
        scheduler.advance(300ms);
        QCOMPARE(fired, QStringList({"first", "second", "kiosk"}));
        QCOMPARE(scheduler.pendingCount(), std::size_t(0));
    }

    void repeatingTimersFireEveryInterval()
    {
        ManualScheduler scheduler;
        int ticks = 0;
        const auto id = scheduler.scheduleRepeating(1000ms, [&] { ++ticks; });
        scheduler.advance(3500ms);
        QCOMPARE(ticks, 3);
        scheduler.cancel(id);
        scheduler.advance(5000ms);
        QCOMPARE(ticks, 3);
    }

    void aCallbackMayScheduleAndCancel()
    {
        ManualScheduler scheduler;
        QStringList fired;
        Scheduler::TimerId later = 0;
        later = scheduler.schedule(300ms, [&] { fired << "cancelled"; });
        scheduler.schedule(100ms, [&] {
            fired << "a";
            scheduler.cancel(later);
            scheduler.schedule(50ms, [&] { fired << "b"; });
        });
        scheduler.advance(1s);
        QCOMPARE(fired, QStringList({"a", "b"}));
        QCOMPARE(scheduler.now(), 1000ms);
    }

    void aSlotHoldsOneTimerAndTheLaterOneWins()
    {
        ManualScheduler scheduler;
        TimerSlot slot(scheduler);
        QStringList fired;
        slot.arm(5min, [&] { fired << "display off"; });
        slot.armRepeating(1s, [&] { fired << "tick"; });
        QCOMPARE(scheduler.pendingCount(), std::size_t(1));
        scheduler.advance(2s);
        QCOMPARE(fired, QStringList({"tick", "tick"}));
        slot.invalidate();
        QVERIFY(!slot.isArmed());
        scheduler.advance(10min);
        QCOMPARE(fired.size(), 2);
    }

    void qtTimersFireOnTheEventLoop()
    {
        QtScheduler scheduler;
        int once = 0;
        int repeated = 0;
        const auto id = scheduler.schedule(10ms, [&] { ++once; });
        const auto tick = scheduler.scheduleRepeating(5ms, [&] { ++repeated; });
        QVERIFY(scheduler.isActive(id));
        QTRY_COMPARE(once, 1);
        QVERIFY(!scheduler.isActive(id));
        QTRY_VERIFY(repeated >= 3);
        scheduler.cancel(tick);
        const int stopped = repeated;
        QTest::qWait(30);
        QCOMPARE(repeated, stopped);
    }

    void aCallForTheNextTurnRunsOnceAndCanBeCancelled()
    {
        QtScheduler scheduler;
        int runs = 0;
        const auto id = scheduler.schedule(0ms, [&] { ++runs; });
        QVERIFY(scheduler.isActive(id));
        QCOMPARE(runs, 0); // not now: on the next turn
        QCoreApplication::processEvents();
        QCOMPARE(runs, 1);
        QVERIFY(!scheduler.isActive(id));
        const auto cancelled = scheduler.schedule(0ms, [&] { ++runs; });
        scheduler.cancel(cancelled);
        QCoreApplication::processEvents();
        QCOMPARE(runs, 1);
    }

    void aCancelledQtTimerNeverFires()
    {
        QtScheduler scheduler;
        bool fired = false;
        const auto id = scheduler.schedule(5ms, [&] { fired = true; });
        scheduler.cancel(id);
        QTest::qWait(30);
        QVERIFY(!fired);
    }
};

QTEST_GUILESS_MAIN(TestScheduler)
#include "test_scheduler.moc"
