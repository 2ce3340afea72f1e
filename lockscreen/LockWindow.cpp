#include "lockscreen/LockWindow.h"

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
