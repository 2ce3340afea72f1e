#include "lockscreen/IconRow.h"

namespace {

double batteryShift(bool doNotDisturb, bool mail)
{
    if (doNotDisturb && !mail)
        return -25.0;
    if (mail && !doNotDisturb)
        return 25.0;
    return 0.0;
}

} // namespace

QRectF IconRow::batteryFrame(const QRectF& batteryIcon, bool doNotDisturb, bool mail)
{
    return QRectF(batteryIcon.x() + batteryShift(doNotDisturb, mail), batteryIcon.y() - lowered,
                  batteryIcon.width(), batteryIcon.height());
}

QRectF IconRow::percentFrame(const QRectF& percentText, bool doNotDisturb, bool mail, bool adapter)
{
    return QRectF(percentText.x() + batteryShift(doNotDisturb, mail) + 1.0,
                  percentText.y() + (adapter ? 17.0 : 16.0), percentText.width(),
                  percentText.height());
}

QRectF IconRow::doNotDisturbFrame(const QRectF& batteryIcon, bool battery, bool mail)
{
    const double shift = battery && mail ? 50.0 : (battery || mail ? 25.0 : 0.0);
    return QRectF(batteryIcon.x() + shift, batteryIcon.y() - lowered, controlSize, controlSize);
}

QRectF IconRow::mailFrame(const QRectF& batteryIcon, bool battery, bool doNotDisturb)
{
    const double shift = battery && doNotDisturb ? -40.0 : (battery || doNotDisturb ? -20.0 : 0.0);
    return QRectF(batteryIcon.x() + shift, batteryIcon.y() - lowered, controlSize, controlSize);
}
