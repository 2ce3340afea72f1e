#include "platform/ScriptRunner.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

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
