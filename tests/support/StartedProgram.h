#pragma once

#include "ManualScheduler.h"
#include "TestLibrary.h"

#include "app/AppDelegate.h"

#include <memory>

// One start of the program against a Library folder, with fake platform services.
struct StartedProgram
{
    explicit StartedProgram(const QString& folder, bool battery = true)
    {
        if (!battery)
            power.battery.reset();
        delegate = std::make_unique<AppDelegate>(
            PlatformServices{clock, scheduler, power, displays, dialogs, folder});
        delegate->awakeFromNib();
        delegate->applicationDidFinishLaunching();
    }

    FakeClock clock;
    ManualScheduler scheduler;
    FakePowerSources power;
    FakeDisplays displays;
    FakeDialogs dialogs;
    std::unique_ptr<AppDelegate> delegate;
};
