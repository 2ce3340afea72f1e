#include "lockscreen/LockWindow.h"

#include <QResizeEvent>

LockWindow::LockWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint |
                          Qt::WindowStaysOnTopHint)
{
    setObjectName(QStringLiteral("window"));
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
