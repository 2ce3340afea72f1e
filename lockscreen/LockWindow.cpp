#include "lockscreen/LockWindow.h"

#include <QResizeEvent>

LockWindow::LockWindow(QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::FramelessWindowHint | Qt::X11BypassWindowManagerHint |
                          Qt::WindowStaysOnTopHint)
{
    setObjectName(QStringLiteral("window"));
    // Shown without taking the focus: the focus comes after the keyboard grab, never before, so
    // that no key can slip to another window in between.
    setAttribute(Qt::WA_ShowWithoutActivating);
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

void LockWindow::setSeeThrough(bool seeThrough)
{
    if (testAttribute(Qt::WA_WState_Created) ||
        testAttribute(Qt::WA_TranslucentBackground) == seeThrough)
        return;
    setAttribute(Qt::WA_TranslucentBackground, seeThrough);
    // Qt turned this on with the attribute and leaves it on; the window paints its own
    // background again.
    if (!seeThrough)
        setAttribute(Qt::WA_NoSystemBackground, false);
}

void LockWindow::releaseNativeWindow()
{
    if (isVisible() || !testAttribute(Qt::WA_WState_Created))
        return;
    destroy(true, true);
}
