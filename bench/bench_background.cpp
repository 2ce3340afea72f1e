// Times the rebuild of the lock screen's background when the primary display changes while
// locked: the call the program makes on a screen's change (applicationDidChangeScreenParameters),
// with the whole program built on the real Linux services, the real desktop-picture chain and a
// picture file on disk. Only the displays are the bench's own: the builder asks them for the
// primary display's size, so the rig's 1080p Xvfb stands for a 4K and an 8K display (the lock
// window and its background are made at that size; the X server shows the window's top-left
// part).
//
//   bench_background KIND FORMAT RUNS [FURTHER]
//       KIND     custom (the user's own picture) or desktop (the desktop's, named by ~/.fehbg)
//       FORMAT   jpg or png: the picture, 7680 x 4320, generated
//       FURTHER  "further": a second 1920 x 1080 display beside the primary one
//   Prints per rebuild: "rebuild <4k|8k|unchanged> <ms> <pictures read>".
#include "app/AppDelegate.h"
#include "app/LinuxPlatform.h"
#include "input/KeyListener.h"
#include "input/PasswordFile.h"
#include "lockscreen/BackgroundView.h"
#include "lockscreen/LockScreenViews.h"
#include "settings/SettingsStore.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QImage>
#include <QTemporaryDir>
#include <QUrl>

#include <cstdio>
#include <cstring>

namespace {

// Displays whose primary size the bench sets.
class SizedDisplays final : public Displays
{
public:
    QRect primary{0, 0, 1920, 1080};
    QList<QRect> others;
    QRect primaryGeometry() const override { return primary; }
    QList<QRect> screenGeometries() const override { return QList<QRect>{primary} + others; }
};

// The real desktop-picture chain, counting the pictures read through it.
class CountingPicture final : public DesktopPicture
{
public:
    explicit CountingPicture(DesktopPicture& real) : m_real(real) {}
    QString urlForScreen(int index) override { return m_real.urlForScreen(index); }
    QByteArray read(const QString& url) override
    {
        ++reads;
        return m_real.read(url);
    }
    int reads = 0;

private:
    DesktopPicture& m_real;
};

// A photograph-like picture: smooth colour fields with fine grain, so that it compresses as a
// photograph does rather than as a flat colour.
QImage generatedPicture(QSize size)
{
    QImage picture(size, QImage::Format_RGB32);
    quint32 noise = 12345;
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            noise = noise * 1664525u + 1013904223u;
            const int grain = int(noise >> 28) - 8;
            const int r = 40 + 150 * x / size.width() + grain;
            const int g = 60 + 120 * y / size.height() + grain;
            const int b = 170 - 100 * (x + y) / (size.width() + size.height()) + grain;
            line[x] = qRgb(std::clamp(r, 0, 255), std::clamp(g, 0, 255), std::clamp(b, 0, 255));
        }
    }
    return picture;
}

void settle(KeyListener& app, int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds)
        app.processEvents(QEventLoop::AllEvents, 10);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4)
        return 2;
    const bool desktopKind = std::strcmp(argv[1], "desktop") == 0;
    const QString format = QString::fromLatin1(argv[2]);
    const int runs = std::atoi(argv[3]);
    const bool further = argc > 4 && std::strcmp(argv[4], "further") == 0;

    // A home of its own: the desktop's picture is named by its ~/.fehbg.
    QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qunsetenv("XDG_CURRENT_DESKTOP");
    KeyListener app(argc, argv);

    const QString picturePath = home.filePath(QStringLiteral("picture.") + format);
    if (!generatedPicture({7680, 4320}).save(picturePath, format == "jpg" ? "JPEG" : "PNG", 90))
        return 1;
    QFile fehbg(home.filePath(QStringLiteral(".fehbg")));
    if (!fehbg.open(QIODevice::WriteOnly))
        return 1;
    fehbg.write("#!/bin/sh\nfeh --no-fehbg --bg-fill '" + picturePath.toUtf8() + "'\n");
    fehbg.close();

    QTemporaryDir library;
    SettingsStore store(library.path());
    store.writeFirstRunSettingsIfMissing();
    store.set({{&Keys::desktopImageType, qint64(desktopKind ? 0 : 2)},
               {&Keys::desktopImageURL, QUrl::fromLocalFile(picturePath).toString()},
               {&Keys::startAnimation, qint64(0)},
               {&Keys::closeAnimation, qint64(0)}});
    PasswordFile::write(PasswordFile::pathIn(library.path()), {"a"});

    LinuxPlatform platform;
    SizedDisplays displays;
    if (further)
        displays.others = {QRect(1920, 0, 1920, 1080)};
    CountingPicture pictures(platform.desktopPicture);
    const auto x11 = DisplayBackend::makeX11();
    AppDelegate delegate(PlatformServices{
        platform.clock, platform.scheduler, platform.powerSources, displays, platform.dialogs,
        x11->shield(), x11->pointer(), platform.motion, x11->hotKey(), platform.system,
        platform.brightness, platform.scripts, pictures, platform.musicPlayer, platform.loginItems,
        x11->idleTime(), library.path()});
    delegate.awakeFromNib();
    delegate.applicationDidFinishLaunching();
    delegate.lock();
    settle(app, 800);
    if (!delegate.views()->background()->hasPicture()) {
        std::fprintf(stderr, "bench_background: the picture is not shown\n");
        return 1;
    }

    const auto rebuild = [&](const char* name, QSize size) {
        displays.primary = QRect(QPoint(0, 0), size);
        if (further)
            displays.others = {QRect(size.width(), 0, 1920, 1080)};
        const int readsBefore = pictures.reads;
        QElapsedTimer timer;
        timer.start();
        delegate.applicationDidChangeScreenParameters();
        const double ms = timer.nsecsElapsed() / 1e6;
        std::printf("rebuild %s %.3f %d\n", name, ms, pictures.reads - readsBefore);
        std::fflush(stdout);
        // The window is painted at its new size before the next change.
        settle(app, 300);
    };
    for (int run = 0; run < runs; ++run) {
        rebuild("4k", {3840, 2160});
        rebuild("unchanged", {3840, 2160});
        rebuild("8k", {7680, 4320});
        rebuild("unchanged", {7680, 4320});
    }
    if (!delegate.views()->background()->hasPicture()) {
        std::fprintf(stderr, "bench_background: the picture is not shown at 8K\n");
        return 1;
    }
    return 0;
}
