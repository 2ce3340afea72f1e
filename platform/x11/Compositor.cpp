#include "platform/x11/Compositor.h"

#include "platform/x11/QtXcb.h"

bool Compositor::isRunning()
{
    xcb_connection_t* connection = QtXcb::connection();
    if (!connection)
        return false;
    // Screen 0: Qt drives one X screen, and desktops with several are long gone.
    static constexpr char name[] = "_NET_WM_CM_S0";
    QtXcb::Reply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, sizeof(name) - 1, name), nullptr));
    if (!atom)
        return false;
    QtXcb::Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    return owner && owner->owner != XCB_NONE;
}
