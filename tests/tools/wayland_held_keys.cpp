// The keys typed while the lock screen is being built: the Wayland shield covers the outputs
// through the compositor, the test types on the lock surfaces meanwhile, and only then is a
// window made key; it must get every key typed, in order. Run on Qt's offscreen platform
// against a real compositor (WAYLAND_DISPLAY).
//   wayland_held_keys
// Prints "covered" once the compositor shows the cover, runs the event loop (the keys typed are
// read from the compositor meanwhile) until a line comes on standard input, then makes a window
// key, prints "typed TEXT" with what the window got within half a second, and unlocks.
#include "platform/wayland/WaylandScreenShield.h"

#include <QApplication>
#include <QKeyEvent>
#include <QSocketNotifier>
#include <QTimer>
#include <QWidget>

#include <unistd.h>

#include <cstdio>

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
    if (!shield.coverDisplays(Qt::darkBlue)) {
        say("not covered");
        return 1;
    }
    say("covered");
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        input.setEnabled(false);
        char line[64];
        (void)!::read(STDIN_FILENO, line, sizeof(line));
        app.quit();
    });
    app.exec();

    KeyRecorder window;
    shield.prepareWindow(&window);
    window.show();
    shield.keepAbove({&window});
    shield.makeKey(&window);
    QTimer::singleShot(500, &app, &QApplication::quit);
    app.exec();
    say("typed " + window.typed.toUtf8());
    shield.releaseGrabs();
    return 0;
}
