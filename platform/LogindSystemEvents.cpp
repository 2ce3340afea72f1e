#include "platform/LogindSystemEvents.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>

namespace {
const QString logind = QStringLiteral("org.freedesktop.login1");
const QString logindPath = QStringLiteral("/org/freedesktop/login1");
const QString manager = QStringLiteral("org.freedesktop.login1.Manager");
const QString sessionInterface = QStringLiteral("org.freedesktop.login1.Session");
} // namespace

LogindSystemEvents::LogindSystemEvents(QObject* parent) : SystemEvents(parent)
{
    QDBusConnection system = QDBusConnection::systemBus();
    m_available = system.isConnected() && system.interface()->isServiceRegistered(logind);
    if (m_available) {
        system.connect(logind, logindPath, manager, QStringLiteral("PrepareForSleep"), this,
                       SLOT(prepareForSleep(bool)));
        m_session = findSession();
        if (!m_session.isEmpty())
            system.connect(logind, m_session, sessionInterface, QStringLiteral("Lock"), this,
                           SLOT(sessionLock()));
    }
    // Only the owner of the screen saver's name is heard, but any program of the session can
    // own that name: what it says is only written to the log, it never ends a lock.
    QDBusConnection::sessionBus().connect(QStringLiteral("org.freedesktop.ScreenSaver"),
                                          QStringLiteral("/org/freedesktop/ScreenSaver"),
                                          QStringLiteral("org.freedesktop.ScreenSaver"),
                                          QStringLiteral("ActiveChanged"), this,
                                          SLOT(activeChanged(bool)));
}

QString LogindSystemEvents::findSession() const
{
    QDBusConnection system = QDBusConnection::systemBus();
    const QByteArray id = qgetenv("XDG_SESSION_ID");
    QDBusMessage call = id.isEmpty()
                            ? QDBusMessage::createMethodCall(logind, logindPath, manager,
                                                             QStringLiteral("GetSessionByPID"))
                            : QDBusMessage::createMethodCall(logind, logindPath, manager,
                                                             QStringLiteral("GetSession"));
    if (id.isEmpty())
        call << uint(QCoreApplication::applicationPid());
    else
        call << QString::fromLocal8Bit(id);
    const QDBusReply<QDBusObjectPath> reply = system.call(call, QDBus::Block, 2000);
    return reply.isValid() ? reply.value().path() : QString();
}

void LogindSystemEvents::setLockedHint(bool locked)
{
    if (m_session.isEmpty())
        return;
    QDBusMessage call = QDBusMessage::createMethodCall(logind, m_session, sessionInterface,
                                                       QStringLiteral("SetLockedHint"));
    call << locked;
    // Nothing waits for the answer; logind may refuse a session that is not ours to set.
    QDBusConnection::systemBus().asyncCall(call);
}

void LogindSystemEvents::sessionLock()
{
    if (!m_ignoreSessionLock)
        emit lockRequested();
}

bool LogindSystemEvents::lockSession()
{
    if (!m_available || m_session.isEmpty())
        return false;
    QDBusConnection system = QDBusConnection::systemBus();
    QString id = QString::fromLocal8Bit(qgetenv("XDG_SESSION_ID"));
    if (id.isEmpty()) {
        QDBusMessage get = QDBusMessage::createMethodCall(
            logind, m_session, QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("Get"));
        get << sessionInterface << QStringLiteral("Id");
        const QDBusReply<QDBusVariant> reply = system.call(get, QDBus::Block, 2000);
        if (!reply.isValid())
            return false;
        id = reply.value().variant().toString();
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(logind, logindPath, manager, QStringLiteral("LockSession"));
    call << id;
    return system.call(call, QDBus::Block, 2000).type() == QDBusMessage::ReplyMessage;
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
    // When Tessarine serves the screen saver itself, its own announcements come back here.
    if (calledFromDBus() && message().service() == QDBusConnection::sessionBus().baseService())
        return;
    if (active)
        emit screenLocked();
}

bool LogindSystemEvents::idleInhibited() const
{
    if (!m_available)
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(
        logind, logindPath, QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("Get"));
    call << manager << QStringLiteral("BlockInhibited");
    const QDBusReply<QDBusVariant> reply =
        QDBusConnection::systemBus().call(call, QDBus::Block, 500);
    // A colon-separated list of what is inhibited: "sleep:idle:handle-lid-switch".
    return reply.isValid() && reply.value()
                                  .variant()
                                  .toString()
                                  .split(QLatin1Char(':'))
                                  .contains(QLatin1String("idle"));
}
