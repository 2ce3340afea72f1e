#include "triggers/ScriptingInterface.h"

#include "app/AppDelegate.h"

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
        m_delegate.lockAppleScript();
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
