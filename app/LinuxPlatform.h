#pragma once

#include "app/DisplayBackend.h"
#include "app/PlatformServices.h"
#include "lockscreen/WindowMotion.h"
#include "platform/Clock.h"
#include "platform/Dialogs.h"
#include "platform/DisplayBrightness.h"
#include "platform/Displays.h"
#include "platform/LinuxDesktopPicture.h"
#include "platform/LogindSystemEvents.h"
#include "platform/MprisMusicPlayer.h"
#include "platform/PowerSources.h"
#include "platform/Scheduler.h"
#include "platform/ScriptRunner.h"
#include "platform/XdgAutostart.h"

#include <QCoreApplication>

// Every service of the program on a Linux desktop, made once the application object exists, and
// handed to AppDelegate as PlatformServices with the display server's own (DisplayBackend).
struct LinuxPlatform
{
    SystemClock clock;
    QtScheduler scheduler;
    SysfsPowerSources powerSources;
    QtDisplays displays;
    QtDialogs dialogs;
    QtWindowMotion motion;
    LogindSystemEvents system;
    LinuxDisplayBrightness brightness;
    ProcessScriptRunner scripts;
    LinuxDesktopPicture desktopPicture;
    MprisMusicPlayer musicPlayer;
    XdgAutostart loginItems{XdgAutostart::defaultFolder(), QCoreApplication::applicationFilePath()};

    PlatformServices services(const QString& libraryFolder, DisplayBackend& display)
    {
        return PlatformServices{clock,
                                scheduler,
                                powerSources,
                                displays,
                                dialogs,
                                display.shield(),
                                display.pointer(),
                                motion,
                                display.hotKey(),
                                system,
                                brightness,
                                scripts,
                                desktopPicture,
                                musicPlayer,
                                loginItems,
                                display.idleTime(),
                                libraryFolder};
    }
};
