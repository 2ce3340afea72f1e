#pragma once

#include <QString>

#include <optional>

class IconRowPlacement;
class LockScreenViews;
class PowerSources;
struct BatteryReading;

// The battery's charge on the lock screen: a fixed picture (plain or charging) and the
// percentage beside it.
class BatteryWidget
{
public:
    BatteryWidget(PowerSources& power, LockScreenViews& views, IconRowPlacement& placement);

    // The whole percentage, truncated; nothing when the maximum is 0 (a number would mean
    // nothing then).
    static std::optional<int> percent(const BatteryReading& reading);

    // As the lock opens: the label shows the charge, when there is a battery to read.
    void showPercentage();
    // Each clock tick: placement, picture and percentage, so that plugging in or out shows
    // within a second.
    void refresh();

private:
    void setPercentText(const BatteryReading& reading);

    PowerSources& m_power;
    LockScreenViews& m_views;
    IconRowPlacement& m_placement;
};
