#pragma once

#include "FakeDesktopPicture.h"
#include "FakeMusicPlayer.h"
#include "ManualScheduler.h"
#include "PlatformFakes.h"
#include "TestLibrary.h"

#include "app/AppDelegate.h"
#include "input/PasswordBuffer.h"

#include <memory>

// One start of the program against a Library folder, with fake platform services.
struct StartedProgram
{
    explicit StartedProgram(const QString& folder, bool battery = true,
                            const QDateTime& now = QDateTime())
    {
        if (now.isValid())
            clock.set(now);
        if (!battery)
            power.battery.reset();
        // A new process: the state kept for the process's life starts afresh.
        PasswordBuffer::setUnlocking(false);
        PasswordBuffer::setLastNudgeTime(0);
        delegate = std::make_unique<AppDelegate>(PlatformServices{
            clock, scheduler, power, displays, dialogs, shield, pointer, motion, hotKey, system,
            brightness, scripts, pictures, player, loginItems, idle, folder});
        delegate->awakeFromNib();
        delegate->applicationDidFinishLaunching();
    }

    FakeClock clock;
    ManualScheduler scheduler;
    FakePowerSources power;
    FakeDisplays displays;
    FakeDialogs dialogs;
    FakeShield shield;
    FakePointer pointer;
    RecordingMotion motion;
    FakeHotKey hotKey;
    FakeSystemEvents system;
    FakeBrightness brightness;
    FakeScripts scripts;
    FakeDesktopPicture pictures;
    FakeMusicPlayer player;
    FakeLoginItems loginItems;
    FakeIdleTime idle;
    std::unique_ptr<AppDelegate> delegate;
};
