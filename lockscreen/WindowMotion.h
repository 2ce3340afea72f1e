#pragma once

#include <QList>
#include <QPoint>

class QWidget;

// Moves and fades the lock window. Positions are window origins in Qt's coordinates (top-left,
// y growing downwards). The program plays them with Qt's animation framework; tests record them.
class WindowMotion
{
public:
    virtual ~WindowMotion() = default;
    // Opacity from 0 to 1, easing in. Opacity shows only under a compositing manager.
    virtual void fadeIn(QWidget* window, int milliseconds) = 0;
    virtual void setOpacity(QWidget* window, double opacity) = 0;
    virtual void moveTo(QWidget* window, QPoint origin) = 0;
    // A linear movement through the points, one after the other in equal time, ending at the
    // last point.
    virtual void follow(QWidget* window, const QList<QPoint>& points, int milliseconds) = 0;
    virtual void stop(QWidget* window) = 0;
};

class QtWindowMotion final : public WindowMotion
{
public:
    void fadeIn(QWidget* window, int milliseconds) override;
    void setOpacity(QWidget* window, double opacity) override;
    void moveTo(QWidget* window, QPoint origin) override;
    void follow(QWidget* window, const QList<QPoint>& points, int milliseconds) override;
    void stop(QWidget* window) override;
};
