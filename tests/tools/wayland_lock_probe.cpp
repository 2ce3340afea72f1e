// Locks a Wayland session through the compositor with WaylandSessionLock, shows a colour on every
// output, and unlocks when "pass" and Return are typed; one line on stdout per event.
//   wayland_lock_probe [#RRGGBB]
#include "platform/wayland/WaylandSessionLock.h"

#include <QColor>
#include <QCoreApplication>

#include <cstdio>
#include <xkbcommon/xkbcommon-keysyms.h>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QColor colour(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("#2060c0"));
    WaylandSessionLock lock;
    if (!lock.connectToCompositor()) {
        std::printf("no lock protocol\n");
        return 1;
    }
    lock.setPainter({{}, [colour](const WaylandOutputView&, QImage& picture) {
                         picture.fill(colour);
                         return true;
                     }});
    QString typed;
    QObject::connect(&lock, &WaylandSessionLock::locked, [] {
        std::printf("locked\n");
        std::fflush(stdout);
    });
    QObject::connect(&lock, &WaylandSessionLock::finished, [] {
        std::printf("finished\n");
        std::fflush(stdout);
        QCoreApplication::exit(2);
    });
    QObject::connect(&lock, &WaylandSessionLock::keyPressed,
                     [&](const QString& text, quint32 keysym) {
                         if (keysym != XKB_KEY_Return) {
                             typed += text;
                             return;
                         }
                         if (typed == QLatin1String("pass")) {
                             lock.unlock();
                             std::printf("unlocked\n");
                             std::fflush(stdout);
                             QCoreApplication::exit(0);
                         }
                         typed.clear();
                     });
    lock.lock();
    return app.exec();
}
