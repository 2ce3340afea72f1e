#include "platform/x11/X11ScreenShield.h"

#include "platform/x11/QtXcb.h"

#include <QCoreApplication>
#include <QWindow>

#include <algorithm>
#include <vector>

namespace {

using QtXcb::Reply;
using QtXcb::rootOf;

xcb_window_t nativeId(QWidget* window)
{
    return static_cast<xcb_window_t>(window->winId());
}

} // namespace

X11ScreenShield::X11ScreenShield()
    : m_connection(QtXcb::connection()), m_guard(m_connection), m_keyboardRelease(m_connection)
{
    if (m_connection)
        m_root = rootOf(m_connection);
}

X11ScreenShield::~X11ScreenShield()
{
    keepAbove({});
}

bool X11ScreenShield::grabKeyboardNow()
{
    if (!m_keyWindow)
        return false;
    Reply<xcb_grab_keyboard_reply_t> reply(xcb_grab_keyboard_reply(
        m_connection,
        xcb_grab_keyboard(m_connection, 0, nativeId(m_keyWindow), XCB_CURRENT_TIME,
                          XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
        nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

bool X11ScreenShield::grabPointerNow()
{
    if (!m_pointerWindow)
        return false;
    const uint16_t events =
        XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION;
    Reply<xcb_grab_pointer_reply_t> reply(xcb_grab_pointer_reply(
        m_connection,
        xcb_grab_pointer(m_connection, 0, nativeId(m_pointerWindow), events, XCB_GRAB_MODE_ASYNC,
                         XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
        nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
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
    m_keyboardWanted = true;
    // The grab of the last lock, still waiting for its keys to come up, is taken over below.
    m_keyboardRelease.cancel();
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_connection, id, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    // The keyboard first: from the moment the grab succeeds every key goes to the lock, whatever
    // window has the focus. The focus follows, for the widgets that look at it.
    m_keyboardGrabbed = grabKeyboardNow();
    xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_POINTER_ROOT, id, XCB_CURRENT_TIME);
    xcb_flush(m_connection);
    window->raise();
    window->activateWindow();
    // The guard of a Tessarine that ended while locked may hold the keyboard: with our window up
    // and focused, it lets go, and the grab is taken again at once. Keys typed in between go to
    // the focused lock window.
    if (!m_keyboardGrabbed && m_guard.askHolderToRelease())
        m_keyboardGrabbed = grabKeyboardNow();
    // Started once the keyboard is ours, so that it never delays the grab.
    if (m_keyboardGrabbed)
        m_guard.watch();
    return m_keyboardGrabbed;
}

bool X11ScreenShield::grabPointer(QWidget* window)
{
    if (!m_connection)
        return false;
    m_pointerWindow = window;
    m_pointerWanted = true;
    m_pointerGrabbed = grabPointerNow();
    return m_pointerGrabbed;
}

void X11ScreenShield::releaseGrabs()
{
    if (!m_connection)
        return;
    // No longer wanted: the unmaps and focus changes that follow are our own.
    m_keyboardWanted = false;
    m_pointerWanted = false;
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

bool X11ScreenShield::refreshGrabs()
{
    if (!m_connection)
        return false;
    restoreWindows();
    // Asking again for a grab we hold succeeds and changes nothing; a grab the server dropped is
    // taken back, or found held by someone else.
    if (m_keyboardWanted)
        m_keyboardGrabbed = grabKeyboardNow();
    if (m_pointerWanted)
        m_pointerGrabbed = grabPointerNow();
    return m_keyboardGrabbed == m_keyboardWanted && m_pointerGrabbed == m_pointerWanted;
}

void X11ScreenShield::regrab()
{
    if (!refreshGrabs() && m_holdLost)
        m_holdLost();
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

QWidget* X11ScreenShield::ourWidget(xcb_window_t window) const
{
    for (const QPointer<QWidget>& widget : m_above) {
        if (widget && widget->internalWinId() == window)
            return widget;
    }
    return nullptr;
}

bool X11ScreenShield::isOurs(xcb_window_t window) const
{
    return ourWidget(window) != nullptr;
}

void X11ScreenShield::raiseAll()
{
    // In list order, so that the last window of the list ends on top.
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    for (const QPointer<QWidget>& widget : m_above) {
        if (widget && widget->internalWinId())
            xcb_configure_window(m_connection, nativeId(widget), XCB_CONFIG_WINDOW_STACK_MODE,
                                 &above);
    }
    xcb_flush(m_connection);
}

bool X11ScreenShield::restoreWindows()
{
    // Only the windows we show: one hidden by the program itself stays hidden.
    std::vector<xcb_window_t> wanted;
    for (const QPointer<QWidget>& widget : m_above) {
        if (widget && widget->isVisible() && widget->internalWinId())
            wanted.push_back(static_cast<xcb_window_t>(widget->internalWinId()));
    }
    if (wanted.empty() || !m_connection)
        return false;
    // One round trip: the stacking order and every window's map state, asked together.
    const xcb_query_tree_cookie_t treeCookie = xcb_query_tree(m_connection, m_root);
    std::vector<xcb_get_window_attributes_cookie_t> cookies;
    for (xcb_window_t window : wanted)
        cookies.push_back(xcb_get_window_attributes(m_connection, window));
    bool remapped = false;
    for (size_t i = 0; i < wanted.size(); ++i) {
        Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(m_connection, cookies[i], nullptr));
        if (attributes && attributes->map_state == XCB_MAP_STATE_UNMAPPED) {
            xcb_map_window(m_connection, wanted[i]);
            remapped = true;
        }
    }
    Reply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(m_connection, treeCookie, nullptr));
    bool onTop = false;
    if (tree) {
        const xcb_window_t* children = xcb_query_tree_children(tree.get());
        const size_t count = size_t(xcb_query_tree_children_length(tree.get()));
        onTop = count >= wanted.size() &&
                std::equal(wanted.begin(), wanted.end(), children + (count - wanted.size()));
    }
    if (remapped || !onTop)
        raiseAll();
    xcb_flush(m_connection);
    return remapped;
}

void X11ScreenShield::rebuildDestroyed(QWidget* widget)
{
    // The X server destroyed the window under Qt's feet: Qt's handle for it is let go (its own
    // destroy request then fails harmlessly) and the widget is shown again in a new window.
    if (QWindow* handle = widget->windowHandle())
        handle->destroy();
    widget->hide();
    widget->show();
    xcb_flush(m_connection);
}

// Security: another client's window that is mapped, or moved in the stacking order, may now lie
// above the lock (a notification popup, a window that raises itself, an override-redirect menu);
// and any client may unmap, lower or destroy our own windows, which also makes the server drop
// the grabs held for them. What was taken is put back at once, in the same turn of the event
// loop: the windows mapped and raised again, the grabs taken again.
bool X11ScreenShield::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t" || m_above.isEmpty() || m_restoring)
        return false;
    auto* event = static_cast<xcb_generic_event_t*>(message);
    switch (event->response_type & 0x7f) {
    case XCB_MAP_NOTIFY: {
        // A window just mapped at the root lies above every other.
        auto* map = reinterpret_cast<xcb_map_notify_event_t*>(event);
        if (map->event == m_root && !isOurs(map->window))
            raiseAll();
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        auto* configure = reinterpret_cast<xcb_configure_notify_event_t*>(event);
        if (configure->event == m_root)
            restoreWindows();
        break;
    }
    case XCB_CIRCULATE_NOTIFY: {
        auto* circulate = reinterpret_cast<xcb_circulate_notify_event_t*>(event);
        if (circulate->event == m_root)
            restoreWindows();
        break;
    }
    case XCB_UNMAP_NOTIFY: {
        auto* unmap = reinterpret_cast<xcb_unmap_notify_event_t*>(event);
        if (unmap->event == m_root && isOurs(unmap->window) && restoreWindows())
            regrab();
        break;
    }
    case XCB_DESTROY_NOTIFY: {
        auto* destroy = reinterpret_cast<xcb_destroy_notify_event_t*>(event);
        if (destroy->event != m_root)
            break;
        if (QWidget* widget = ourWidget(destroy->window)) {
            m_restoring = true;
            rebuildDestroyed(widget);
            m_restoring = false;
            restoreWindows();
            regrab();
        }
        break;
    }
    case XCB_FOCUS_OUT: {
        // The keyboard grab ended without our asking (its window became unviewable), or another
        // client took the keyboard: asked for again, and retried while held elsewhere.
        auto* focus = reinterpret_cast<xcb_focus_out_event_t*>(event);
        const bool grabChanged =
            focus->mode == XCB_NOTIFY_MODE_UNGRAB || focus->mode == XCB_NOTIFY_MODE_GRAB;
        if (grabChanged && m_keyboardWanted && m_keyWindow &&
            focus->event == m_keyWindow->internalWinId()) {
            restoreWindows();
            regrab();
        }
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
