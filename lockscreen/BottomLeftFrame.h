#pragma once

#include <QRect>
#include <QRectF>

// Layout of the lock screen is worked out with the origin at the bottom-left corner and y growing
// upwards (a frame 200 points above the bottom edge stays there whatever the screen's height);
// Qt places widgets from the top-left corner.
namespace BottomLeftFrame {
inline QRect toWidgetGeometry(const QRectF& frame, int parentHeight)
{
    const QRectF flipped(frame.x(), parentHeight - frame.y() - frame.height(), frame.width(),
                         frame.height());
    return flipped.toRect();
}
} // namespace BottomLeftFrame
