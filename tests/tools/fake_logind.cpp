// A stand-in for the login manager on a private "system" bus, for the end-to-end tests.
// It answers Inhibit with one end of a pipe, and reports when the other program closes it; every
// caller is told it is in one session, whose object sends Lock as `loginctl lock-session` would.
// Commands on standard input, one a line: "sleep" and "wake" send PrepareForSleep(true/false),
// "lock-session" and "unlock-session" send the session's Lock and Unlock.
// Lines on standard output: "inhibited" when a delay inhibitor was taken; "released grabbed" or
// "released free" when it was let go, telling whether the keyboard was grabbed at that moment,
// followed by "desktop N" (how many of 25 points of the screen showed the tests' desktop colour
// at that moment, -1 when unreadable) and "after MS" (milliseconds since the last
// PrepareForSleep(true), or -1); "session" when a caller asked for its session; "lockedhint
// true|false" when the session's LockedHint was set. The manager's BlockInhibited property lists
// "idle" while a caller holds an idle inhibitor. LockSession prints "locksession ID" and sends the
// session's Lock, as `loginctl lock-session` does.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QSocketNotifier>

#include "desktop_pixels.h"

#include <xcb/xcb.h>

#include <chrono>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

// Whether another client holds the keyboard right now.
bool keyboardGrabbed()
{
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        return false;
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    auto* reply =
        xcb_grab_keyboard_reply(c,
                                xcb_grab_keyboard(c, 0, screen->root, XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr);
    const bool grabbed = reply && reply->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
    std::free(reply);
    xcb_disconnect(c);
    return grabbed;
}

int desktopShowing()
{
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    const int count = xcb_connection_has_error(c) ? -1 : DesktopPixels::showingDesktop(c);
    xcb_disconnect(c);
    return count;
}

std::chrono::steady_clock::time_point lastSleep;
bool slept = false;

double msSinceSleep()
{
    if (!slept)
        return -1;
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - lastSleep)
        .count();
}

} // namespace

class Manager : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")
    Q_PROPERTY(QString BlockInhibited READ blockInhibited)
public:
    QString blockInhibited() const
    {
        return m_idleHolders > 0 ? QStringLiteral("idle") : QString();
    }

public slots:
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString&, const QString&,
                                    const QString& mode)
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            return {};
        // The caller gets the write end; when every copy of it is closed, the read end sees the
        // end of the file.
        QDBusUnixFileDescriptor handed(ends[1]);
        ::close(ends[1]);
        auto* notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, this);
        const bool idle = what.split(QLatin1Char(':')).contains(QLatin1String("idle"));
        if (idle) {
            ++m_idleHolders;
            std::printf("idle inhibited\n");
            std::fflush(stdout);
        }
        connect(notifier, &QSocketNotifier::activated, this, [this, notifier, ends, idle] {
            char byte;
            if (::read(ends[0], &byte, 1) > 0)
                return;
            notifier->setEnabled(false);
            if (idle)
                --m_idleHolders;
            // The screen first: it is what a machine sleeping now would wake up showing.
            const double after = msSinceSleep();
            const int desktop = desktopShowing();
            std::printf("released %s desktop %d after %.1f\n",
                        keyboardGrabbed() ? "grabbed" : "free", desktop, after);
            std::fflush(stdout);
            ::close(ends[0]);
            notifier->deleteLater();
        });
        if (what == QLatin1String("sleep") && mode == QLatin1String("delay")) {
            std::printf("inhibited\n");
            std::fflush(stdout);
        }
        return handed;
    }

    // The lock screen's Shut Down without a session manager.
    void PowerOff(bool interactive)
    {
        std::printf("poweroff %s\n", interactive ? "interactive" : "quiet");
        std::fflush(stdout);
    }

    void LockSession(const QString& id)
    {
        std::printf("locksession %s\n", qPrintable(id));
        std::fflush(stdout);
        emit sessionLockAsked();
    }

    QDBusObjectPath GetSession(const QString&) { return session(); }
    QDBusObjectPath GetSessionByPID(uint) { return session(); }

signals:
    void PrepareForSleep(bool start);
    void sessionLockAsked();

public:
    static constexpr const char* sessionPath = "/org/freedesktop/login1/session/rig";
    void send(bool sleeping)
    {
        if (sleeping) {
            lastSleep = std::chrono::steady_clock::now();
            slept = true;
        }
        emit PrepareForSleep(sleeping);
    }

private:
    int m_idleHolders = 0;
    QDBusObjectPath session()
    {
        std::printf("session\n");
        std::fflush(stdout);
        return QDBusObjectPath(sessionPath);
    }
};

class Session : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Session")
    Q_PROPERTY(QString Id READ id)
public:
    QString id() const { return QStringLiteral("rig"); }

public slots:
    // Lockers report whether the user is idle and whether the screen is locked; nothing here
    // depends on it.
    void SetIdleHint(bool) {}
    void SetLockedHint(bool locked)
    {
        std::printf("lockedhint %s\n", locked ? "true" : "false");
        std::fflush(stdout);
    }

signals:
    void Lock();
    void Unlock();

public:
    void lock() { emit Lock(); }
    void unlock() { emit Unlock(); }
};

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QDBusConnection bus = QDBusConnection::systemBus();
    Manager manager;
    Session session;
    const auto exported = QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                          QDBusConnection::ExportAllProperties;
    if (!bus.registerObject("/org/freedesktop/login1", &manager, exported) ||
        !bus.registerObject(Manager::sessionPath, &session, exported) ||
        !bus.registerService("org.freedesktop.login1")) {
        std::fprintf(stderr, "fake_logind: cannot take the name\n");
        return 1;
    }
    QObject::connect(&manager, &Manager::sessionLockAsked, &session, &Session::lock);
    std::printf("ready\n");
    std::fflush(stdout);
    auto* input = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, &app);
    QObject::connect(input, &QSocketNotifier::activated, &app, [&manager, &session, input] {
        std::string line;
        if (!std::getline(std::cin, line)) {
            input->setEnabled(false);
            QCoreApplication::quit();
            return;
        }
        if (line == "sleep")
            manager.send(true);
        else if (line == "wake")
            manager.send(false);
        else if (line == "lock-session")
            session.lock();
        else if (line == "unlock-session")
            session.unlock();
    });
    return app.exec();
}
#include "fake_logind.moc"
