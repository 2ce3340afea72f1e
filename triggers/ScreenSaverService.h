#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

#include <cstddef>
#include <functional>
#include <map>

class AppDelegate;
class Clock;
class IdleTime;

// The desktop's screen-saver service, org.freedesktop.ScreenSaver, for a desktop that has none
// of its own: `xdg-screensaver`, browsers and video players reach the lock and the idle lock
// through it. Served on both paths clients use, /ScreenSaver and /org/freedesktop/ScreenSaver.
//
// Security: any program of the session may call it, as it may run `tessarine lock`. Nothing
// here ends a lock (SetActive(false) is refused while locked). Inhibitors only hold back the
// idle lock, never a lock asked for; there are at most maxInhibitors of them, and each ends with
// UnInhibit, or when its caller leaves the bus. One kind outlives its caller: an inhibitor whose
// application is an existing window's id (what `xdg-screensaver suspend WINDOW` sends from a
// dbus-send that exits at once) lasts while that window exists, and its cookie, handed to the
// later `resume`, ends it from any caller; ending an inhibitor can only let a lock happen.
class ScreenSaverService : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.ScreenSaver")
public:
    static constexpr const char* serviceName = "org.freedesktop.ScreenSaver";
    static constexpr const char* tooManyError = "org.freedesktop.ScreenSaver.Error.TooMany";
    static constexpr const char* unknownCookieError =
        "org.freedesktop.ScreenSaver.Error.UnknownCookie";
    static constexpr const char* notLockedError = "org.freedesktop.ScreenSaver.Error.NotLocked";
    // Far more than a desktop has at once; a caller past it is told so.
    static constexpr std::size_t maxInhibitors = 512;

    using WindowCheck = std::function<bool(quint32)>;
    ScreenSaverService(AppDelegate& delegate, IdleTime& idle, const Clock& clock,
                       WindowCheck windowExists, QObject* parent = nullptr);

    // Takes the name and serves both paths when the name is free. A desktop that has the
    // service already keeps it: that is written to the log and nothing is served.
    bool claim(QDBusConnection bus);
    bool isServing() const { return m_serving; }
    // A lock began, or the password ended it: ActiveChanged for the clients.
    void activeChanged(bool active);
    // Whether an inhibitor holds back the idle lock; inhibitors of windows that have gone end.
    bool heldBack();
    std::size_t inhibitorCount() const { return m_inhibitors.size(); }

public slots:
    void Lock();
    bool GetActive();
    uint GetActiveTime();
    bool SetActive(bool active);
    uint GetSessionIdleTime();
    void SimulateUserActivity();
    uint Inhibit(const QString& application, const QString& reason);
    void UnInhibit(uint cookie);

signals:
    void ActiveChanged(bool active);
    // The last inhibitor ended: the idle lock may be due.
    void released();

private:
    struct Inhibitor
    {
        QString caller; // the caller's unique name on the bus
        quint32 window = 0;
    };
    void callerLeft(const QString& caller);
    void endInhibitor(std::map<uint, Inhibitor>::iterator inhibitor);
    void endGoneWindows();
    quint32 windowOf(const QString& application) const;

    AppDelegate& m_delegate;
    IdleTime& m_idle;
    const Clock& m_clock;
    WindowCheck m_windowExists;
    bool m_serving = false;
    double m_activeSince = -1;
    uint m_nextCookie = 1;
    std::map<uint, Inhibitor> m_inhibitors;
    QDBusServiceWatcher m_callers;
};
