#include "lockscreen/LockWindow.h"

#include <QResizeEvent>

LockWindow::LockWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint |
                          Qt::WindowStaysOnTopHint)
{
    setObjectName(QStringLiteral("window"));
    // Modal to the whole program: an alert left open (a confirmation, say) must never block the
    // keys typed on the lock screen; while locked it is the alert that waits.
    setWindowModality(Qt::ApplicationModal);
    setWindowTitle(QStringLiteral("Tessarine lock screen"));
    setAutoFillBackground(true);
    QPalette background = palette();
    background.setColor(QPalette::Window, Qt::black);
    setPalette(background);
}

void LockWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    emit resized();
}
