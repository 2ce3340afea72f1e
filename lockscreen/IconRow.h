#pragma once

#include <QRectF>

// Where the battery group, the do-not-disturb button and the mail badge sit in the row at the
// bottom of the lock screen. Frames are in points with the origin at the bottom left. The anchor
// is the battery placeholder's frame; every control is lowered by 10 points.
//
// The steps are uneven on purpose: the do-not-disturb button moves right by 25 per neighbour,
// the mail badge left by 20 per neighbour.
namespace IconRow {
inline constexpr double controlSize = 25.0;
inline constexpr double lowered = 10.0;

QRectF batteryFrame(const QRectF& batteryIcon, bool doNotDisturb, bool mail);
// The percentage label: the placeholder's frame moved as the battery is and one point further
// right, raised by 17 points on external power and by 16 on the battery.
QRectF percentFrame(const QRectF& percentText, bool doNotDisturb, bool mail, bool adapter);
QRectF doNotDisturbFrame(const QRectF& batteryIcon, bool battery, bool mail);
QRectF mailFrame(const QRectF& batteryIcon, bool battery, bool doNotDisturb);
} // namespace IconRow
