#include "platform/Displays.h"

#include "platform/x11/QtXcb.h"

#include <QGuiApplication>
#include <QScreen>

namespace {

// Security: with every monitor switched off (a closed lid, a monitor unplugged) Qt reports one
// placeholder screen of no size, and a lock window sized from it would cover nothing and never
// be mapped, so no grab could be taken. A screen of no size, or none at all, stands for the
// whole X screen: the lock then covers the root window, whatever the outputs say.
QRect rootGeometry()
{
    xcb_connection_t* connection = QtXcb::connection();
    if (!connection)
        return {};
    QtXcb::Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(
        connection, xcb_get_geometry(connection, QtXcb::rootOf(connection)), nullptr));
    if (!geometry)
        return {};
    const QScreen* primary = QGuiApplication::primaryScreen();
    const qreal ratio = primary ? primary->devicePixelRatio() : 1.0;
    return QRect(0, 0, int(geometry->width / ratio), int(geometry->height / ratio));
}

QRect usableGeometry(const QScreen* screen)
{
    const QRect geometry = screen ? screen->geometry() : QRect();
    return geometry.isEmpty() ? rootGeometry() : geometry;
}

} // namespace

QRect QtDisplays::primaryGeometry() const
{
    return usableGeometry(QGuiApplication::primaryScreen());
}

QList<QRect> QtDisplays::screenGeometries() const
{
    QList<QRect> geometries;
    const QScreen* primary = QGuiApplication::primaryScreen();
    geometries.append(usableGeometry(primary));
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen != primary && !screen->geometry().isEmpty())
            geometries.append(screen->geometry());
    }
    if (geometries.first().isEmpty())
        geometries.removeFirst();
    return geometries;
}
