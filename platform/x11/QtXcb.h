#pragma once

#include <QGuiApplication>

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>

// Qt's own xcb connection, which the X11 services share: a grab or a window made on a second
// connection would be another client's. Nothing without an X11 display.
namespace QtXcb {

inline xcb_connection_t* connection()
{
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

inline xcb_window_t rootOf(xcb_connection_t* connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
}

// An xcb reply, freed as xcb asks.
struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// Whether a window of that id exists on Qt's display; false without one.
inline bool windowExists(uint32_t window)
{
    xcb_connection_t* c = connection();
    if (!c || window == XCB_NONE)
        return false;
    return Reply<xcb_get_window_attributes_reply_t>(xcb_get_window_attributes_reply(
               c, xcb_get_window_attributes(c, window), nullptr)) != nullptr;
}

} // namespace QtXcb
