#include "triggers/ScriptingInterface.h"

#include "app/AppDelegate.h"
#include "platform/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>

ScriptingInterface::ScriptingInterface(AppDelegate& delegate, QObject* parent)
    : QObject(parent), m_delegate(delegate)
{
}

int ScriptingInterface::mail()
{
    // Reading the count is how the mail script signals itself; the side effect is kept.
    m_delegate.changeBackBrightness();
    return 1;
}

void ScriptingInterface::setMail(int count)
{
    emit mailReported(count);
}

void ScriptingInterface::setLock(int value)
{
    if (value == 1)
        lockAndReport();
}

void ScriptingInterface::lockScreen()
{
    if (!lockAndReport() && calledFromDBus())
        sendErrorReply(QString::fromLatin1(inputHeldElsewhereError),
                       QString::fromLatin1(inputHeldElsewhereMessage));
}

bool ScriptingInterface::lockAndReport()
{
    m_delegate.lockAppleScript();
    // The grabs were asked for before the lock request returns: nobody is told that the screen
    // is locked while another program still holds the keyboard or the pointer. A property write
    // cannot be answered with an error, so that caller learns it from the log.
    if (m_delegate.holdsInput())
        return true;
    Log::line(QStringLiteral("Locking: ") + QString::fromLatin1(inputHeldElsewhereMessage));
    return false;
}

void ScriptingInterface::WaitUntilShown()
{
    if (!calledFromDBus())
        return;
    setDelayedReply(true);
    QDBusConnection bus = connection();
    const QDBusMessage reply = message().createReply();
    m_delegate.whenLockShown([bus, reply]() mutable { bus.send(reply); });
}
