#include "platform/ScriptRunner.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace std::chrono_literals;

namespace {

void writeScript(const QString& path, const QByteArray& body)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("#!/bin/sh\n" + body);
    file.close();
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

bool processAlive(qint64 pid)
{
    return pid > 0 && ::kill(pid_t(pid), 0) == 0;
}

} // namespace

class TestScriptRunner : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        QVERIFY(m_scripts.isValid());
        qputenv("TESSARINE_SCRIPTS_DIR", m_scripts.path().toLocal8Bit());
    }

    void aScriptThatEndsWellReportsSo()
    {
        writeScript(m_scripts.filePath("Mail"), "exit 0\n");
        const ScriptOutcome end = runAndWait("Mail", 3000ms);
        QCOMPARE(end.kind, ScriptOutcome::Finished);
    }

    void aMissingScriptCannotBeLoaded()
    {
        const ScriptOutcome end = runAndWait("Nowhere", 3000ms);
        QCOMPARE(end.kind, ScriptOutcome::Missing);
        QVERIFY(end.detail.contains("Nowhere"));
    }

    void aFailingScriptReportsItsStatus()
    {
        writeScript(m_scripts.filePath("Mail"), "exit 3\n");
        const ScriptOutcome end = runAndWait("Mail", 3000ms);
        QCOMPARE(end.kind, ScriptOutcome::Failed);
        QCOMPARE(end.detail, QString("exit status 3"));
    }

    void aHangingScriptIsKilledWithWhatItStarted()
    {
        // The script starts a child of its own and then waits for ever.
        const QString child = m_scripts.filePath("child.pid");
        writeScript(m_scripts.filePath("Mail"),
                    "sleep 600 &\necho $! >'" + child.toLocal8Bit() + "'\nwait\n");
        QElapsedTimer clock;
        clock.start();
        const ScriptOutcome end = runAndWait("Mail", 300ms);
        QCOMPARE(end.kind, ScriptOutcome::TimedOut);
        QVERIFY(clock.elapsed() < 3000);
        QFile pidFile(child);
        QVERIFY(pidFile.open(QIODevice::ReadOnly));
        const qint64 pid = pidFile.readAll().trimmed().toLongLong();
        QTRY_VERIFY_WITH_TIMEOUT(!processAlive(pid), 2000);
    }

    void theShippedMailScriptCountsUnreadMessages()
    {
        // A Maildir with two new messages, one seen and one unseen in cur/.
        QTemporaryDir home;
        QDir maildir(home.filePath("Maildir"));
        for (const char* sub : {"new", "cur", "tmp"})
            QVERIFY(maildir.mkpath(sub));
        for (const char* name :
             {"new/1.host", "new/2.host", "cur/3.host:2,S", "cur/4.host:2,RF", "tmp/5.host"}) {
            QFile message(maildir.filePath(name));
            QVERIFY(message.open(QIODevice::WriteOnly));
        }
        // The program's own command line is stood in for by a recorder.
        const QString said = home.filePath("said");
        writeScript(home.filePath("tessarine"), "echo \"$@\" >'" + said.toLocal8Bit() + "'\n");
        QProcess script;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("HOME", home.path());
        environment.remove("MAILDIR");
        environment.insert("TESSARINE", home.filePath("tessarine"));
        script.setProcessEnvironment(environment);
        script.start(QStringLiteral(TESSARINE_SOURCE_DIR "/resources/scripts/Mail"), {});
        QVERIFY(script.waitForFinished(5000));
        QCOMPARE(script.exitCode(), 0);
        QFile result(said);
        QVERIFY(result.open(QIODevice::ReadOnly));
        QCOMPARE(result.readAll().trimmed(), QByteArray("mail 3"));
    }

private:
    ScriptOutcome runAndWait(const QString& name, std::chrono::milliseconds limit)
    {
        std::optional<ScriptOutcome> outcome;
        m_runner.run(name, limit, [&outcome](const ScriptOutcome& end) { outcome = end; });
        if (!QTest::qWaitFor([&outcome] { return outcome.has_value(); }, 5000))
            qWarning("the script runner gave no answer");
        // No answer at all counts as a failure of its own kind.
        return outcome.value_or(ScriptOutcome{ScriptOutcome::Failed, QStringLiteral("no answer")});
    }

    QTemporaryDir m_scripts;
    ProcessScriptRunner m_runner;
};

QTEST_MAIN(TestScriptRunner)
#include "test_script_runner.moc"
