#include "platform/x11/QtXcb.h"
#include "platform/x11/X11ScreenShield.h"

#include <QGuiApplication>
#include <QScreen>

#include <xcb/xtest.h>

using QtXcb::Reply;
using QtXcb::rootOf;

void X11PointerInjector::clickTopLeftAndMoveBack()
{
    xcb_connection_t* connection = QtXcb::connection();
    if (!connection)
        return;
    const xcb_window_t root = rootOf(connection);
    Reply<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(connection, xcb_query_pointer(connection, root), nullptr));
    const int16_t x = pointer ? pointer->root_x : 0;
    const int16_t y = pointer ? pointer->root_y : 0;
    // The primary display's top-left corner, in the root window's pixels.
    QPoint corner;
    if (const QScreen* primary = QGuiApplication::primaryScreen())
        corner = primary->geometry().topLeft() * primary->devicePixelRatio();
    xcb_test_fake_input(connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root,
                        int16_t(corner.x()), int16_t(corner.y()), 0);
    xcb_test_fake_input(connection, XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, root, 0, 0, 0);
    xcb_test_fake_input(connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root, x, y, 0);
    xcb_flush(connection);
    m_pressed = true;
}

void X11PointerInjector::releasePressedButton()
{
    if (!m_pressed)
        return;
    xcb_connection_t* connection = QtXcb::connection();
    if (!connection)
        return;
    xcb_test_fake_input(connection, XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, rootOf(connection), 0,
                        0, 0);
    xcb_flush(connection);
    m_pressed = false;
}
