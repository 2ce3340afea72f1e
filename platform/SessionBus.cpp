#include "platform/SessionBus.h"

#include "triggers/ScriptingInterface.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

bool SessionBus::isTaken()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface()->isServiceRegistered(
                                    QString::fromLatin1(ScriptingInterface::serviceName));
}

SessionBus::Claim SessionBus::claim(QObject* scriptingInterface)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return Claim::Unavailable;
    // The object first, so that whoever sees the name finds the object behind it. Only its
    // scriptable properties, mail and lock, and its one scriptable method (see
    // ScriptingInterface).
    bus.registerObject(QString::fromLatin1(ScriptingInterface::objectPath), scriptingInterface,
                       QDBusConnection::ExportScriptableProperties |
                           QDBusConnection::ExportScriptableSlots);
    const auto reply = bus.interface()->registerService(
        QString::fromLatin1(ScriptingInterface::serviceName),
        QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return Claim::Claimed;
    bus.unregisterObject(QString::fromLatin1(ScriptingInterface::objectPath));
    return isTaken() ? Claim::AlreadyRunning : Claim::Unavailable;
}
