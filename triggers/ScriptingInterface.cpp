#include "triggers/ScriptingInterface.h"

#include "app/AppDelegate.h"
#include "platform/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QRegularExpression>
#include <QVariant>

#include <algorithm>
#include <cmath>
#include <limits>

ScriptingInterface::ScriptingInterface(AppDelegate& delegate, QObject* parent)
    : QObject(parent), m_delegate(delegate)
{
}

int ScriptingInterface::mail()
{
    // Reading the count is how the mail script signals itself; the side effect is kept.
    m_delegate.changeBackBrightness();
    return 1;
}

void ScriptingInterface::setMail(int count)
{
    emit mailReported(count);
}

void ScriptingInterface::setLock(int value)
{
    if (value != 1)
        return;
    m_delegate.lockAppleScript();
    // A property write cannot be answered with an error, so that caller learns it from the log.
    m_delegate.whenInputHeld([](bool held) {
        if (!held)
            Log::line(QStringLiteral("Locking: ") + QString::fromLatin1(inputHeldElsewhereMessage));
    });
}

void ScriptingInterface::lockScreen(const QDBusConnection& bus, const QDBusMessage& call)
{
    m_delegate.lockAppleScript();
    if (m_delegate.locksHandedToDesktop()) {
        bus.send(
            m_delegate.desktopLockAnswered()
                ? call.createReply()
                : call.createErrorReply(QString::fromLatin1(inputHeldElsewhereError),
                                        QString::fromLatin1(AppDelegate::desktopDidNotLockLine)));
        return;
    }
    // Nobody is told that the screen is locked while another program still holds the keyboard
    // or the pointer: the answer waits for the grabs, or for the retries to give up.
    call.setDelayedReply(true);
    m_delegate.whenInputHeld([bus, call](bool held) mutable {
        if (!held)
            Log::line(QStringLiteral("Locking: ") + QString::fromLatin1(inputHeldElsewhereMessage));
        bus.send(held ? call.createReply()
                      : call.createErrorReply(QString::fromLatin1(inputHeldElsewhereError),
                                              QString::fromLatin1(inputHeldElsewhereMessage)));
    });
}

void ScriptingInterface::waitUntilShown(const QDBusConnection& bus, const QDBusMessage& call)
{
    call.setDelayedReply(true);
    const QDBusMessage reply = call.createReply();
    m_delegate.whenLockShown([bus, reply]() mutable { bus.send(reply); });
}

int ScriptingInterface::intValue(const QVariant& value)
{
    constexpr qint64 lowest = std::numeric_limits<int>::min();
    constexpr qint64 highest = std::numeric_limits<int>::max();
    const auto held = [&](qint64 n) { return int(std::clamp(n, lowest, highest)); };
    switch (value.metaType().id()) {
    case QMetaType::Bool:
        return value.toBool() ? 1 : 0;
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return held(value.toLongLong());
    case QMetaType::ULongLong:
        return value.toULongLong() > quint64(highest) ? int(highest) : int(value.toULongLong());
    case QMetaType::Double: {
        const double real = value.toDouble();
        if (std::isnan(real))
            return 0;
        return int(std::clamp(std::trunc(real), double(lowest), double(highest)));
    }
    case QMetaType::QString: {
        // Leading blanks, a sign, then digits as far as they go.
        static const QRegularExpression leadingInteger(QStringLiteral("^\\s*([+-]?[0-9]+)"));
        const QRegularExpressionMatch match = leadingInteger.match(value.toString());
        if (!match.hasMatch())
            return 0;
        const QString digits = match.captured(1);
        bool fits = false;
        const qint64 n = digits.toLongLong(&fits);
        if (fits)
            return held(n);
        return digits.startsWith(QLatin1Char('-')) ? int(lowest) : int(highest);
    }
    default:
        if (value.metaType() == QMetaType::fromType<QDBusVariant>())
            return intValue(qvariant_cast<QDBusVariant>(value).variant());
        return 0;
    }
}
