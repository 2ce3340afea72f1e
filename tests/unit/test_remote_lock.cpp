#include "StartedProgram.h"

#include "app/CommandLine.h"
#include "input/PasswordFile.h"
#include "triggers/ScriptingInterface.h"

#include <QDBusVariant>
#include <QSignalSpy>
#include <QTest>

#include <cmath>

using namespace std::chrono_literals;

class TestRemoteLock : public QObject
{
    Q_OBJECT
private slots:
    void aValueIsTakenThroughItsIntegerValue_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<int>("integer");
        QTest::newRow("int") << QVariant(3) << 3;
        QTest::newRow("real cut toward zero") << QVariant(2.6) << 2;
        QTest::newRow("small real") << QVariant(0.6) << 0;
        QTest::newRow("one and a half") << QVariant(1.5) << 1;
        QTest::newRow("negative real") << QVariant(-1.9) << -1;
        QTest::newRow("huge real") << QVariant(1e300) << 2147483647;
        QTest::newRow("not a number") << QVariant(std::nan("")) << 0;
        QTest::newRow("64-bit") << QVariant(qlonglong(4294967297LL)) << 2147483647;
        QTest::newRow("unsigned 64-bit")
            << QVariant(qulonglong(18446744073709551615ULL)) << 2147483647;
        QTest::newRow("byte") << QVariant::fromValue(uchar(1)) << 1;
        QTest::newRow("true") << QVariant(true) << 1;
        QTest::newRow("false") << QVariant(false) << 0;
        QTest::newRow("digits") << QVariant(QStringLiteral("1")) << 1;
        QTest::newRow("digits then words") << QVariant(QStringLiteral(" 12 mails")) << 12;
        QTest::newRow("signed") << QVariant(QStringLiteral("-4")) << -4;
        QTest::newRow("word") << QVariant(QStringLiteral("one")) << 0;
        QTest::newRow("long digits")
            << QVariant(QStringLiteral("99999999999999999999")) << 2147483647;
        QTest::newRow("other digits") << QVariant(QStringLiteral("\u0661")) << 0;
        QTest::newRow("list") << QVariant::fromValue(QList<int>{1}) << 0;
        QTest::newRow("variant") << QVariant::fromValue(QDBusVariant(QVariant(1.2))) << 1;
        QTest::newRow("nothing") << QVariant() << 0;
    }
    void aValueIsTakenThroughItsIntegerValue()
    {
        QFETCH(QVariant, value);
        QFETCH(int, integer);
        QCOMPARE(ScriptingInterface::intValue(value), integer);
    }

    void onlyOneLocks_data()
    {
        QTest::addColumn<int>("value");
        QTest::addColumn<bool>("locks");
        QTest::newRow("1") << 1 << true;
        QTest::newRow("2") << 2 << false;
        QTest::newRow("0") << 0 << false;
        QTest::newRow("-1") << -1 << false;
        QTest::newRow("big") << 65537 << false;
    }
    void onlyOneLocks()
    {
        QFETCH(int, value);
        QFETCH(bool, locks);
        TestLibrary library;
        library.writeProperties("");
        PasswordFile::write(library.passwordPath(), {"a"});
        StartedProgram program(library.folder());
        program.delegate->scriptingInterface()->setLock(value);
        QCOMPARE(program.delegate->isLockActive(), locks);
    }

    void readingLockAnswersOneLockedOrNot()
    {
        TestLibrary library;
        library.writeProperties("");
        PasswordFile::write(library.passwordPath(), {"a"});
        StartedProgram program(library.folder());
        QCOMPARE(program.delegate->scriptingInterface()->lock(), 1);
        program.delegate->lock();
        QCOMPARE(program.delegate->scriptingInterface()->lock(), 1);
    }

    void readingMailAnswersOneAndMarksTheBrightness()
    {
        TestLibrary library;
        library.writeProperties("");
        StartedProgram program(library.folder());
        QVERIFY(!program.delegate->backBrightnessChanged());
        QCOMPARE(program.delegate->scriptingInterface()->mail(), 1);
        QVERIFY(program.delegate->backBrightnessChanged());
    }

    void aMailCountIsPassedOnAsItCame()
    {
        TestLibrary library;
        library.writeProperties("");
        StartedProgram program(library.folder());
        QSignalSpy reports(program.delegate->scriptingInterface(),
                           &ScriptingInterface::mailReported);
        program.delegate->scriptingInterface()->setMail(3);
        program.delegate->scriptingInterface()->setMail(-7);
        QCOMPARE(reports.size(), 2);
        QCOMPARE(reports.at(0).at(0).toInt(), 3);
        QCOMPARE(reports.at(1).at(0).toInt(), -7);
    }

    void theCommandLine()
    {
        using Action = CommandLine::Action;
        QCOMPARE(CommandLine::parse({"tessarine"}).action, Action::Run);
        QCOMPARE(CommandLine::parse({"tessarine", "lock"}).action, Action::Lock);
        QCOMPARE(CommandLine::parse({"tessarine", "--help"}).action, Action::Help);
        QCOMPARE(CommandLine::parse({"tessarine", "-h"}).action, Action::Help);
        QCOMPARE(CommandLine::parse({"tessarine", "--version"}).action, Action::Version);
        const auto mail = CommandLine::parse({"tessarine", "mail", "12"});
        QCOMPARE(mail.action, Action::Mail);
        QCOMPARE(mail.mailCount, 12);
        const auto bad = CommandLine::parse({"tessarine", "mail", "lots"});
        QCOMPARE(bad.action, Action::Invalid);
        QVERIFY(bad.error.find("lots") != std::string::npos);
        QCOMPARE(CommandLine::parse({"tessarine", "mail"}).action, Action::Invalid);
        QCOMPARE(CommandLine::parse({"tessarine", "lock", "now"}).action, Action::Invalid);
        QCOMPARE(CommandLine::parse({"tessarine", "unlock"}).action, Action::Invalid);
        QCOMPARE(CommandLine::parse({"tessarine", "mail", "99999999999"}).action, Action::Invalid);
        QCOMPARE(CommandLine::parse({"tessarine", "mail", "-3"}).mailCount, -3);
        QVERIFY(CommandLine::helpText().find("lock") != std::string::npos);
        QCOMPARE(CommandLine::versionText().rfind("tessarine ", 0), size_t(0));
    }
};

QTEST_MAIN(TestRemoteLock)
#include "test_remote_lock.moc"
