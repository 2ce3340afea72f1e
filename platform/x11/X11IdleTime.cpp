#include "platform/x11/X11IdleTime.h"

#include "platform/x11/QtXcb.h"

#include <xcb/screensaver.h>

uint32_t X11IdleTime::sinceInput() const
{
    xcb_connection_t* connection = QtXcb::connection();
    if (!connection)
        return 0;
    QtXcb::Reply<xcb_screensaver_query_info_reply_t> info(xcb_screensaver_query_info_reply(
        connection, xcb_screensaver_query_info(connection, QtXcb::rootOf(connection)), nullptr));
    return info ? info->ms_since_user_input : 0;
}

void X11IdleTime::countAsActivity()
{
    if (xcb_connection_t* connection = QtXcb::connection()) {
        xcb_force_screen_saver(connection, XCB_SCREEN_SAVER_RESET);
        xcb_flush(connection);
    }
}
