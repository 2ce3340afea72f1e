#include "ManualScheduler.h"

#include "input/PasswordBuffer.h"
#include "input/PasswordMatcher.h"

#include <QTest>

using Outcome = PasswordMatcher::Outcome;

namespace {
void storePassword(std::optional<QStringList> entries)
{
    PasswordBuffer::load(std::move(entries));
    PasswordBuffer::setUnlocking(false);
    PasswordBuffer::setLastNudgeTime(0);
}
} // namespace

class TestPasswordMatcher : public QObject
{
    Q_OBJECT
private slots:
    void withNoPasswordFileAnyKeyUnlocksInBothModes()
    {
        FakeClock clock;
        for (bool inOrder : {true, false}) {
            storePassword(std::nullopt);
            PasswordMatcher matcher(clock);
            QCOMPARE(matcher.keyPressed("q", inOrder), Outcome::Unlock);
            QVERIFY(PasswordBuffer::getUnlocking());
        }
    }

    void anEmptyPasswordUnlocksAtOnceAsAChord()
    {
        FakeClock clock;
        storePassword(QStringList());
        PasswordMatcher matcher(clock);
        QCOMPARE(matcher.keyPressed("z", false), Outcome::Unlock);
    }

    void anEmptyPasswordNeverUnlocksInOrder()
    {
        FakeClock clock;
        storePassword(QStringList());
        PasswordMatcher matcher(clock);
        for (const char* key : {"a", "\r", " "}) {
            QCOMPARE(matcher.keyPressed(key, true), Outcome::Nothing);
            clock.advanceSeconds(1);
        }
        QVERIFY(!PasswordBuffer::getUnlocking());
    }

    void aChordInAnyOrderWithinASecondUnlocks()
    {
        FakeClock clock;
        storePassword(QStringList({"a", "b"}));
        PasswordMatcher matcher(clock);
        QCOMPARE(matcher.keyPressed("b", false), Outcome::Nudge);
        clock.advanceSeconds(0.9);
        QCOMPARE(matcher.keyPressed("a", false), Outcome::Unlock);
        QCOMPARE(PasswordBuffer::matchFlags(), QList<int>({0, 0}));
    }

    void aPauseOfASecondStartsTheChordAgain()
    {
        FakeClock clock;
        storePassword(QStringList({"a", "b"}));
        PasswordMatcher matcher(clock);
        matcher.keyPressed("a", false);
        clock.advanceSeconds(1.0);
        QCOMPARE(matcher.keyPressed("b", false), Outcome::Nudge);
        QCOMPARE(PasswordBuffer::matchFlags(), QList<int>({0, 1}));
    }

    void aRepeatedCharacterNeedsAsManyPresses()
    {
        FakeClock clock;
        storePassword(QStringList({"a", "a"}));
        PasswordMatcher matcher(clock);
        matcher.keyPressed("a", false);
        QCOMPARE(PasswordBuffer::matchFlags(), QList<int>({1, 0}));
        clock.advanceSeconds(0.1);
        QCOMPARE(matcher.keyPressed("a", false), Outcome::Unlock);
    }

    void aForeignKeyClearsTheChord()
    {
        FakeClock clock;
        storePassword(QStringList({"a", "a"}));
        PasswordMatcher matcher(clock);
        matcher.keyPressed("a", false);
        clock.advanceSeconds(0.1);
        matcher.keyPressed("x", false);
        QCOMPARE(PasswordBuffer::matchFlags(), QList<int>({0, 0}));
        QCOMPARE(matcher.lastTime(), 0.0);
    }

    void aKeyMatchedAlreadyChangesNothing()
    {
        FakeClock clock;
        storePassword(QStringList({"a", "b", "c"}));
        PasswordMatcher matcher(clock);
        matcher.keyPressed("a", false);
        clock.advanceSeconds(0.5);
        matcher.keyPressed("a", false);
        QCOMPARE(PasswordBuffer::matchFlags(), QList<int>({1, 0, 0}));
    }

