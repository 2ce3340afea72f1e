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
    if (value != 1)
        return;
    m_delegate.lockAppleScript();
    // A property write cannot be answered with an error, so that caller learns it from the log.
    m_delegate.whenInputHeld([](bool held) {
        if (!held)
            Log::line(QStringLiteral("Locking: ") + QString::fromLatin1(inputHeldElsewhereMessage));
    });
}

void ScriptingInterface::lockScreen()
{
    m_delegate.lockAppleScript();
    // Nobody is told that the screen is locked while another program still holds the keyboard
    // or the pointer: the answer waits for the grabs, or for the retries to give up.
    const bool fromBus = calledFromDBus();
    if (fromBus)
        setDelayedReply(true);
    QDBusConnection bus = fromBus ? connection() : QDBusConnection(QString());
    const QDBusMessage call = fromBus ? message() : QDBusMessage();
    m_delegate.whenInputHeld([fromBus, bus, call](bool held) mutable {
        if (!held)
            Log::line(QStringLiteral("Locking: ") + QString::fromLatin1(inputHeldElsewhereMessage));
        if (!fromBus)
            return;
        bus.send(held ? call.createReply()
                      : call.createErrorReply(QString::fromLatin1(inputHeldElsewhereError),
                                              QString::fromLatin1(inputHeldElsewhereMessage)));
    });
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
