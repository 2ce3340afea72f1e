#include "lockscreen/LockImageView.h"

#include <QPainter>

#include <cmath>

LockImageView::LockImageView(QWidget* parent) : QLabel(parent)
{
    setScaledContents(true);
}

void LockImageView::setRotation(double radians)
{
    if (std::isnan(radians))
        radians = 0;
    m_rotation = radians;
    update();
}

void LockImageView::paintEvent(QPaintEvent* event)
{
    if (m_rotation == 0) {
        QLabel::paintEvent(event);
        return;
    }
    const QPixmap picture = pixmap();
    if (picture.isNull())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(width() / 2.0, height() / 2.0);
    // Qt turns clockwise for a positive angle.
    painter.rotate(-m_rotation * 180.0 / M_PI);
    painter.translate(-width() / 2.0, -height() / 2.0);
    painter.drawPixmap(rect(), picture);
}
