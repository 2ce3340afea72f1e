#include "triggers/ScriptingBusObject.h"

#include "triggers/ScriptingInterface.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

namespace {

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

bool isOurs(const QString& interface)
{
    return interface.isEmpty() || interface == QLatin1String(ScriptingInterface::interfaceName);
}

QDBusMessage unknownProperty(const QDBusMessage& message, const QString& name)
{
    return message.createErrorReply(QStringLiteral("org.freedesktop.DBus.Error.UnknownProperty"),
                                    QStringLiteral("no property %1 here").arg(name));
}

} // namespace

ScriptingBusObject::ScriptingBusObject(ScriptingInterface& scripting, QObject* parent)
    : QDBusVirtualObject(parent), m_scripting(scripting)
{
}

bool ScriptingBusObject::handleMessage(const QDBusMessage& message,
                                       const QDBusConnection& connection)
{
    if (message.type() != QDBusMessage::MethodCallMessage)
        return false;
    if (message.interface() == propertiesInterface)
        return handleProperties(message, connection);
    if (isOurs(message.interface()))
        return handleOwnMethod(message, connection);
    return false;
}

bool ScriptingBusObject::handleProperties(const QDBusMessage& message,
                                          const QDBusConnection& connection)
{
    const QList<QVariant> arguments = message.arguments();
    const QString member = message.member();
    const auto argumentsAre = [&](const char* signature) {
        return message.signature() == QLatin1String(signature);
    };
    if (member == QLatin1String("Get") && argumentsAre("ss")) {
        if (!isOurs(arguments.at(0).toString()))
            return false;
        const QString name = arguments.at(1).toString();
        int value = 0;
        if (name == QLatin1String("mail"))
            value = m_scripting.mail();
        else if (name == QLatin1String("lock"))
            value = m_scripting.lock();
        else
            return connection.send(unknownProperty(message, name));
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(value))));
    }
    if (member == QLatin1String("GetAll") && argumentsAre("s")) {
        QVariantMap all;
        if (isOurs(arguments.at(0).toString())) {
            all.insert(QStringLiteral("lock"), m_scripting.lock());
            all.insert(QStringLiteral("mail"), m_scripting.mail());
        }
        return connection.send(message.createReply(all));
    }
    if (member == QLatin1String("Set") && argumentsAre("ssv")) {
        if (!isOurs(arguments.at(0).toString()))
            return false;
        const QString name = arguments.at(1).toString();
        const int value = ScriptingInterface::intValue(arguments.at(2));
        if (name == QLatin1String("lock"))
            m_scripting.setLock(value);
        else if (name == QLatin1String("mail"))
            m_scripting.setMail(value);
        else
            return connection.send(unknownProperty(message, name));
        return connection.send(message.createReply());
    }
    return false;
}

bool ScriptingBusObject::handleOwnMethod(const QDBusMessage& message,
                                         const QDBusConnection& connection)
{
    if (!message.signature().isEmpty())
        return false;
    if (message.member() == QLatin1String("lockScreen")) {
        m_scripting.lockScreen(connection, message);
        return true;
    }
    if (message.member() == QLatin1String("WaitUntilShown")) {
        m_scripting.waitUntilShown(connection, message);
        return true;
    }
    return false;
}

QString ScriptingBusObject::introspect(const QString&) const
{
    // Reads always answer 1, so there is never a change to announce.
    return QStringLiteral(
               "  <interface name=\"%1\">\n"
               "    <property name=\"mail\" type=\"i\" access=\"readwrite\">\n"
               "      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" "
               "value=\"false\"/>\n"
               "    </property>\n"
               "    <property name=\"lock\" type=\"i\" access=\"readwrite\">\n"
               "      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" "
               "value=\"false\"/>\n"
               "    </property>\n"
               "    <method name=\"lockScreen\"/>\n"
               "    <method name=\"WaitUntilShown\"/>\n"
               "  </interface>\n")
        .arg(QLatin1String(ScriptingInterface::interfaceName));
}
