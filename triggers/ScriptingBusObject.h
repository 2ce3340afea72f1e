#pragma once

#include <QDBusVirtualObject>

class ScriptingInterface;

// The scripting interface's object on the session bus, with the bus's own property calls
// answered here rather than by QtDBus: a value for `lock` or `mail` is taken as a script's
// number is, through its integer value, whatever type the client sent it as (a double is cut
// toward zero, a string read up to its first non-digit, true is 1, anything else 0), and a write
// of either is never answered with an error. Reads answer 1 and nothing announces a change, so
// the introspection says the properties emit no PropertiesChanged.
class ScriptingBusObject : public QDBusVirtualObject
{
    Q_OBJECT
public:
    explicit ScriptingBusObject(ScriptingInterface& scripting, QObject* parent = nullptr);

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QString introspect(const QString& path) const override;

private:
    bool handleProperties(const QDBusMessage& message, const QDBusConnection& connection);
    bool handleOwnMethod(const QDBusMessage& message, const QDBusConnection& connection);

    ScriptingInterface& m_scripting;
};
