#pragma once

#include <QSize>
#include <QString>

#include <functional>

class LockScreenViews;
class PowerSources;
struct Preferences;

// Places the controls of the icon row for the current settings. Each control is placed again
// only when asked to with force, or when the resolution changed in both dimensions.
class IconRowPlacement
{
public:
    IconRowPlacement(const Preferences& preferences, LockScreenViews& views, PowerSources& power,
                     std::function<bool()> resolutionChanged);

    void updateIconPositions(bool force);
    // Also chooses the battery picture.
    void updateBattery(bool force);
    void updateDoNotDisturb(bool force);
    // The mail badge; the name is kept from the setting that shows it.
    void updateShutDown(bool force);
    // The do-not-disturb button and the mail badge without the force test. Nothing calls it.
    void updatePositions();

    // The battery picture by adapter and text colour.
    static const char* batteryImageName(bool adapter, int textIsBlack);
    // Places the battery and its percentage label and sets the battery picture.
    void placeBattery(bool adapter);
    QString batteryImage() const { return m_batteryImage; }

private:
    bool mayPlace(bool force) const { return force || m_resolutionChanged(); }
    void placeDoNotDisturb();
    void placeMail();

    const Preferences& m_preferences;
    LockScreenViews& m_views;
    PowerSources& m_power;
    std::function<bool()> m_resolutionChanged;
    QString m_batteryImage;
    // What the battery's label shows now.
    struct BatteryPicture
    {
        QString name;
        QSize size;
        double pixelRatio = 0;
        bool operator==(const BatteryPicture&) const = default;
    } m_batteryShown;
};
