#include "app/AppDelegate.h"
#include "input/KeyListener.h"
#include "platform/Clock.h"
#include "platform/Dialogs.h"
#include "platform/Displays.h"
#include "platform/LibraryFolder.h"
#include "platform/PowerSources.h"
#include "platform/Scheduler.h"

int main(int argc, char** argv)
{
    KeyListener app(argc, argv);

    SystemClock clock;
    QtScheduler scheduler;
    SysfsPowerSources powerSources;
    QtDisplays displays;
    QtDialogs dialogs;
    const QString libraryFolder = LibraryFolder::path();
    LibraryFolder::ensureExists(libraryFolder);

    AppDelegate delegate(
        PlatformServices{clock, scheduler, powerSources, displays, dialogs, libraryFolder});
    delegate.awakeFromNib();
    delegate.applicationDidFinishLaunching();
    return app.exec();
}
