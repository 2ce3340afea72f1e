#pragma once

#include <QString>

#include <optional>

struct BatteryReading
{
    double currentCapacity = 0; // energy_now or charge_now
    double maxCapacity = 0;     // energy_full or charge_full
};

// The machine's power sources. Only whether a battery is present is asked at start-up; the lock
// screen's battery widget reads the capacity and the adapter.
class PowerSources
{
public:
    virtual ~PowerSources() = default;
    // The first battery's reading; nothing when there is no battery or it cannot be read.
    virtual std::optional<BatteryReading> firstBattery() const = 0;
    virtual bool externalPowerConnected() const = 0;
};

// /sys/class/power_supply: batteries are the entries whose type is "Battery", taken in name
// order; the adapter is connected when any "Mains" or "USB" supply is online. The root can be
// moved (TESSARINE_POWER_SUPPLY_DIR) so that tests can give a machine any power sources.
class SysfsPowerSources final : public PowerSources
{
public:
    explicit SysfsPowerSources(QString root = defaultRoot());
    static QString defaultRoot();

    std::optional<BatteryReading> firstBattery() const override;
    bool externalPowerConnected() const override;

private:
    QString m_root;
};
