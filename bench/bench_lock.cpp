// Times the lock inside the program: from a call of lock to the keyboard grabbed, and from the
// call of unlock (what the last password key leads to) to the keyboard released, with the real
// X11 shield on the display, leaving out the animation delays (no movement on close).
//
//   bench_lock RUNS     prints "lock_to_grabbed_ms <ms>" and "unlock_to_released_ms <ms>" per run
#include "app/AppDelegate.h"
#include "app/LinuxPlatform.h"
#include "input/KeyListener.h"
#include "input/PasswordFile.h"
#include "platform/ScreenShield.h"
#include "settings/SettingsStore.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QThread>

#include <cstdio>

int main(int argc, char** argv)
{
    const int runs = argc > 1 ? std::atoi(argv[1]) : 30;
    KeyListener app(argc, argv);
    QTemporaryDir library;
    SettingsStore(library.path()).writeFirstRunSettingsIfMissing();
    PasswordFile::write(PasswordFile::pathIn(library.path()), {"a"});

    LinuxPlatform platform;
    const auto display = DisplayBackend::makeX11();
    AppDelegate delegate(platform.services(library.path(), *display));
    delegate.awakeFromNib();
    delegate.applicationDidFinishLaunching();
    app.processEvents();

    for (int run = 0; run < runs; ++run) {
        QElapsedTimer timer;
        timer.start();
        delegate.lock();
        while (!display->shield().holdsKeyboard() && timer.elapsed() < 5000)
            app.processEvents(QEventLoop::AllEvents);
        std::printf("lock_to_grabbed_ms %.3f\n", timer.nsecsElapsed() / 1e6);
        // Past the kiosk step, as a user would be.
        QElapsedTimer settle;
        settle.start();
        while (settle.elapsed() < 500)
            app.processEvents(QEventLoop::AllEvents, 10);
        timer.restart();
        delegate.keyPressed(QStringLiteral("a"));
        std::printf("unlock_to_released_ms %.3f\n", timer.nsecsElapsed() / 1e6);
        settle.restart();
        while (settle.elapsed() < 300)
            app.processEvents(QEventLoop::AllEvents, 10);
        std::fflush(stdout);
    }
    return 0;
}
