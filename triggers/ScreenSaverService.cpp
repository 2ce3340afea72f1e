#include "triggers/ScreenSaverService.h"

#include "app/AppDelegate.h"
#include "platform/Clock.h"
#include "platform/IdleTime.h"
#include "platform/Log.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <algorithm>

namespace {
const char* const paths[] = {"/ScreenSaver", "/org/freedesktop/ScreenSaver"};

void logTaken()
{
    Log::line(QStringLiteral("the desktop's screen-saver service (org.freedesktop.ScreenSaver) "
                             "is another program's: Tessarine leaves it alone"));
}
} // namespace

ScreenSaverService::ScreenSaverService(AppDelegate& delegate, IdleTime& idle, const Clock& clock,
                                       WindowCheck windowExists, QObject* parent)
    : QObject(parent), m_delegate(delegate), m_idle(idle), m_clock(clock),
      m_windowExists(std::move(windowExists))
{
    m_callers.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_callers, &QDBusServiceWatcher::serviceUnregistered, this,
            &ScreenSaverService::callerLeft);
}

bool ScreenSaverService::claim(QDBusConnection bus)
{
    if (!bus.isConnected())
        return false;
    const QString name = QString::fromLatin1(serviceName);
    if (bus.interface()->isServiceRegistered(name)) {
        logTaken();
        return false;
    }
    const auto exported = QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals;
    for (const char* path : paths)
        bus.registerObject(QString::fromLatin1(path), this, exported);
    const auto reply =
        bus.interface()->registerService(name, QDBusConnectionInterface::DontQueueService,
                                         QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        for (const char* path : paths)
            bus.unregisterObject(QString::fromLatin1(path));
        logTaken();
        return false;
    }
    m_callers.setConnection(bus);
    m_serving = true;
    return true;
}

void ScreenSaverService::activeChanged(bool active)
{
    m_activeSince = active ? m_clock.absoluteSeconds() : -1;
    if (m_serving)
        emit ActiveChanged(active);
}

void ScreenSaverService::Lock()
{
    m_delegate.lock();
    if (!calledFromDBus())
        return;
    // Answered only once the lock holds the keyboard and the pointer, as a locker that says
    // "locked" must; with an error when another program keeps them.
    setDelayedReply(true);
    QDBusConnection bus = connection();
    const QDBusMessage call = message();
    m_delegate.whenInputHeld([bus, call](bool held) mutable {
        bus.send(held ? call.createReply()
                      : call.createErrorReply(
                            QString::fromLatin1(notLockedError),
                            QStringLiteral("the screen is not locked: another program holds the "
                                           "keyboard or the pointer")));
    });
}

bool ScreenSaverService::GetActive()
{
    return m_delegate.isLockStanding();
}

uint ScreenSaverService::GetActiveTime()
{
    if (!m_delegate.isLockStanding() || m_activeSince < 0)
        return 0;
    return uint(std::max(0.0, m_clock.absoluteSeconds() - m_activeSince));
}

bool ScreenSaverService::SetActive(bool active)
{
    if (active) {
        m_delegate.lock();
        return m_delegate.isLockStanding();
    }
    // Only the password ends a lock.
    return !m_delegate.isLockStanding();
}

uint ScreenSaverService::GetSessionIdleTime()
{
    return m_idle.sinceInput() / 1000;
}

void ScreenSaverService::SimulateUserActivity()
{
    // As a key press would: the idle time starts again. A lock stays.
    m_idle.countAsActivity();
}

quint32 ScreenSaverService::windowOf(const QString& application) const
{
    bool valid = false;
    const quint32 window = application.startsWith(QLatin1String("0x"))
                               ? application.mid(2).toUInt(&valid, 16)
                               : application.toUInt(&valid, 10);
    return valid && window != 0 && m_windowExists && m_windowExists(window) ? window : 0;
}

uint ScreenSaverService::Inhibit(const QString& application, const QString& reason)
{
    Q_UNUSED(reason)
    if (m_inhibitors.size() >= maxInhibitors)
        endGoneWindows();
    if (m_inhibitors.size() >= maxInhibitors) {
        if (calledFromDBus())
            sendErrorReply(QString::fromLatin1(tooManyError),
                           QStringLiteral("too many inhibitors: %1").arg(maxInhibitors));
        return 0;
    }
    const QString caller = calledFromDBus() ? message().service() : QString();
    uint cookie = m_nextCookie++;
    while (cookie == 0 || m_inhibitors.count(cookie))
        cookie = m_nextCookie++;
    const Inhibitor inhibitor{caller, windowOf(application)};
    if (!caller.isEmpty() && inhibitor.window == 0) {
        m_callers.addWatchedService(caller);
        // Gone before it was watched: its inhibitor has ended already.
        if (!connection().interface()->isServiceRegistered(caller)) {
            callerLeft(caller);
            return cookie;
        }
    }
    m_inhibitors.emplace(cookie, inhibitor);
    return cookie;
}

void ScreenSaverService::UnInhibit(uint cookie)
{
    const auto inhibitor = m_inhibitors.find(cookie);
    if (inhibitor == m_inhibitors.end()) {
        if (calledFromDBus())
            sendErrorReply(QString::fromLatin1(unknownCookieError),
                           QStringLiteral("no inhibitor has the cookie %1").arg(cookie));
        return;
    }
    endInhibitor(inhibitor);
}

bool ScreenSaverService::heldBack()
{
    endGoneWindows();
    return !m_inhibitors.empty();
}

void ScreenSaverService::endGoneWindows()
{
    for (auto it = m_inhibitors.begin(); it != m_inhibitors.end();) {
        const auto next = std::next(it);
        if (it->second.window != 0 && !(m_windowExists && m_windowExists(it->second.window)))
            endInhibitor(it);
        it = next;
    }
}

void ScreenSaverService::callerLeft(const QString& caller)
{
    m_callers.removeWatchedService(caller);
    for (auto it = m_inhibitors.begin(); it != m_inhibitors.end();) {
        const auto next = std::next(it);
        if (it->second.caller == caller && it->second.window == 0)
            endInhibitor(it);
        it = next;
    }
}

void ScreenSaverService::endInhibitor(std::map<uint, Inhibitor>::iterator inhibitor)
{
    const Inhibitor ended = inhibitor->second;
    m_inhibitors.erase(inhibitor);
    const bool callerHasMore =
        std::any_of(m_inhibitors.begin(), m_inhibitors.end(),
                    [&](const auto& entry) { return entry.second.caller == ended.caller; });
    if (!callerHasMore && !ended.caller.isEmpty())
        m_callers.removeWatchedService(ended.caller);
    if (m_inhibitors.empty())
        emit released();
}
