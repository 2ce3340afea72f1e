#pragma once

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
#include "platform/x11/X11GlobalHotKey.h"
#include "platform/x11/X11IdleTime.h"
#include "platform/x11/X11ScreenShield.h"

#include <QCoreApplication>

// Every service of the program on a Linux desktop under X11, made once the application object
// exists, and handed to AppDelegate as PlatformServices.
struct LinuxPlatform
{
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
    LinuxDesktopPicture desktopPicture;
    MprisMusicPlayer musicPlayer;
    XdgAutostart loginItems{XdgAutostart::defaultFolder(), QCoreApplication::applicationFilePath()};
    X11IdleTime idle;

    PlatformServices services(const QString& libraryFolder)
    {
        return services(libraryFolder, shield);
    }
    // With the shield the program chose: X grabs, or a Wayland compositor's lock.
    PlatformServices services(const QString& libraryFolder, ScreenShield& lockShield)
    {
        return PlatformServices{clock,      scheduler,    powerSources,   displays,    dialogs,
                                lockShield, pointer,      motion,         hotKey,      system,
                                brightness, scripts,      desktopPicture, musicPlayer, loginItems,
                                idle,       libraryFolder};
    }
};
