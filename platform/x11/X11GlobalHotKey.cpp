#include "platform/x11/X11GlobalHotKey.h"

#include "platform/KeyTranslation.h"
#include "platform/x11/QtXcb.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <xcb/xcb_keysyms.h>

#include <cstdlib>

namespace {
// Modifiers that should not matter to the hot key: Caps Lock and Num Lock (Mod2).
constexpr uint16_t ignoredModifiers[] = {0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                         XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};
} // namespace

X11GlobalHotKey::X11GlobalHotKey(QObject* parent) : GlobalHotKey(parent)
{
    m_connection = QtXcb::connection();
    if (m_connection)
        m_root = QtXcb::rootOf(m_connection);
}

X11GlobalHotKey::~X11GlobalHotKey()
{
    unregisterKey();
}

uint16_t X11GlobalHotKey::xModifiers(int modifierMask)
{
    const auto mask = static_cast<unsigned>(modifierMask);
    uint16_t modifiers = 0;
    if (mask & 256u)
        modifiers |= XCB_MOD_MASK_4; // command: the Super key
    if (mask & (512u | 8192u))
        modifiers |= XCB_MOD_MASK_SHIFT;
    if (mask & 1024u)
        modifiers |= XCB_MOD_MASK_LOCK;
    if (mask & (2048u | 16384u))
        modifiers |= XCB_MOD_MASK_1; // option: the Alt key
    if (mask & (4096u | 32768u))
        modifiers |= XCB_MOD_MASK_CONTROL;
    return modifiers;
}

bool X11GlobalHotKey::registerKey(int keyCode, int modifierMask)
{
    unregisterKey();
    if (!m_connection)
        return false;
    const QChar character = KeyTranslation::characterForKeyCode(keyCode);
    if (character.isNull())
        return false;
    xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(m_connection);
    xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, character.unicode());
    const xcb_keycode_t keycode = codes ? codes[0] : 0;
    std::free(codes);
    xcb_key_symbols_free(symbols);
    if (keycode == 0)
        return false;

    m_keycode = keycode;
    m_modifiers = xModifiers(modifierMask);
    bool taken = false;
    for (uint16_t ignored : ignoredModifiers) {
        const uint16_t state = m_modifiers | ignored;
        if (ignored && (m_modifiers & ignored))
            continue; // already part of the combination itself
        xcb_generic_error_t* error = xcb_request_check(
            m_connection, xcb_grab_key_checked(m_connection, 1, m_root, state, keycode,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        if (error) {
            taken = true;
            std::free(error);
        }
    }
    if (taken) {
        xcb_ungrab_key(m_connection, keycode, m_root, XCB_MOD_MASK_ANY);
        xcb_flush(m_connection);
        return false;
    }
    m_grabbed = true;
    QCoreApplication::instance()->installNativeEventFilter(this);
    return true;
}

void X11GlobalHotKey::unregisterKey()
{
    if (!m_grabbed)
        return;
    for (uint16_t ignored : ignoredModifiers)
        xcb_ungrab_key(m_connection, m_keycode, m_root, m_modifiers | ignored);
    xcb_flush(m_connection);
    QCoreApplication::instance()->removeNativeEventFilter(this);
    m_grabbed = false;
}

bool X11GlobalHotKey::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    auto* event = static_cast<xcb_generic_event_t*>(message);
    if ((event->response_type & 0x7f) != XCB_KEY_PRESS)
        return false;
    auto* key = reinterpret_cast<xcb_key_press_event_t*>(event);
    const uint16_t relevant = key->state & ~(XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2);
    if (key->event != m_root || key->detail != m_keycode ||
        relevant != (m_modifiers & ~(XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2)))
        return false;
    emit pressed();
    return true;
}
