#include "lockscreen/BackgroundView.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

BackgroundView::BackgroundView(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(&m_compression, &QFutureWatcher<void>::finished, this, &BackgroundView::letGoOfWhole);
}

void BackgroundView::setPicture(const TiledPicture& picture, const QImage& whole)
{
    m_picture = picture;
    m_whole = whole;
    m_paintedWhole = false;
    m_compression.setFuture(picture.compressed());
    update();
}

void BackgroundView::clearPicture()
{
    m_picture = TiledPicture();
    m_whole = QImage();
    update();
}

QRect BackgroundView::pictureRect() const
{
    const QSize size = m_picture.deviceIndependentSize().toSize();
    return QRect(QPoint((width() - size.width()) / 2, (height() - size.height()) / 2), size);
}

void BackgroundView::setShadow(const ShadowStyle& shadow)
{
    m_shadow = shadow;
    update();
}

void BackgroundView::paintEvent(QPaintEvent* event)
{
    if (m_picture.isNull())
        return;
    QPainter painter(this);
    const QRect target = pictureRect();
    // The shadow only shows where the picture does not cover the view. A blurred edge is drawn
    // as a few widening, fading outlines instead of blurring a whole-screen image.
    if (m_shadow && !target.contains(rect())) {
        const QPointF offset(m_shadow->offset.x(), -m_shadow->offset.y());
        const int steps = std::max(1, int(std::ceil(m_shadow->blur)));
        QColor colour = m_shadow->colour;
        const double alpha = colour.alphaF() / steps;
        painter.setPen(Qt::NoPen);
        for (int step = steps; step >= 1; --step) {
            colour.setAlphaF(float(alpha));
            painter.setBrush(colour);
            const double grow = step * m_shadow->blur / steps / 2.0;
            painter.drawRect(QRectF(target).translated(offset).adjusted(-grow, -grow, grow, grow));
        }
    }
    if (m_whole.isNull()) {
        m_picture.draw(painter, target.topLeft(), event->rect());
        return;
    }
    painter.drawImage(target.topLeft(), m_whole);
    if (event->rect().contains(target.intersected(rect()))) {
        m_paintedWhole = true;
        letGoOfWhole();
    }
}

void BackgroundView::hideEvent(QHideEvent* event)
{
    m_paintedWhole = true;
    letGoOfWhole();
    QWidget::hideEvent(event);
}

void BackgroundView::letGoOfWhole()
{
    if (m_paintedWhole && m_compression.isFinished())
        m_whole = QImage();
}
