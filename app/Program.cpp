#include "app/Program.h"

#include "app/AppDelegate.h"
#include "app/Diagnostics.h"
#include "app/DisplayBackend.h"
#include "app/LinuxPlatform.h"
#include "input/KeyListener.h"
#include "platform/DesktopLocker.h"
#include "platform/IdleWatch.h"
#include "platform/LibraryFolder.h"
#include "platform/Log.h"
#include "platform/Memory.h"
#include "platform/SessionBus.h"
#include "platform/StatusNotifierItem.h"
#include "settings/PropertyListFile.h"
#include "triggers/IdleLock.h"
#include "triggers/ScreenSaverService.h"
#include "triggers/ScriptingInterface.h"

#include <QDBusConnection>
#include <QGuiApplication>
#include <QScreen>
#include <QSystemTrayIcon>
#include <QTimer>

#include <cstdio>
#include <memory>

namespace {

// Displays added, removed or resized reach the lock screen, which covers them anew while locked.
// One change of the displays brings several signals (a screen added, the primary one changed, a
// geometry); they are handled once, on the next turn of the event loop, when Qt's list of screens
// is whole again. Each handling rebuilds every cover, so fewer of them cover a new display sooner.
void watchScreens(KeyListener& app, AppDelegate& delegate)
{
    auto pending = std::make_shared<bool>(false);
    const auto changed = [&delegate, pending] {
        if (*pending)
            return;
        *pending = true;
        QTimer::singleShot(0, &delegate, [&delegate, pending] {
            *pending = false;
            delegate.applicationDidChangeScreenParameters();
        });
    };
    const auto watch = [&delegate, changed](QScreen* screen) {
        QObject::connect(screen, &QScreen::geometryChanged, &delegate, changed);
    };
    for (QScreen* screen : QGuiApplication::screens())
        watch(screen);
    QObject::connect(&app, &QGuiApplication::screenAdded, &delegate, [watch, changed](QScreen* s) {
        watch(s);
        changed();
    });
    QObject::connect(&app, &QGuiApplication::screenRemoved, &delegate, changed);
    QObject::connect(&app, &QGuiApplication::primaryScreenChanged, &delegate, changed);
}

} // namespace

extern "C" int tessarine_run_program(int argc, char** argv)
{
    Memory::keepLargeBuffersMapped();
    const bool diagnostics = Diagnostics::requested();
    if (diagnostics)
        Diagnostics::startFollowingObjects();
    KeyListener app(argc, argv);
    if (SessionBus::isTaken()) {
        std::fprintf(stderr, "tessarine: Tessarine is already running in this session\n");
        return 0;
    }

    LinuxPlatform platform;
    if (!platform.system.isAvailable())
        Log::line(QStringLiteral("locking before sleep is unavailable: logind cannot be reached "
                                 "on the system bus"));
    const QString libraryFolder = LibraryFolder::path();
    LibraryFolder::ensureExists(libraryFolder);
    // Temporary files of writes that were cut short (a crash, a kill) would pile up otherwise.
    // Nothing of this process has written yet: what was written before now is another run's.
    if (const int removed =
            PropertyListFile::removeAbandonedTemporaries(libraryFolder, ::time(nullptr)))
        Log::line(QStringLiteral("removed %1 unfinished temporary settings files").arg(removed));

    // X11, a Wayland compositor's lock, or a Wayland session handed to the desktop's lock screen.
    const std::unique_ptr<DisplayBackend> display = DisplayBackend::choose();
    const bool handOver = display->kind() == DisplayBackend::Kind::desktopLockScreen;
    AppDelegate delegate(platform.services(libraryFolder, *display));
    switch (SessionBus::claim(*delegate.scriptingInterface())) {
    case SessionBus::Claim::Claimed:
        break;
    case SessionBus::Claim::AlreadyRunning:
        std::fprintf(stderr, "tessarine: Tessarine is already running in this session\n");
        return 0;
    case SessionBus::Claim::Unavailable:
        Log::line(QStringLiteral("the session bus cannot be reached: no remote lock requests"));
        break;
    }
    SessionDesktopLocker desktopLocker(platform.system);
    // On a desktop without a screen saver of its own, Tessarine is it; not in a Wayland session,
    // where it cannot lock.
    if (!handOver)
        delegate.screenSaverService()->claim(QDBusConnection::sessionBus());
    std::unique_ptr<Diagnostics> counts;
    if (diagnostics) {
        counts = std::make_unique<Diagnostics>();
        QDBusConnection::sessionBus().registerObject(QString::fromLatin1(Diagnostics::objectPath),
                                                     counts.get(), QDBusConnection::ExportAllSlots);
    }
    app.setDelegate(&delegate);
    QObject::connect(&app, &KeyListener::mediaKeyPressed, &delegate, &AppDelegate::mediaKey);
    watchScreens(app, delegate);
    delegate.awakeFromNib();
    // The X server's idle time does not see the keys of native Wayland windows: the compositor
    // says when the session idles, where it offers ext-idle-notify-v1; else no idle lock.
    if (IdleWatch* watch = display->idleWatch())
        delegate.idleLock()->useWatch(*watch);
    else if (display->kind() != DisplayBackend::Kind::x11)
        delegate.idleLock()->disable();
    if (handOver) {
        // The desktop's lock screen follows the session's Lock signal itself.
        platform.system.ignoreSessionLock();
        delegate.handLocksToDesktop(desktopLocker);
    }
    // Without a tray the program would run unseen: said once. The icon shows by itself when a
    // tray starts later: an X tray through Qt, a panel's D-Bus tray through StatusNotifierItem.
    if (!QSystemTrayIcon::isSystemTrayAvailable() && !StatusNotifierItem::watcherRunning())
        Log::line(QStringLiteral(
            "no system tray is running: Tessarine's icon will appear when one starts; meanwhile "
            "`tessarine lock` and the hot key lock the screen"));
    delegate.applicationDidFinishLaunching();
    // A Tessarine that ended while locked left its lock standing (its guard holding the X
    // display, or the compositor keeping every output blank): this one takes it over at once
    // and shows the lock screen for the password.
    if (display->earlierLockLeftStanding()) {
        if (*display->takeOverLine())
            Log::line(QString::fromLatin1(display->takeOverLine()));
        delegate.lock();
    }
    return app.exec();
}
