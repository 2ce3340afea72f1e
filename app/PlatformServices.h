#pragma once

#include <QString>

class Clock;
class DesktopPicture;
class Dialogs;
class DisplayBrightness;
class Displays;
class GlobalHotKey;
class IdleTime;
class LoginItems;
class MusicPlayer;
class PointerInjector;
class PowerSources;
class Scheduler;
class ScriptRunner;
class ScreenShield;
class SystemEvents;
class WindowMotion;

// The services the program uses from the system, handed to AppDelegate so that tests can give it
// fakes. The program passes the Linux implementations from platform/.
struct PlatformServices
{
    Clock& clock;
    Scheduler& scheduler;
    PowerSources& powerSources;
    Displays& displays;
    Dialogs& dialogs;
    ScreenShield& shield;
    PointerInjector& pointer;
    WindowMotion& motion;
    GlobalHotKey& hotKey;
    SystemEvents& system;
    DisplayBrightness& brightness;
    ScriptRunner& scripts;
    DesktopPicture& desktopPicture;
    MusicPlayer& musicPlayer;
    LoginItems& loginItems;
    IdleTime& idle;
    QString libraryFolder;
};
