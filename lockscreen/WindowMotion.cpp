#include "lockscreen/WindowMotion.h"

#include "platform/x11/QtXcb.h"

#include <QPropertyAnimation>
#include <QWidget>

namespace {
const char* const motionName = "tessarineMotion";
const char* const fadeName = "tessarineFade";

void stopNamed(QWidget* window, const char* name)
{
    const auto running = window->findChildren<QPropertyAnimation*>(QString::fromLatin1(name),
                                                                   Qt::FindDirectChildrenOnly);
    for (QPropertyAnimation* animation : running) {
        animation->stop();
        animation->deleteLater();
    }
}
} // namespace

void QtWindowMotion::fadeIn(QWidget* window, int milliseconds)
{
    stopNamed(window, fadeName);
    auto* fade = new QPropertyAnimation(window, "windowOpacity", window);
    fade->setObjectName(QString::fromLatin1(fadeName));
    fade->setStartValue(0.0);
    fade->setEndValue(1.0);
    fade->setDuration(milliseconds);
    fade->setEasingCurve(QEasingCurve::InQuad);
    // Each step's opacity is a window property that Qt only queues; without a flush it would
    // wait for the next input event, and with no input the window would jump from 0 to 1.
    QObject::connect(fade, &QPropertyAnimation::valueChanged, window, [] {
        if (xcb_connection_t* connection = QtXcb::connection())
            xcb_flush(connection);
    });
    fade->start(QAbstractAnimation::DeleteWhenStopped);
}

void QtWindowMotion::setOpacity(QWidget* window, double opacity)
{
    stopNamed(window, fadeName);
    window->setWindowOpacity(opacity);
}

void QtWindowMotion::moveTo(QWidget* window, QPoint origin)
{
    stopNamed(window, motionName);
    window->move(origin);
}

void QtWindowMotion::follow(QWidget* window, const QList<QPoint>& points, int milliseconds)
{
    stopNamed(window, motionName);
    if (points.isEmpty())
        return;
    auto* motion = new QPropertyAnimation(window, "pos", window);
    motion->setObjectName(QString::fromLatin1(motionName));
    motion->setDuration(milliseconds);
    motion->setEasingCurve(QEasingCurve::Linear);
    const qsizetype last = points.size() - 1;
    for (qsizetype i = 0; i <= last; ++i)
        motion->setKeyValueAt(last == 0 ? 1.0 : double(i) / double(last), points[i]);
    motion->start(QAbstractAnimation::DeleteWhenStopped);
}

void QtWindowMotion::stop(QWidget* window)
{
    stopNamed(window, motionName);
    stopNamed(window, fadeName);
}
