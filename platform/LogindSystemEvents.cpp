#include "platform/LogindSystemEvents.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>

namespace {
const QString logind = QStringLiteral("org.freedesktop.login1");
const QString logindPath = QStringLiteral("/org/freedesktop/login1");
const QString manager = QStringLiteral("org.freedesktop.login1.Manager");
} // namespace

LogindSystemEvents::LogindSystemEvents(QObject* parent) : SystemEvents(parent)
{
    QDBusConnection system = QDBusConnection::systemBus();
    m_available = system.isConnected() && system.interface()->isServiceRegistered(logind);
    if (m_available)
        system.connect(logind, logindPath, manager, QStringLiteral("PrepareForSleep"), this,
                       SLOT(prepareForSleep(bool)));
    // Only the owner of the screen saver's name is heard, but any program of the session can
    // own that name: what it says is only written to the log, it never ends a lock.
    QDBusConnection::sessionBus().connect(QStringLiteral("org.freedesktop.ScreenSaver"),
                                          QStringLiteral("/org/freedesktop/ScreenSaver"),
                                          QStringLiteral("org.freedesktop.ScreenSaver"),
                                          QStringLiteral("ActiveChanged"), this,
                                          SLOT(activeChanged(bool)));
}

bool LogindSystemEvents::holdSleepDelay()
{
    if (!m_available)
        return false;
    if (m_inhibitor.isValid())
        return true;
    QDBusMessage inhibit =
        QDBusMessage::createMethodCall(logind, logindPath, manager, QStringLiteral("Inhibit"));
    inhibit << QStringLiteral("sleep") << QStringLiteral("Tessarine")
            << QStringLiteral("Locking the screen before the machine sleeps")
            << QStringLiteral("delay");
    const QDBusReply<QDBusUnixFileDescriptor> reply = QDBusConnection::systemBus().call(inhibit);
    if (!reply.isValid())
        return false;
    m_inhibitor = reply.value();
    return m_inhibitor.isValid();
}

void LogindSystemEvents::releaseSleepDelay()
{
    // Closing our copy of the descriptor lets the machine go on to sleep.
    m_inhibitor = QDBusUnixFileDescriptor();
}

void LogindSystemEvents::prepareForSleep(bool sleeping)
{
    if (sleeping)
        emit willSleep();
    else
        emit didWake();
}

void LogindSystemEvents::activeChanged(bool active)
{
    if (active)
        emit screenLocked();
}
