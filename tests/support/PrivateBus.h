#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>

#include <csignal>
#include <sys/prctl.h>

// A session bus of the test's own: a dbus-daemon child that ends with the object, or with the
// test's process when that ends without it (a crash, a fuzz target's abort), so no test talks to
// the user's bus or leaves a daemon behind.
class PrivateBus
{
public:
    PrivateBus()
    {
        m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"),
                        QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")});
        if (!m_daemon.waitForStarted(5000))
            return;
        while (!m_daemon.canReadLine() && m_daemon.waitForReadyRead(5000)) {
        }
        m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
    }
    ~PrivateBus()
    {
        for (const QString& name : m_connections)
            QDBusConnection::disconnectFromBus(name);
        m_daemon.terminate();
        m_daemon.waitForFinished(5000);
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    bool isUp() const { return !m_address.isEmpty(); }
    QString address() const { return m_address; }

    // A new connection to this bus, under a name unique in the process.
    QDBusConnection connect(const QString& name)
    {
        m_connections.append(name);
        return QDBusConnection::connectToBus(m_address, name);
    }
    // Closes a connection, as when its program ends: the bus drops the names it held.
    void disconnect(const QString& name)
    {
        m_connections.removeAll(name);
        QDBusConnection::disconnectFromBus(name);
    }

private:
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};
