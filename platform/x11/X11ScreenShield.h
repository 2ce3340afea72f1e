#pragma once

#include "platform/ScreenShield.h"
#include "platform/x11/GuardProcess.h"
#include "platform/x11/X11KeyboardRelease.h"

#include <QAbstractNativeEventFilter>
#include <QList>
#include <QPointer>
#include <QWidget>

#include <xcb/xcb.h>

// The shield on X11, on Qt's own xcb connection (a grab made on a second connection would take
// the keys away from Qt).
//
// Security: any client of the X server may unmap, restack or destroy another client's
// override-redirect window, and the server drops a grab whose window stops being viewable. So
// the shield watches the root window's children, its own windows among them, and puts back
// what another client took: the windows mapped and on top again, the grabs taken again, in the
// same turn of the event loop. What the server answered is what holdsKeyboard says.
class X11ScreenShield final : public ScreenShield, public QAbstractNativeEventFilter
{
public:
    X11ScreenShield();
    ~X11ScreenShield() override;

    bool makeKey(QWidget* window) override;
    bool grabPointer(QWidget* window) override;
    void releaseGrabs() override;
    bool holdsKeyboard() const override { return m_keyboardGrabbed; }
    bool holdsPointer() const override { return m_pointerGrabbed; }
    bool refreshGrabs() override;
    void onHoldLost(std::function<void()> callback) override { m_holdLost = std::move(callback); }
    void keepAbove(const QList<QWidget*>& windows) override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    bool isOurs(xcb_window_t window) const;
    QWidget* ourWidget(xcb_window_t window) const;
    void raiseAll();
    // Maps again any of our windows that another client unmapped and raises them when another
    // window lies above one of them; true when a window had to be mapped again.
    bool restoreWindows();
    void rebuildDestroyed(QWidget* widget);
    bool grabKeyboardNow();
    bool grabPointerNow();
    // Takes again every wanted grab; tells the session when one could not be had.
    void regrab();
    void watchRoot(bool watch);
    bool keepFocus(const xcb_focus_in_event_t& focus);

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_NONE;
    uint32_t m_rootMaskBefore = 0;
    bool m_watchingRoot = false;
    bool m_keyboardWanted = false;
    bool m_pointerWanted = false;
    bool m_keyboardGrabbed = false;
    bool m_pointerGrabbed = false;
    bool m_restoring = false;
    QList<QPointer<QWidget>> m_above;
    QPointer<QWidget> m_keyWindow;
    QPointer<QWidget> m_pointerWindow;
    std::function<void()> m_holdLost;
    GuardProcess m_guard;
    X11KeyboardRelease m_keyboardRelease;
};

class X11PointerInjector final : public PointerInjector
{
public:
    void clickTopLeftAndMoveBack() override;
    void releasePressedButton() override;

private:
    bool m_pressed = false;
};
