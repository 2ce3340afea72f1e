// The keys typed while the lock screen is being built: the Wayland shield covers the outputs
// through the compositor, the test types on the lock surfaces meanwhile, and only then is a
// window made key; it must get every key typed, in order. Run on Qt's offscreen platform
// against a real compositor (WAYLAND_DISPLAY).
//   wayland_held_keys
// Prints "covered" once the compositor shows the cover, runs the event loop (the keys typed are
// read from the compositor meanwhile) until a line comes on standard input, then makes a window
// key and prints "taking keys"; at the next line, "busy", and the program does nothing for two
// seconds (as a lock screen busy drawing), so that what is typed meanwhile is read at once
// afterwards; at the next line, "typed TEXT" with all the window got, and it unlocks.
#include "platform/wayland/WaylandScreenShield.h"

#include <QApplication>
#include <QKeyEvent>
#include <QSocketNotifier>
#include <QWidget>

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <thread>

namespace {

class KeyRecorder : public QWidget
{
public:
    QString typed;

protected:
    void keyPressEvent(QKeyEvent* event) override { typed += event->text(); }
};

void say(const QByteArray& line)
{
    std::printf("%s\n", line.constData());
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    WaylandScreenShield shield;
    if (!shield.connectToCompositor()) {
        say("no lock protocol");
        return 1;
    }
    // Held once the compositor has said `locked` (the cover is committed at the configure that
    // comes with it).
    if (!shield.coverDisplays(Qt::darkBlue) || !shield.holdsPointer()) {
        say("not covered");
        return 1;
    }
    say("covered");
    // The event loop runs until a line comes.
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char line[64];
        if (::read(STDIN_FILENO, line, sizeof(line)) <= 0)
            input.setEnabled(false);
        app.quit();
    });
    app.exec();

    KeyRecorder window;
    shield.prepareWindow(&window);
    window.show();
    shield.keepAbove({&window});
    shield.makeKey(&window);
    say("taking keys");
    app.exec();
    say("busy");
    std::this_thread::sleep_for(std::chrono::seconds(2));
    app.exec();
    say("typed " + window.typed.toUtf8());
    shield.releaseGrabs();
    return 0;
}