    void inOrderAMismatchRestartsFromTheNextKey()
    {
        FakeClock clock;
        storePassword(QStringList({"a", "b", "c"}));
        PasswordMatcher matcher(clock);
        Outcome last = Outcome::Nothing;
        for (const char* key : {"a", "b", "x", "a", "b", "c"}) {
            last = matcher.keyPressed(key, true);
            clock.advanceSeconds(0.5);
        }
        QCOMPARE(last, Outcome::Unlock);
    }

    void inOrderTheMismatchingKeyIsNotTriedAgain()
    {
        FakeClock clock;
        storePassword(QStringList({"a", "a", "b"}));
        PasswordMatcher matcher(clock);
        Outcome last = Outcome::Nothing;
        for (const char* key : {"a", "a", "a", "b"}) {
            last = matcher.keyPressed(key, true);
            clock.advanceSeconds(0.5);
        }
        QVERIFY(last != Outcome::Unlock);
        QVERIFY(!PasswordBuffer::getUnlocking());
    }

    void charactersCompareCaseSensitively()
    {
        FakeClock clock;
        storePassword(QStringList({"A"}));
        PasswordMatcher matcher(clock);
        QCOMPARE(matcher.keyPressed("a", true), Outcome::Nudge);
        clock.advanceSeconds(1);
        QCOMPARE(matcher.keyPressed("a", false), Outcome::Nudge);
        clock.advanceSeconds(1);
        QCOMPARE(matcher.keyPressed("A", true), Outcome::Unlock);
    }

    void twoWrongKeysWithinPointFourSecondsNudgeOnce()
    {
        FakeClock clock;
        storePassword(QStringList({"p", "w"}));
        PasswordMatcher matcher(clock);
        QCOMPARE(matcher.keyPressed("x", true), Outcome::Nudge);
        clock.advanceSeconds(0.3);
        QCOMPARE(matcher.keyPressed("y", true), Outcome::Nothing);
        clock.advanceSeconds(0.2);
        QCOMPARE(matcher.keyPressed("z", true), Outcome::Nudge);
    }

    void noNudgeOnceUnlocking()
    {
        FakeClock clock;
        storePassword(QStringList({"p"}));
        PasswordBuffer::setUnlocking(true);
        PasswordMatcher matcher(clock);
        QCOMPARE(matcher.keyPressed("x", true), Outcome::Nothing);
    }

    void theWholePasswordInTheSecureField()
    {
        FakeClock clock;
        storePassword(QStringList({"p", "w"}));
        PasswordMatcher matcher(clock);
        QCOMPARE(matcher.passwordEntered(""), Outcome::Nothing);
        QCOMPARE(matcher.passwordEntered("pW"), Outcome::Nudge);
        QVERIFY(!PasswordBuffer::getUnlocking());
        QCOMPARE(matcher.passwordEntered("pw"), Outcome::Unlock);
        QVERIFY(PasswordBuffer::getUnlocking());
    }

    void rebuildingKeepsTheLowByteOfEachUnit()
    {
        PasswordBuffer::rebuildFrom(QString::fromUtf8("a\u00e9\u20ac"));
        QCOMPARE(*PasswordBuffer::buffer(),
                 QStringList({"a", QString::fromUtf8("\u00e9"), QString::fromUtf8("\u00ac")}));
        QCOMPARE(PasswordBuffer::matchFlags(), QList<int>({0, 0, 0}));
    }

    void removingLeavesTheFlagsLonger()
    {
        PasswordBuffer::rebuildFrom("ab");
        PasswordBuffer::removeFromPassword();
        QCOMPARE(*PasswordBuffer::buffer(), QStringList({"a"}));
        QCOMPARE(PasswordBuffer::matchFlags().size(), 2);
        PasswordBuffer::resetPassword();
        PasswordBuffer::removeFromPassword();
        QVERIFY(PasswordBuffer::buffer()->isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestPasswordMatcher)
#include "test_password_matcher.moc"
