#include "app/Program.h"

#include "app/AppDelegate.h"
#include "app/LinuxPlatform.h"
#include "input/KeyListener.h"
#include "platform/LibraryFolder.h"
#include "platform/Log.h"
#include "platform/SessionBus.h"
#include "triggers/ScriptingInterface.h"

#include <cstdio>

extern "C" int tessarine_run_program(int argc, char** argv)
{
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

    AppDelegate delegate(platform.services(libraryFolder));
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
