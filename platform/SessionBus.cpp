#include "platform/SessionBus.h"

#include "triggers/ScriptingBusObject.h"
#include "triggers/ScriptingInterface.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

bool SessionBus::isTaken()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface()->isServiceRegistered(
                                    QString::fromLatin1(ScriptingInterface::serviceName));
}

SessionBus::Claim SessionBus::claim(ScriptingInterface& scriptingInterface)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return Claim::Unavailable;
    // The object first, so that whoever sees the name finds the object behind it: mail, lock
    // and the two methods, nothing else (see ScriptingBusObject).
    auto* object = new ScriptingBusObject(scriptingInterface, &scriptingInterface);
    bus.registerVirtualObject(QString::fromLatin1(ScriptingInterface::objectPath), object);
    const auto reply = bus.interface()->registerService(
        QString::fromLatin1(ScriptingInterface::serviceName),
        QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    if (reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered)
        return Claim::Claimed;
    bus.unregisterObject(QString::fromLatin1(ScriptingInterface::objectPath));
    return isTaken() ? Claim::AlreadyRunning : Claim::Unavailable;
}
