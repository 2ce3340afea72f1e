#pragma once

#include "platform/GlobalHotKey.h"

#include <QAbstractNativeEventFilter>

#include <xcb/xcb.h>

#include <vector>

// The hot key on X11: a passive grab of the key on the root window, once for each state of the
// Caps Lock and Num Lock modifiers so that neither keeps the combination from working.
class X11GlobalHotKey final : public GlobalHotKey, public QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    explicit X11GlobalHotKey(QObject* parent = nullptr);
    ~X11GlobalHotKey() override;

    bool registerKey(int keyCode, int modifierMask) override;
    void unregisterKey() override;
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    // The X modifier mask for a stored modifier sum.
    static uint16_t xModifiers(int modifierMask);

private:
    xcb_connection_t* m_connection = nullptr;
    xcb_window_t m_root = XCB_NONE;
    xcb_keycode_t m_keycode = 0;
    uint16_t m_modifiers = 0;
    bool m_grabbed = false;
};
