#include "platform/DesktopLocker.h"

#include "platform/SystemEvents.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

bool DesktopLocker::isWaylandSession()
{
    return qgetenv("XDG_SESSION_TYPE") == "wayland" ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

bool SessionDesktopLocker::lock()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString saver = QStringLiteral("org.freedesktop.ScreenSaver");
    if (bus.isConnected()) {
        const QString owner = bus.interface()->serviceOwner(saver);
        // Another program's service: the desktop's lock screen. (Tessarine never serves it in
        // such a session, and asking itself would go round in a circle.)
        if (!owner.isEmpty() && owner != bus.baseService()) {
            const QDBusMessage reply =
                bus.call(QDBusMessage::createMethodCall(
                             saver, QStringLiteral("/org/freedesktop/ScreenSaver"), saver,
                             QStringLiteral("Lock")),
                         QDBus::Block, 5000);
            if (reply.type() == QDBusMessage::ReplyMessage)
                return true;
        }
    }
    return m_system.lockSession();
}
