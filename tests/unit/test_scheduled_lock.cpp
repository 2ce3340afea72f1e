#include "StartedProgram.h"

#include "input/PasswordFile.h"
#include "triggers/ScheduledLock.h"
#include "ui/StatusItem.h"

#include <QAction>
#include <QDateTimeEdit>
#include <QMenu>
#include <QTest>

using namespace std::chrono_literals;

namespace {
QDateTime at(int hour, int minute, int second = 0)
{
    return QDateTime(QDate(2026, 11, 21), QTime(hour, minute, second));
}

} // namespace

class TestScheduledLock : public QObject
{
    Q_OBJECT
private slots:
    void secondsUntilAClockTime()
    {
        QCOMPARE(ScheduledLock::secondsUntil(0, 10, at(23, 50)), 1200);
        QCOMPARE(ScheduledLock::secondsUntil(10, 0, at(10, 0)), 86400);
        QCOMPARE(ScheduledLock::secondsUntil(10, 1, at(10, 0, 59)), 60); // seconds left out
        QCOMPARE(ScheduledLock::secondsUntil(9, 0, at(10, 0)), 23 * 3600);
    }

    void atStartUpTheSameMinuteMeansTomorrow()
    {
        TestLibrary library;
        library.configure("<key>useTimer</key><true/><key>hour</key><integer>12</integer>"
                          "<key>minute</key><integer>0</integer>");
        StartedProgram program(library.folder(), true, at(12, 0, 30));
        program.scheduler.advance(86399s);
        QVERIFY(!program.delegate->isLockActive());
        program.scheduler.advance(1s);
        QVERIFY(program.delegate->isLockActive());
    }

    void atStartUpAMinuteAheadIsSixtySecondsWhateverTheSecond()
    {
        TestLibrary library;
        library.configure("<key>useTimer</key><true/><key>hour</key><integer>12</integer>"
                          "<key>minute</key><integer>1</integer>");
        StartedProgram program(library.folder(), true, at(12, 0, 45));
        program.scheduler.advance(59s);
        QVERIFY(!program.delegate->isLockActive());
        program.scheduler.advance(1s);
        QVERIFY(program.delegate->isLockActive());
    }

    void withTheDailyLockOffNothingIsArmedAtStartUp()
    {
        TestLibrary library;
        library.configure(
            "<key>hour</key><integer>12</integer><key>minute</key><integer>1</integer>");
        StartedProgram program(library.folder(), true, at(12, 0));
        QVERIFY(!program.delegate->scheduledLock()->dailyArmed());
        QVERIFY(!program.delegate->timePicker()->isEnabled());
    }

    void pickingATimeArmsItAndWritesIt()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder(), true, at(23, 50));
        program.delegate->time(at(0, 10));
        program.scheduler.advance(1199s);
        QVERIFY(!program.delegate->isLockActive());
        program.scheduler.advance(1s);
        QVERIFY(program.delegate->isLockActive());
        const auto keys = *library.properties();
        QCOMPARE(keys.value("hour"), QString("integer:0"));
        QCOMPARE(keys.value("minute"), QString("integer:10"));
        QVERIFY(keys.contains("date"));
    }

    void theDailyLockFiresOnceOnly()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder(), true, at(10, 0));
        program.delegate->time(at(10, 5));
        program.scheduler.advance(300s);
        QVERIFY(program.delegate->isLockActive());
        program.delegate->unlock();
        program.scheduler.advance(std::chrono::hours(25));
        QVERIFY(!program.delegate->isLockActive());
    }

    void switchingTheDailyLock()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder(), true, at(8, 0));
        program.delegate->timePicker()->setDateTime(at(9, 30));
        program.delegate->toggleUseTimer();
        QVERIFY(program.delegate->timePicker()->isEnabled());
        QVERIFY(program.delegate->scheduledLock()->dailyArmed());
        auto keys = *library.properties();
        QCOMPARE(keys.value("useTimer"), QString("boolean:true"));
        QCOMPARE(keys.value("hour"), QString("integer:9"));
        QCOMPARE(keys.value("minute"), QString("integer:30"));
        program.delegate->toggleUseTimer();
        QVERIFY(!program.delegate->timePicker()->isEnabled());
        QVERIFY(!program.delegate->scheduledLock()->dailyArmed());
        QCOMPARE(library.properties()->value("useTimer"), QString("boolean:false"));
        program.scheduler.advance(std::chrono::hours(2));
        QVERIFY(!program.delegate->isLockActive());
    }

    void theDelayMenuHoldsTwelveEntries()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        QStringList titles;
        for (QAction* item : program.delegate->statusItem()->lockoutItem()->menu()->actions())
            titles << item->text();
        QCOMPARE(titles.size(), 12);
        QCOMPARE(titles.first(), QString("5 minutes"));
        QCOMPARE(titles.last(), QString("60 minutes"));
    }

    void theLaterChoiceReplacesTheEarlier()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        const QList<QAction*> items = program.delegate->scheduledLock()->delayItems();
        items[1]->trigger(); // 10 minutes
        items[0]->trigger(); // 5 minutes
        QVERIFY(items[0]->isChecked());
        QVERIFY(!items[1]->isChecked());
        program.scheduler.advance(299s);
        QVERIFY(!program.delegate->isLockActive());
        program.scheduler.advance(1s);
        QVERIFY(program.delegate->isLockActive());
        QVERIFY(items[0]->isChecked()); // the mark stays after the lock
    }

    void theCheckedChoiceAgainCancels()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        const QList<QAction*> items = program.delegate->scheduledLock()->delayItems();
        items[2]->trigger();
        items[2]->trigger();
        QVERIFY(!items[2]->isChecked());
        program.scheduler.advance(std::chrono::hours(2));
        QVERIFY(!program.delegate->isLockActive());
    }

    void aTitleWithoutANumberLocksAtOnce()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        QAction odd("soon");
        odd.setCheckable(true);
        program.delegate->timeLockout(&odd);
        program.scheduler.advance(0ms);
        QVERIFY(program.delegate->isLockActive());
    }
};

QTEST_MAIN(TestScheduledLock)
#include "test_scheduled_lock.moc"
