#include "platform/Displays.h"

#include <QGuiApplication>
#include <QScreen>

QSize QtDisplays::primaryPixelSize() const
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return {};
    return (QSizeF(screen->geometry().size()) * screen->devicePixelRatio()).toSize();
}

QRect QtDisplays::primaryGeometry() const
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen ? screen->geometry() : QRect();
}

QList<QRect> QtDisplays::screenGeometries() const
{
    QList<QRect> geometries;
    const QScreen* primary = QGuiApplication::primaryScreen();
    if (primary)
        geometries.append(primary->geometry());
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen != primary)
            geometries.append(screen->geometry());
    }
    return geometries;
}
