#include "lockscreen/IconRowPlacement.h"

#include "lockscreen/IconRow.h"
#include "lockscreen/LockScreenViews.h"
#include "platform/ImageLibrary.h"
#include "platform/PowerSources.h"
#include "settings/Preferences.h"

#include <QLabel>
#include <QPushButton>

IconRowPlacement::IconRowPlacement(const Preferences& preferences, LockScreenViews& views,
                                   PowerSources& power, std::function<bool()> resolutionChanged)
    : m_preferences(preferences), m_views(views), m_power(power),
      m_resolutionChanged(std::move(resolutionChanged))
{
}

const char* IconRowPlacement::batteryImageName(bool adapter, int textIsBlack)
{
    if (adapter)
        return textIsBlack == 1 ? "batterycharging" : "batterychargingwhite";
    return textIsBlack == 1 ? "batteryicon" : "batteryiconwhite";
}

void IconRowPlacement::updateIconPositions(bool force)
{
    if (m_preferences.showBattery)
        updateBattery(force);
    if (m_preferences.showDoNotDisturb)
        updateDoNotDisturb(force);
    if (m_preferences.showShutDown)
        updateShutDown(force);
}

void IconRowPlacement::updateBattery(bool force)
{
    if (!mayPlace(force))
        return;
    placeBattery(m_power.externalPowerConnected());
}

void IconRowPlacement::placeBattery(bool adapter)
{
    const bool dnd = m_preferences.showDoNotDisturb;
    const bool mail = m_preferences.showShutDown;
    QLabel* battery = m_views.batteryIndicator();
    const QRectF frame = IconRow::batteryFrame(m_views.batteryIcon(), dnd, mail);
    m_views.placeFromBottomLeft(battery, frame);
    m_batteryImage = QString::fromLatin1(batteryImageName(adapter, m_preferences.textIsBlack));
    // The clock's tick places the battery every second: its picture is drawn again only when it
    // would look different, not rendered from its SVG and repainted under its shadow each time.
    const BatteryPicture shown{m_batteryImage, frame.size().toSize(), battery->devicePixelRatioF()};
    if (shown != m_batteryShown || battery->pixmap().isNull()) {
        m_batteryShown = shown;
        battery->setPixmap(
            ImageLibrary::named(m_batteryImage).pixmap(shown.size, shown.pixelRatio));
    }
    m_views.placeFromBottomLeft(m_views.realPercentText(),
                                IconRow::percentFrame(m_views.percentText(), dnd, mail, adapter));
}

void IconRowPlacement::updateDoNotDisturb(bool force)
{
    if (mayPlace(force))
        placeDoNotDisturb();
}

void IconRowPlacement::updateShutDown(bool force)
{
    if (mayPlace(force))
        placeMail();
}

void IconRowPlacement::updatePositions()
{
    if (m_preferences.showDoNotDisturb)
        placeDoNotDisturb();
    if (m_preferences.showShutDown)
        placeMail();
}

void IconRowPlacement::placeDoNotDisturb()
{
    m_views.placeFromBottomLeft(m_views.doNotDisturb(),
                                IconRow::doNotDisturbFrame(m_views.batteryIcon(),
                                                           m_preferences.showBattery,
                                                           m_preferences.showShutDown));
}

void IconRowPlacement::placeMail()
{
    m_views.placeFromBottomLeft(m_views.mailImage(),
                                IconRow::mailFrame(m_views.batteryIcon(), m_preferences.showBattery,
                                                   m_preferences.showDoNotDisturb));
}
