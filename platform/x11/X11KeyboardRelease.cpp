#include "platform/x11/X11KeyboardRelease.h"

#include "platform/x11/QtXcb.h"

#include <QCoreApplication>

#include <algorithm>

using QtXcb::Reply;

X11KeyboardRelease::X11KeyboardRelease(xcb_connection_t* connection) : m_connection(connection)
{
    if (m_connection)
        m_root = QtXcb::rootOf(m_connection);
    m_longestWait.setSingleShot(true);
    m_longestWait.setInterval(longestWaitMs);
    QObject::connect(&m_longestWait, &QTimer::timeout, [this] { finish(); });
}

X11KeyboardRelease::~X11KeyboardRelease()
{
    if (m_waiting)
        finish();
}

void X11KeyboardRelease::release()
{
    if (!m_connection)
        return;
    // Moved first, then looked at: a key that comes up in between is reported to the grab either
    // way, never to another client.
    Reply<xcb_grab_keyboard_reply_t> moved(
        xcb_grab_keyboard_reply(m_connection,
                                xcb_grab_keyboard(m_connection, 0, m_root, XCB_CURRENT_TIME,
                                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                nullptr));
    if (!moved || moved->status != XCB_GRAB_STATUS_SUCCESS || !anyKeyDown()) {
        finish();
        return;
    }
    if (!m_waiting)
        QCoreApplication::instance()->installNativeEventFilter(this);
    m_waiting = true;
    m_longestWait.start();
}

void X11KeyboardRelease::cancel()
{
    stopWaiting();
}

bool X11KeyboardRelease::anyKeyDown() const
{
    Reply<xcb_query_keymap_reply_t> keymap(
        xcb_query_keymap_reply(m_connection, xcb_query_keymap(m_connection), nullptr));
    return keymap && std::any_of(std::begin(keymap->keys), std::end(keymap->keys),
                                 [](uint8_t bits) { return bits != 0; });
}

void X11KeyboardRelease::finish()
{
    stopWaiting();
    xcb_ungrab_keyboard(m_connection, XCB_CURRENT_TIME);
    xcb_flush(m_connection);
}

void X11KeyboardRelease::stopWaiting()
{
    if (m_waiting)
        QCoreApplication::instance()->removeNativeEventFilter(this);
    m_waiting = false;
    m_longestWait.stop();
}

bool X11KeyboardRelease::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (!m_waiting || eventType != "xcb_generic_event_t")
        return false;
    auto* event = static_cast<xcb_generic_event_t*>(message);
    const uint8_t type = event->response_type & 0x7f;
    if (type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE)
        return false;
    // Keys of the grab on the root window belong to nobody: they are dropped.
    if (type == XCB_KEY_RELEASE && !anyKeyDown())
        finish();
    return true;
}
