#include "StartedProgram.h"

#include "input/KeySequence.h"
#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "input/WindowController.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockSwing.h"
#include "lockscreen/LockWindow.h"
#include "platform/KeyTranslation.h"

#include <QLabel>
#include <QLineEdit>
#include <QPropertyAnimation>
#include <QTest>

#include <cmath>

using namespace std::chrono_literals;

namespace {
constexpr int up = 126, down = 125, left = 123, right = 124, keyB = 11, keyA = 0;

void configure(const TestLibrary& library, const QString& options,
               const QStringList& password = {"a", "b"})
{
    library.configure(options, password);
}

// The angle the lock image is swinging to, 0 when it is not swinging.
double swingAngle(AppDelegate& delegate)
{
    auto* swing = delegate.views()->lockImage()->findChild<QPropertyAnimation*>("swing");
    return swing ? swing->keyValueAt(0.5).toDouble() : 0.0;
}

TranslatedKey key(int code, const QString& characters)
{
    TranslatedKey k;
    k.keyCode = code;
    k.characters = characters;
    return k;
}
} // namespace

class TestKeys : public QObject
{
    Q_OBJECT
private slots:
    void theSequenceTurnsTheClockBlueAndStartsAgain()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.delegate->lock();
        for (int code : {up, up, down, down, left, right, left, right, keyB, keyA})
            program.delegate->windowController()->keyDown(key(code, "x"));
        QCOMPARE(program.delegate->views()->time()->palette().color(QPalette::WindowText),
                 QColor(Qt::blue));
        // The progress starts again from nothing: the whole sequence works a second time.
        program.delegate->views()->applyTextColours(false);
        for (int code : {up, up, down, down, left, right, left, right, keyB})
            program.delegate->windowController()->keyDown(key(code, "x"));
        QCOMPARE(program.delegate->views()->time()->palette().color(QPalette::WindowText),
                 QColor(Qt::white));
        program.delegate->windowController()->keyDown(key(keyA, "x"));
        QCOMPARE(program.delegate->views()->time()->palette().color(QPalette::WindowText),
                 QColor(Qt::blue));
    }

    void aWrongKeyResetsTheSequenceAndIsNoFirstStep()
    {
        KeySequence sequence;
        sequence.konami(up);
        sequence.konami(up);
        sequence.konami(up); // wrong at step 3, though it is an Up
        QCOMPARE(sequence.progress(), 0);
        for (int code : {up, down, down, left, right, left, right, keyB, keyA})
            QVERIFY(!sequence.konami(code));
        QCOMPARE(sequence.progress(), 0);
    }

    void keysOutsideTheSequenceDoNotReachIt()
    {
        QVERIFY(KeySequence::isSequenceKey(up));
        QVERIFY(KeySequence::isSequenceKey(keyA));
        QVERIFY(!KeySequence::isSequenceKey(7));
        QVERIFY(!KeySequence::isSequenceKey(36));
    }

    void leftAndRightHandKeys()
    {
        for (char c : QByteArray("123456acdefgqrstvwxz"))
            QVERIFY2(KeyboardSides::isLeftKey(c), &c);
        for (char c : QByteArray("7890bhijklmnopuyQA !"))
            QVERIFY2(!KeyboardSides::isLeftKey(c), &c);
        QVERIFY(!KeyboardSides::isLeftKey(-23)); // a byte above 127, read as signed
    }

    void theSwingShrinksAndAlternates()
    {
        const double h = 200;
        const double a0 = LockSwing::angle(0, h, false);
        const double a1 = LockSwing::angle(0.2, h, false);
        const double a2 = LockSwing::angle(0.4, h, false);
        QCOMPARE(a0, std::asin(40.0 / h));
        QVERIFY(a1 < 0 && a2 > 0);
        QVERIFY(std::fabs(2 * 20 * std::exp(-0.6) / h - std::sin(-a1)) < 1e-3);
        QVERIFY(std::fabs(a2) < std::fabs(a1) && std::fabs(a1) < a0);
        QVERIFY(LockSwing::angle(0, h, true) < 0); // the right hand starts the other way
        QVERIFY(std::isnan(LockSwing::angle(0, 0, false)));
    }

    void leftAndRightKeysSwingTheLockOppositeWays()
    {
        TestLibrary library;
        library.configure("<key>wiggleLock</key><true/>");
        StartedProgram program(library.folder());
        program.delegate->views()->lockImage()->resize(200, 200);
        program.delegate->lock();
        program.delegate->keyPressed("q");
        QVERIFY(swingAngle(*program.delegate) > 0);
        program.clock.advanceSeconds(0.7);
        program.delegate->keyPressed("p");
        QVERIFY(swingAngle(*program.delegate) < 0);
        program.clock.advanceSeconds(0.7);
        program.delegate->keyPressed("Q");
        QVERIFY(swingAngle(*program.delegate) < 0);
    }

    void keysHalfASecondApartSwingOnlyEverySecondPress()
    {
        TestLibrary library;
        library.configure("<key>wiggleLock</key><true/>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        QList<double> swung;
        for (int i = 0; i < 4; ++i) {
            program.delegate->keyPressed("x");
            swung << program.delegate->lastRotationTime();
            program.clock.advanceSeconds(0.5);
        }
        QCOMPARE(swung[1], swung[0]);
        QVERIFY(swung[2] > swung[1]);
        QCOMPARE(swung[3], swung[2]);
    }

    void keysPointSevenSecondsApartSwingEachTime()
    {
        TestLibrary library;
        library.configure("<key>wiggleLock</key><true/>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        double last = 0;
        for (int i = 0; i < 3; ++i) {
            program.delegate->keyPressed("x");
            QVERIFY(program.delegate->lastRotationTime() > last);
            last = program.delegate->lastRotationTime();
            program.clock.advanceSeconds(0.7);
        }
    }

    void aDeadKeyWithTheSwingOnIsAbandoned()
    {
        // No password file: any key that reached the matcher would unlock.
        TestLibrary library;
        library.writeProperties("<key>wiggleLock</key><true/>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.delegate->keyPressed("");
        QVERIFY(program.delegate->isLockActive());
        // With the swing off the same key goes on to the matcher.
        TestLibrary plain;
        plain.writeProperties("<key>wiggleLock</key><false/>");
        StartedProgram other(plain.folder());
        other.delegate->lock();
        other.delegate->keyPressed("");
        QVERIFY(!other.delegate->isLockActive());
    }

    void afterTheMatchKeysReachNeitherTheMatcherNorTheSequence()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>3</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        program.delegate->windowController()->keyDown(key(keyA, "a"));
        program.delegate->windowController()->keyDown(key(keyB, "b"));
        QVERIFY(PasswordBuffer::getUnlocking());
        for (int code : {up, up, down, down, left, right, left, right, keyB, keyA})
            program.delegate->windowController()->keyDown(key(code, "x"));
        QCOMPARE(program.delegate->views()->time()->palette().color(QPalette::WindowText),
                 QColor(Qt::white));
    }

    void theRightPasswordUnlocksAndAWrongKeyNudges()
    {
        TestLibrary library;
        configure(library,
                  "<key>orderMatters</key><true/><key>closeAnimation</key><integer>1</integer>"
                  "<key>wiggleStrength</key><integer>20</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        program.delegate->windowController()->keyDown(key(7, "x"));
        QCOMPARE(program.motion.log.last(), QString("follow 0,0 > 0,-20 > 0,0 in 200"));
        program.clock.advanceSeconds(0.5);
        program.delegate->windowController()->keyDown(key(0, "a"));
        program.delegate->windowController()->keyDown(key(11, "b"));
        QVERIFY(PasswordBuffer::getUnlocking());
        QVERIFY(!program.delegate->getLocked());
        // Once unlocking, keys reach nothing.
        const QList<int> flags = PasswordBuffer::matchFlags();
        program.delegate->windowController()->keyDown(key(0, "a"));
        QCOMPARE(PasswordBuffer::matchFlags(), flags);
    }

    void theNudgeFollowsTheClosingDirection_data()
    {
        QTest::addColumn<int>("animation");
        QTest::addColumn<QString>("nudge");
        QTest::newRow("none") << 0 << "";
        QTest::newRow("up") << 1 << "follow 0,0 > 0,-15 > 0,0 in 200";
        QTest::newRow("down") << 2 << "follow 0,0 > 0,15 > 0,0 in 200";
        QTest::newRow("right") << 3 << "follow 0,0 > 15,0 > 0,0 in 200";
        QTest::newRow("left") << 4 << "follow 0,0 > -15,0 > 0,0 in 200";
        QTest::newRow("other") << 8 << "move 0,0";
    }
    void theNudgeFollowsTheClosingDirection()
    {
        QFETCH(int, animation);
        QFETCH(QString, nudge);
        TestLibrary library;
        library.configure(QStringLiteral("<key>closeAnimation</key><integer>%1</integer>"
                                         "<key>wiggleStrength</key><integer>15</integer>")
                              .arg(animation));
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        program.motion.log.clear();
        program.delegate->keyPressed("z");
        QCOMPARE(program.motion.log.join(QString()), nudge);
    }

    void theWholePasswordInTheSecureField()
    {
        TestLibrary library;
        configure(
            library,
            "<key>showDoNotDisturb</key><true/><key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(1s);
        QLineEdit* field = program.delegate->views()->enterPassword();
        field->show();
        field->setText("ba");
        program.delegate->passwordEntered();
        QVERIFY(program.motion.log.last().startsWith("follow"));
        QVERIFY(program.delegate->isLockActive());
        field->setText("ab");
        program.delegate->passwordEntered();
        QVERIFY(!program.delegate->isLockActive());
        QVERIFY(field->text().isEmpty());
    }

    void theSecurityLevelFlipsAndIsSaved()
    {
        TestLibrary library;
        library.configure("<key>orderMatters</key><false/>");
        StartedProgram program(library.folder());
        program.delegate->securityLevel();
        QCOMPARE(library.properties()->value("orderMatters"), QString("boolean:true"));
        program.delegate->securityLevel();
        QCOMPARE(library.properties()->value("orderMatters"), QString("boolean:false"));
    }

    void xKeysAreTranslatedToKeyCodesAndCharacters()
    {
        QCOMPARE(KeyTranslation::fromKeysym(0xff52, QString(), false).keyCode, 126);
        QCOMPARE(KeyTranslation::fromKeysym(0xff52, QString(), false).characters,
                 QString(QChar(0xf700)));
        QCOMPARE(KeyTranslation::fromKeysym(0xff0d, "\r", false).keyCode, 36);
        QCOMPARE(KeyTranslation::fromKeysym(0xff08, "\b", false).characters, QString("\x7f"));
        QCOMPARE(KeyTranslation::fromKeysym('a', "a", false).keyCode, 0);
        QCOMPARE(KeyTranslation::fromKeysym('B', "B", true).keyCode, 11);
        QCOMPARE(KeyTranslation::fromKeysym('B', "B", true).characters, QString("B"));
        QCOMPARE(KeyTranslation::fromKeysym(0xffe5, QString(), true).keyCode, 57);
        QCOMPARE(
            KeyTranslation::fromKeysym(0x10020ac, QString::fromUtf8("\u20ac"), false).characters,
            QString::fromUtf8("\u20ac"));
        QCOMPARE(KeyTranslation::keyCodeForCharacter('L'), 37);
        QCOMPARE(KeyTranslation::keyCodeForCharacter(QChar(0xe9)), -1);
    }
};

QTEST_MAIN(TestKeys)
#include "test_keys.moc"
