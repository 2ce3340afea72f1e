#include "app/AppDelegate.h"
#include "app/CommandLine.h"
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

#include <QCoreApplication>
#include <QStringList>
#include <QTextStream>

#include <cstdio>

namespace {

QStringList argumentsOf(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    return arguments;
}

// `tessarine lock` and `tessarine mail N` need no display: they work from a terminal or over ssh.
int sendToRunningProgram(int argc, char** argv, const CommandLine::Request& request)
{
    QCoreApplication app(argc, argv);
    QTextStream errors(stderr);
    return CommandLine::send(request, errors);
}

int runProgram(int argc, char** argv)
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
    LinuxDisplayBrightness brightness;
    ProcessScriptRunner scripts;
    if (!system.isAvailable())
        Log::line(QStringLiteral("locking before sleep is unavailable: logind cannot be reached "
                                 "on the system bus"));
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

} // namespace

int main(int argc, char** argv)
{
    const CommandLine::Request request = CommandLine::parse(argumentsOf(argc, argv));
    switch (request.action) {
    case CommandLine::Action::Run:
        return runProgram(argc, argv);
    case CommandLine::Action::Lock:
    case CommandLine::Action::Mail:
        return sendToRunningProgram(argc, argv, request);
    case CommandLine::Action::Help:
        std::fputs(qPrintable(CommandLine::helpText()), stdout);
        return 0;
    case CommandLine::Action::Version:
        std::fputs(qPrintable(CommandLine::versionText()), stdout);
        return 0;
    case CommandLine::Action::Invalid:
        std::fprintf(stderr, "%s\nTry 'tessarine --help'.\n", qPrintable(request.error));
        return 2;
    }
    return 2;
}
