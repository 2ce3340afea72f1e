#include "lockscreen/BatteryWidget.h"

#include "lockscreen/IconRowPlacement.h"
#include "lockscreen/LockScreenViews.h"
#include "platform/PowerSources.h"

#include <QLabel>

#include <cmath>

BatteryWidget::BatteryWidget(PowerSources& power, LockScreenViews& views,
                             IconRowPlacement& placement)
    : m_power(power), m_views(views), m_placement(placement)
{
}

std::optional<int> BatteryWidget::percent(const BatteryReading& reading)
{
    // Capacities are read as 32-bit integers.
    const qint32 current = qint32(reading.currentCapacity);
    const qint32 maximum = qint32(reading.maxCapacity);
    if (maximum == 0)
        return std::nullopt;
    return int(std::trunc(double(current) / double(maximum) * 100.0));
}

void BatteryWidget::setPercentText(const BatteryReading& reading)
{
    const std::optional<int> value = percent(reading);
    m_views.realPercentText()->setText(value ? QString::asprintf("%d", *value) : QString());
}

void BatteryWidget::showPercentage()
{
    const std::optional<BatteryReading> reading = m_power.firstBattery();
    if (reading)
        setPercentText(*reading);
}

void BatteryWidget::refresh()
{
    const std::optional<BatteryReading> reading = m_power.firstBattery();
    if (!reading)
        return; // a desktop machine: the views stay as they were
    m_placement.placeBattery(m_power.externalPowerConnected());
    setPercentText(*reading);
}
