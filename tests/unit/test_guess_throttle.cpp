#include "ManualScheduler.h"
#include "input/GuessThrottle.h"

#include <QTest>

#include <algorithm>
#include <functional>
#include <vector>

// The keys of a de Bruijn sequence of order 4 over the ten digits: every four-digit string
// appears in it once, in 10,003 keys.
static QString deBruijnDigits()
{
    const int k = 10;
    const int n = 4;
    std::vector<int> a(size_t(k * n), 0);
    QString sequence;
    std::function<void(int, int)> db = [&](int t, int p) {
        if (t > n) {
            if (n % p == 0)
                for (int j = 1; j <= p; ++j)
                    sequence.append(QChar('0' + a[size_t(j)]));
            return;
        }
        a[size_t(t)] = a[size_t(t - p)];
        db(t + 1, p);
        for (int j = a[size_t(t - p)] + 1; j < k; ++j) {
            a[size_t(t)] = j;
            db(t + 1, t);
        }
    };
    db(1, 1);
    return sequence + sequence.left(n - 1);
}

class TestGuessThrottle : public QObject
{
    Q_OBJECT
private slots:
    void aPersonTypingIsNeverSlowed()
    {
        FakeClock clock;
        GuessThrottle throttle(clock);
        throttle.reset();
        for (int i = 0; i < GuessThrottle::freeKeys - 1; ++i) {
            QVERIFY(throttle.admit());
            throttle.keyCompletedNothing();
            clock.advanceSeconds(0.001);
        }
        QVERIFY(!throttle.isSlow());
    }

    void aDeBruijnStreamTakesMoreThanAnHour()
    {
        const QString stream = deBruijnDigits();
        QCOMPARE(stream.size(), 10003);
        FakeClock clock;
        GuessThrottle throttle(clock);
        throttle.reset();
        const double start = clock.absoluteSeconds();
        // The machine types as fast as the keys are taken: a dropped key is typed again the
        // moment the next one would be taken (and a millisecond later at the soonest).
        for (int i = 0; i < stream.size(); ++i) {
            while (!throttle.admit())
                clock.advanceSeconds(std::max(0.001, throttle.secondsUntilNextKey()));
            throttle.keyCompletedNothing();
            clock.advanceSeconds(0.001);
        }
        QVERIFY(throttle.isSlow());
        const double hours = (clock.absoluteSeconds() - start) / 3600.0;
        QVERIFY2(hours > 1.0, qPrintable(QString::number(hours)));
    }

    void onceSlowAPasswordTypedAtOnceStillGoesThrough()
    {
        FakeClock clock;
        GuessThrottle throttle(clock);
        throttle.reset();
        for (int i = 0; i < GuessThrottle::freeKeys; ++i) {
            QVERIFY(throttle.admit());
            throttle.keyCompletedNothing();
        }
        QVERIFY(throttle.isSlow());
        // A burst: a password of twelve keys, typed 80 ms apart, or as a chord.
        for (int i = 0; i < 12; ++i) {
            QVERIFY(throttle.admit());
            clock.advanceSeconds(0.08);
        }
        // After a burst of sixteen the next key waits.
        for (int i = 0; i < 4; ++i)
            QVERIFY(throttle.admit());
        QVERIFY(!throttle.admit());
        QVERIFY(throttle.secondsUntilNextKey() > 0);
        clock.advanceSeconds(GuessThrottle::refillSeconds);
        QVERIFY(throttle.admit());
    }

    void aNewLockStartsAgain()
    {
        FakeClock clock;
        GuessThrottle throttle(clock);
        for (int i = 0; i < GuessThrottle::freeKeys; ++i)
            throttle.keyCompletedNothing();
        QVERIFY(throttle.isSlow());
        throttle.reset();
        QVERIFY(!throttle.isSlow());
        QVERIFY(throttle.admit());
    }
};

QTEST_GUILESS_MAIN(TestGuessThrottle)
#include "test_guess_throttle.moc"
