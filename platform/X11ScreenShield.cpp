#include "platform/X11ScreenShield.h"

#include "platform/QtXcb.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <xcb/xtest.h>

#include <cstdlib>
#include <memory>

namespace {

using QtXcb::Reply;

xcb_connection_t* qtConnection()
{
    return QtXcb::connection();
}

using QtXcb::rootOf;

xcb_window_t nativeId(QWidget* window)
{
    return static_cast<xcb_window_t>(window->winId());
}

} // namespace

X11ScreenShield::X11ScreenShield()
    : m_connection(qtConnection()), m_guard(m_connection), m_keyboardRelease(m_connection)
{
    if (m_connection)
        m_root = rootOf(m_connection);
}

X11ScreenShield::~X11ScreenShield()
{
    keepAbove({});
}

bool X11ScreenShield::makeKey(QWidget* window)
{
    if (!m_connection) {
        window->raise();
        window->activateWindow();
        return false;
    }
    const xcb_window_t id = nativeId(window);
    m_keyWindow = window;
    // The grab of the last lock, still waiting for its keys to come up, is taken over below.
    m_keyboardRelease.cancel();
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_connection, id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    // The keyboard first: from the moment the grab succeeds every key goes to the lock, whatever
    // window has the focus. The focus follows, for the widgets that look at it.
    const auto grabKeyboard = [this, id] {
        Reply<xcb_grab_keyboard_reply_t> reply(
            xcb_grab_keyboard_reply(m_connection,
                                    xcb_grab_keyboard(m_connection, 0, id, XCB_CURRENT_TIME,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                    nullptr));
        return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    };
    m_keyboardGrabbed = grabKeyboard();
    xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_POINTER_ROOT, id, XCB_CURRENT_TIME);
    xcb_flush(m_connection);
    window->raise();
    window->activateWindow();
    // The guard of a Tessarine that ended while locked may hold the keyboard: with our window up
    // and focused, it lets go, and the grab is taken again at once. Keys typed in between go to
    // the focused lock window.
    if (!m_keyboardGrabbed && m_guard.askHolderToRelease())
        m_keyboardGrabbed = grabKeyboard();
    // Started once the keyboard is ours, so that it never delays the grab.
    if (m_keyboardGrabbed)
        m_guard.watch();
    return m_keyboardGrabbed;
}

bool X11ScreenShield::grabPointer(QWidget* window)
{
    if (!m_connection)
        return false;
    const uint16_t events =
        XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION;
    Reply<xcb_grab_pointer_reply_t> reply(xcb_grab_pointer_reply(
        m_connection,
        xcb_grab_pointer(m_connection, 0, nativeId(window), events, XCB_GRAB_MODE_ASYNC,
                         XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
        nullptr));
    m_pointerGrabbed = reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    return m_pointerGrabbed;
}

void X11ScreenShield::releaseGrabs()
{
    if (!m_connection)
        return;
    // Told first: the guard then lets every later press go on to where it was going.
    m_guard.unlocked();
    xcb_ungrab_pointer(m_connection, XCB_CURRENT_TIME);
    // The key that ended the lock is let go of with the grab held (see X11KeyboardRelease).
    if (m_keyboardGrabbed)
        m_keyboardRelease.release();
    else
        xcb_ungrab_keyboard(m_connection, XCB_CURRENT_TIME);
    xcb_flush(m_connection);
    m_keyboardGrabbed = false;
    m_pointerGrabbed = false;
}

void X11ScreenShield::keepAbove(const QList<QWidget*>& windows)
{
    m_above.clear();
    for (QWidget* window : windows)
        m_above.append(window);
    watchRoot(!m_above.isEmpty());
    if (!m_above.isEmpty())
        raiseAll();
}

void X11ScreenShield::watchRoot(bool watch)
{
    if (!m_connection || watch == m_watchingRoot)
        return;
    if (watch) {
        // Qt has its own interest in the root window; ours is added to it and taken away again.
        Reply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            m_connection, xcb_get_window_attributes(m_connection, m_root), nullptr));
        m_rootMaskBefore = attributes ? attributes->your_event_mask : 0;
        const uint32_t mask = m_rootMaskBefore | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
        QCoreApplication::instance()->installNativeEventFilter(this);
    } else {
        xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &m_rootMaskBefore);
        QCoreApplication::instance()->removeNativeEventFilter(this);
    }
    xcb_flush(m_connection);
    m_watchingRoot = watch;
}

bool X11ScreenShield::isOurs(xcb_window_t window) const
{
    for (const QPointer<QWidget>& widget : m_above) {
        if (widget && widget->internalWinId() == window)
            return true;
    }
    return false;
}

void X11ScreenShield::raiseAll()
{
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    for (const QPointer<QWidget>& widget : m_above) {
        if (widget && widget->internalWinId())
            xcb_configure_window(m_connection, nativeId(widget), XCB_CONFIG_WINDOW_STACK_MODE,
                                 &above);
    }
    xcb_flush(m_connection);
}

// Security: another client's window that is mapped, or moved in the stacking order, may now lie
// above the lock (a notification popup, a window that raises itself, an override-redirect menu).
// The lock windows are put back on top at once, in the same turn of the event loop.
bool X11ScreenShield::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t" || m_above.isEmpty())
        return false;
    auto* event = static_cast<xcb_generic_event_t*>(message);
    switch (event->response_type & 0x7f) {
    case XCB_MAP_NOTIFY: {
        auto* map = reinterpret_cast<xcb_map_notify_event_t*>(event);
        if (map->event == m_root && !isOurs(map->window))
            raiseAll();
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        auto* configure = reinterpret_cast<xcb_configure_notify_event_t*>(event);
        if (configure->event == m_root && !isOurs(configure->window))
            raiseAll();
        break;
    }
    case XCB_CIRCULATE_NOTIFY: {
        auto* circulate = reinterpret_cast<xcb_circulate_notify_event_t*>(event);
        if (circulate->event == m_root && !isOurs(circulate->window))
            raiseAll();
        break;
    }
    case XCB_FOCUS_IN:
        return keepFocus(*reinterpret_cast<xcb_focus_in_event_t*>(event));
    default:
        break;
    }
    return false;
}

// Security: Qt gives the keys of the grab to the window it believes has the focus. When another
// client (the window manager activating a window mapped just before the lock, say) puts the
// focus on another window of this program, the typed password would land there, behind the
// lock. The focus goes back to the lock window, and Qt never hears of the move.
bool X11ScreenShield::keepFocus(const xcb_focus_in_event_t& focus)
{
    if (!m_keyboardGrabbed || !m_keyWindow || !m_keyWindow->internalWinId())
        return false;
    const xcb_window_t key = nativeId(m_keyWindow);
    if (focus.event == key || focus.detail == XCB_NOTIFY_DETAIL_POINTER ||
        focus.detail == XCB_NOTIFY_DETAIL_INFERIOR)
        return false;
    xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_POINTER_ROOT, key, XCB_CURRENT_TIME);
    xcb_flush(m_connection);
    return true;
}

void X11PointerInjector::clickTopLeftAndMoveBack()
{
    xcb_connection_t* connection = qtConnection();
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
    xcb_connection_t* connection = qtConnection();
    if (!connection)
        return;
    xcb_test_fake_input(connection, XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, rootOf(connection), 0,
                        0, 0);
    xcb_flush(connection);
    m_pressed = false;
}
