#include "platform/ScriptRunner.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QTimer>

#include <csignal>
#include <unistd.h>

#ifndef TESSARINE_SCRIPTS_FROM_BIN
#define TESSARINE_SCRIPTS_FROM_BIN "../share/tessarine/scripts"
#endif

QString ProcessScriptRunner::scriptsFolder()
{
    const QByteArray moved = qgetenv("TESSARINE_SCRIPTS_DIR");
    if (!moved.isEmpty())
        return QString::fromLocal8Bit(moved);
    const QString bin = QCoreApplication::applicationDirPath();
    // Installed: <prefix>/bin/tessarine and <prefix>/share/tessarine/scripts, found from the
    // binary's folder so that the installed tree may be moved.
    const QString installed = bin + QStringLiteral("/" TESSARINE_SCRIPTS_FROM_BIN);
    if (QFileInfo(installed).isDir())
        return QFileInfo(installed).canonicalFilePath();
    // In the build tree the scripts are copied beside the binary.
    return bin + QStringLiteral("/scripts");
}

QString ProcessScriptRunner::pathOf(const QString& name)
{
    return scriptsFolder() + QLatin1Char('/') + name;
}

void ProcessScriptRunner::runAndWait(const QString& name)
{
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(pathOf(name), {});
    // A script that hangs must not hold the lock's dimming for ever.
    if (process.waitForStarted(2000) && !process.waitForFinished(10000))
        process.kill();
}

void ProcessScriptRunner::start(const QString& name)
{
    QProcess::startDetached(pathOf(name), {});
}

void ProcessScriptRunner::run(const QString& name, std::chrono::milliseconds limit,
                              std::function<void(const ScriptOutcome&)> done)
{
    const QString path = pathOf(name);
    const QFileInfo file(path);
    if (!file.isFile() || !file.isExecutable()) {
        done({ScriptOutcome::Missing, QStringLiteral("no executable script at %1").arg(path)});
        return;
    }
    auto* process = new QProcess;
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    // The scripts answer through this same program's command line.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TESSARINE"), QCoreApplication::applicationFilePath());
    process->setProcessEnvironment(environment);
    // A group of its own, so that a script that hangs is killed with whatever it started.
    process->setChildProcessModifier([] { ::setpgid(0, 0); });
    auto* watchdog = new QTimer(process);
    watchdog->setSingleShot(true);
    auto timedOut = std::make_shared<bool>(false);
    QObject::connect(watchdog, &QTimer::timeout, process, [process, timedOut] {
        *timedOut = true;
        if (process->processId() > 0)
            ::kill(-pid_t(process->processId()), SIGKILL);
        process->kill();
    });
    QObject::connect(
        process, &QProcess::finished, process,
        [process, done, timedOut, limit](int code, QProcess::ExitStatus status) {
            if (*timedOut)
                done({ScriptOutcome::TimedOut,
                      QStringLiteral("killed after %1 ms").arg(qint64(limit.count()))});
            else if (status != QProcess::NormalExit)
                done({ScriptOutcome::Failed, QStringLiteral("crashed")});
            else if (code != 0)
                done({ScriptOutcome::Failed, QStringLiteral("exit status %1").arg(code)});
            else
                done({ScriptOutcome::Finished, {}});
            process->deleteLater();
        });
    QObject::connect(process, &QProcess::errorOccurred, process,
                     [process, done](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart)
                             return;
                         done({ScriptOutcome::Missing, process->errorString()});
                         process->deleteLater();
                     });
    process->start(path, {});
    watchdog->start(int(limit.count()));
}
