#include "app/Program.h"

#include "app/AppDelegate.h"
#include "input/KeyListener.h"
#include "lockscreen/WindowMotion.h"
#include "platform/Clock.h"
#include "platform/Dialogs.h"
#include "platform/DisplayBrightness.h"
#include "platform/Displays.h"
#include "platform/LibraryFolder.h"
#include "platform/Log.h"
#include "platform/LogindSystemEvents.h"
#include "platform/PowerSources.h"
#include "platform/Scheduler.h"
#include "platform/ScriptRunner.h"
#include "platform/SessionBus.h"
#include "platform/X11GlobalHotKey.h"
#include "platform/X11ScreenShield.h"
#include "triggers/ScriptingInterface.h"

#include <cstdio>

extern "C" int tessarine_run_program(int argc, char** argv)
{
    KeyListener app(argc, argv);
    if (SessionBus::isTaken()) {
        std::fprintf(stderr, "tessarine: Tessarine is already running in this session\n");
        return 0;
    }

    SystemClock clock;
    QtScheduler scheduler;
    SysfsPowerSources powerSources;
    QtDisplays displays;
    QtDialogs dialogs;
    X11ScreenShield shield;
    X11PointerInjector pointer;
    QtWindowMotion motion;
    X11GlobalHotKey hotKey;
    LogindSystemEvents system;
    if (!system.isAvailable())
        Log::line(QStringLiteral("locking before sleep is unavailable: logind cannot be reached "
                                 "on the system bus"));
    LinuxDisplayBrightness brightness;
    ProcessScriptRunner scripts;
    const QString libraryFolder = LibraryFolder::path();
    LibraryFolder::ensureExists(libraryFolder);

    AppDelegate delegate(PlatformServices{clock, scheduler, powerSources, displays, dialogs, shield,
                                          pointer, motion, hotKey, system, brightness, scripts,
                                          libraryFolder});
    switch (SessionBus::claim(delegate.scriptingInterface())) {
    case SessionBus::Claim::Claimed:
        break;
    case SessionBus::Claim::AlreadyRunning:
        std::fprintf(stderr, "tessarine: Tessarine is already running in this session\n");
        return 0;
    case SessionBus::Claim::Unavailable:
        Log::line(QStringLiteral("the session bus cannot be reached: no remote lock requests"));
        break;
    }
    app.setDelegate(&delegate);
    delegate.awakeFromNib();
    delegate.applicationDidFinishLaunching();
    return app.exec();
}
