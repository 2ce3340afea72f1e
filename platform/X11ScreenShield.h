#pragma once

#include "platform/GuardProcess.h"
#include "platform/ScreenShield.h"
#include "platform/X11KeyboardRelease.h"

#include <QAbstractNativeEventFilter>
#include <QList>
#include <QPointer>
#include <QWidget>

#include <xcb/xcb.h>

// The shield on X11, on Qt's own xcb connection (a grab made on a second connection would take
// the keys away from Qt).
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
    void keepAbove(const QList<QWidget*>& windows) override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    bool isOurs(xcb_window_t window) const;
    void raiseAll();
    void watchRoot(bool watch);
    bool keepFocus(const xcb_focus_in_event_t& focus);

    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_NONE;
    uint32_t m_rootMaskBefore = 0;
    bool m_watchingRoot = false;
    bool m_keyboardGrabbed = false;
    bool m_pointerGrabbed = false;
    QList<QPointer<QWidget>> m_above;
    QPointer<QWidget> m_keyWindow;
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
