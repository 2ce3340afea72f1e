#include "app/AppDelegate.h"
#include "input/KeyListener.h"
#include "lockscreen/WindowMotion.h"
#include "platform/Clock.h"
#include "platform/Dialogs.h"
#include "platform/Displays.h"
#include "platform/LibraryFolder.h"
#include "platform/PowerSources.h"
#include "platform/Scheduler.h"
#include "platform/X11ScreenShield.h"

int main(int argc, char** argv)
{
    KeyListener app(argc, argv);

    SystemClock clock;
    QtScheduler scheduler;
    SysfsPowerSources powerSources;
    QtDisplays displays;
    QtDialogs dialogs;
    X11ScreenShield shield;
    X11PointerInjector pointer;
    QtWindowMotion motion;
    const QString libraryFolder = LibraryFolder::path();
    LibraryFolder::ensureExists(libraryFolder);

    AppDelegate delegate(PlatformServices{clock, scheduler, powerSources, displays, dialogs, shield,
                                          pointer, motion, libraryFolder});
    app.setDelegate(&delegate);
    delegate.awakeFromNib();
    delegate.applicationDidFinishLaunching();
    return app.exec();
}
