#include "platform/PowerSources.h"

#include <QDir>
#include <QFile>

namespace {

QString readAttribute(const QString& device, const char* name)
{
    QFile file(device + QLatin1Char('/') + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLatin1(file.read(256)).trimmed();
}

std::optional<double> readNumber(const QString& device, const char* name)
{
    bool ok = false;
    const double value = readAttribute(device, name).toDouble(&ok);
    if (!ok)
        return std::nullopt;
    return value;
}

} // namespace

SysfsPowerSources::SysfsPowerSources(QString root) : m_root(std::move(root)) {}

QString SysfsPowerSources::defaultRoot()
{
    const QByteArray moved = qgetenv("TESSARINE_POWER_SUPPLY_DIR");
    return moved.isEmpty() ? QStringLiteral("/sys/class/power_supply")
                           : QString::fromLocal8Bit(moved);
}

std::optional<BatteryReading> SysfsPowerSources::firstBattery() const
{
    const QDir dir(m_root);
    const QStringList names =
        dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System, QDir::Name);
    for (const QString& name : names) {
        const QString device = dir.filePath(name);
        if (readAttribute(device, "type") != QLatin1String("Battery"))
            continue;
        // The battery of a wireless mouse or keyboard is not the machine's.
        if (readAttribute(device, "scope") == QLatin1String("Device"))
            continue;
        // Only the first battery counts; one that cannot be read means no usable battery.
        auto now = readNumber(device, "energy_now");
        auto full = readNumber(device, "energy_full");
        if (!now || !full) {
            now = readNumber(device, "charge_now");
            full = readNumber(device, "charge_full");
        }
        if (!now || !full)
            return std::nullopt;
        return BatteryReading{*now, *full};
    }
    return std::nullopt;
}

bool SysfsPowerSources::externalPowerConnected() const
{
    const QDir dir(m_root);
    const QStringList names =
        dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System, QDir::Name);
    for (const QString& name : names) {
        const QString device = dir.filePath(name);
        const QString type = readAttribute(device, "type");
        if ((type == QLatin1String("Mains") || type == QLatin1String("USB")) &&
            readAttribute(device, "online") == QLatin1String("1"))
            return true;
    }
    return false;
}
