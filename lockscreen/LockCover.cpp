#include "lockscreen/LockCover.h"

#include "platform/x11/QtXcb.h"

#include <QWidget>
#include <QWindow>

namespace {

// The server paints this colour into the window itself, as it maps it and whenever a part of
// it is uncovered; nothing waits for this program to paint.
void setServerBackground(QWidget* window, const QColor& colour)
{
    xcb_connection_t* connection = QtXcb::connection();
    if (!connection)
        return;
    const uint32_t pixel = colour.rgb() & 0xffffffu;
    xcb_change_window_attributes(connection, xcb_window_t(window->winId()), XCB_CW_BACK_PIXEL,
                                 &pixel);
}

} // namespace

LockCover::LockCover() = default;

LockCover::~LockCover() = default;

void LockCover::show(const QList<QRect>& screens, const QColor& colour)
{
    std::vector<std::unique_ptr<QWidget>> old = std::move(m_windows);
    m_windows.clear();
    int index = 0;
    for (const QRect& screen : screens) {
        auto cover = std::make_unique<QWidget>(nullptr, Qt::Window | Qt::FramelessWindowHint |
                                                            Qt::X11BypassWindowManagerHint |
                                                            Qt::WindowStaysOnTopHint);
        cover->setObjectName(QStringLiteral("shade%1").arg(index++));
        cover->setAttribute(Qt::WA_ShowWithoutActivating);
        // Never painted by Qt, so no window-sized backing store is made for it: the server's
        // background is the whole picture.
        cover->setUpdatesEnabled(false);
        cover->setGeometry(screen);
        cover->winId();
        setServerBackground(cover.get(), colour);
        cover->show();
        m_windows.push_back(std::move(cover));
    }
    // Security: the new covers are mapped before the old ones go, so that a display is never
    // uncovered in between.
    for (const auto& cover : old)
        cover->hide();
    if (xcb_connection_t* connection = QtXcb::connection())
        xcb_flush(connection);
}

void LockCover::hide()
{
    for (const auto& cover : m_windows)
        cover->hide();
    m_windows.clear();
}

QList<QWidget*> LockCover::windows() const
{
    QList<QWidget*> windows;
    for (const auto& cover : m_windows)
        windows.append(cover.get());
    return windows;
}

bool LockCover::drawn(const QList<QWidget*>& windows)
{
    // Without an X server (the tests' offscreen platform) a window shown is all there is to it.
    xcb_connection_t* connection = QtXcb::connection();
    for (QWidget* window : windows) {
        if (!window->isVisible() || !window->windowHandle())
            return false;
        if (connection && !window->windowHandle()->isExposed())
            return false;
    }
    // Painted and flushed now rather than on the next turn of the event loop, then one round
    // trip: the server answers only once it has drawn every request sent before.
    for (QWidget* window : windows) {
        if (window->updatesEnabled())
            window->repaint();
    }
    if (connection)
        QtXcb::Reply<xcb_get_input_focus_reply_t>(
            xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    return true;
}
