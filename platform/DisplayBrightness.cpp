#include "platform/DisplayBrightness.h"

#include "platform/Log.h"
#include "platform/x11/QtXcb.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QGuiApplication>

#include <xcb/dpms.h>

#include <atomic>
#include <cmath>
#include <cstdlib>

namespace {

std::optional<double> readNumber(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    bool ok = false;
    const double value = QString::fromLatin1(file.read(64)).trimmed().toDouble(&ok);
    return ok ? std::optional<double>(value) : std::nullopt;
}

// Qt's connection, when the display has the DPMS extension. A request for an extension the
// server lacks would close the whole connection, so nothing is sent without it.
xcb_connection_t* dpmsConnection()
{
    xcb_connection_t* connection = QtXcb::connection();
    if (!connection)
        return nullptr;
    const xcb_query_extension_reply_t* dpms = xcb_get_extension_data(connection, &xcb_dpms_id);
    return dpms && dpms->present ? connection : nullptr;
}

} // namespace

LinuxDisplayBrightness::LinuxDisplayBrightness(QString root) : m_root(std::move(root)) {}

QString LinuxDisplayBrightness::defaultRoot()
{
    const QByteArray moved = qgetenv("TESSARINE_BACKLIGHT_DIR");
    return moved.isEmpty() ? QStringLiteral("/sys/class/backlight") : QString::fromLocal8Bit(moved);
}

QString LinuxDisplayBrightness::device() const
{
    const QStringList names =
        QDir(m_root).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System, QDir::Name);
    return names.isEmpty() ? QString() : names.first();
}

std::optional<float> LinuxDisplayBrightness::brightness() const
{
    const QString name = device();
    if (name.isEmpty()) {
        const auto on = dpmsOn();
        return on ? std::optional<float>(*on ? 1.0f : 0.0f) : std::nullopt;
    }
    const QString folder = m_root + QLatin1Char('/') + name;
    const auto now = readNumber(folder + QStringLiteral("/brightness"));
    const auto max = readNumber(folder + QStringLiteral("/max_brightness"));
    if (!now || !max || *max <= 0)
        return std::nullopt;
    return static_cast<float>(*now / *max);
}

void LinuxDisplayBrightness::setBrightness(float level)
{
    const QString name = device();
    if (name.isEmpty()) {
        setDpms(level != 0.0f);
        return;
    }
    const QString folder = m_root + QLatin1Char('/') + name;
    const auto max = readNumber(folder + QStringLiteral("/max_brightness"));
    if (!max)
        return;
    const double wanted = std::round(double(level) * *max);
    if (!(wanted >= 0) || wanted > 4294967295.0)
        return; // nothing a device could take
    const auto value = static_cast<quint32>(wanted);
    if (setThroughLogind(name, value))
        return;
    QFile file(folder + QStringLiteral("/brightness"));
    if (file.open(QIODevice::WriteOnly))
        file.write(QByteArray::number(value) + '\n');
}

bool LinuxDisplayBrightness::setThroughLogind(const QString& device, quint32 value) const
{
    // Only the backlight under /sys is logind's to set.
    if (m_root != QLatin1String("/sys/class/backlight"))
        return false;
    QDBusConnection system = QDBusConnection::systemBus();
    if (!system.isConnected())
        return false;
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"),
        QStringLiteral("/org/freedesktop/login1/session/auto"),
        QStringLiteral("org.freedesktop.login1.Session"), QStringLiteral("SetBrightness"));
    call << QStringLiteral("backlight") << device << value;
    return system.call(call).type() == QDBusMessage::ReplyMessage;
}

std::optional<bool> LinuxDisplayBrightness::dpmsOn()
{
    xcb_connection_t* connection = dpmsConnection();
    if (!connection)
        return std::nullopt;
    auto* info = xcb_dpms_info_reply(connection, xcb_dpms_info(connection), nullptr);
    if (!info)
        return std::nullopt;
    const bool on = info->power_level == XCB_DPMS_DPMS_MODE_ON;
    std::free(info);
    return on;
}

bool LinuxDisplayBrightness::setDpms(bool on)
{
    xcb_connection_t* connection = dpmsConnection();
    bool isCapable = false;
    if (connection) {
        auto* capable = xcb_dpms_capable_reply(connection, xcb_dpms_capable(connection), nullptr);
        isCapable = capable && capable->capable;
        std::free(capable);
    }
    if (!isCapable) {
        static std::atomic<bool> said{false};
        if (!said.exchange(true))
            Log::line(QStringLiteral("the display has no backlight and no power control"));
        return false;
    }
    xcb_dpms_enable(connection);
    xcb_dpms_force_level(connection, on ? XCB_DPMS_DPMS_MODE_ON : XCB_DPMS_DPMS_MODE_OFF);
    xcb_flush(connection);
    return true;
}
