#include "guard/KeyReader.h"

#include "guard/Utf8.h"
#include "platform/FunctionKeys.h"

#include <xkbcommon/xkbcommon-x11.h>
#include <xkbcommon/xkbcommon.h>

#include <array>

namespace {

// The keys the lock screen leaves out: modifiers pressed alone (Qt's Shift, Control, Alt, Meta,
// Super, Caps Lock and AltGr) and the media keys that go to the music controls.
constexpr std::array<uint32_t, 16> ignoredKeysyms = {
    XKB_KEY_Shift_L,       XKB_KEY_Shift_R,        XKB_KEY_Control_L,     XKB_KEY_Control_R,
    XKB_KEY_Alt_L,         XKB_KEY_Alt_R,          XKB_KEY_Meta_L,        XKB_KEY_Meta_R,
    XKB_KEY_Super_L,       XKB_KEY_Super_R,        XKB_KEY_Caps_Lock,     XKB_KEY_ISO_Level3_Shift,
    XKB_KEY_XF86AudioPlay, XKB_KEY_XF86AudioPause, XKB_KEY_XF86AudioNext, XKB_KEY_XF86AudioPrev,
};

} // namespace

KeyReader::KeyReader(xcb_connection_t* connection) : m_connection(connection)
{
    m_context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
}

KeyReader::~KeyReader()
{
    xkb_state_unref(m_state);
    xkb_keymap_unref(m_keymap);
    xkb_context_unref(m_context);
}

void KeyReader::reload()
{
    if (!m_context)
        return;
    if (m_device < 0) {
        if (!xkb_x11_setup_xkb_extension(
                m_connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, nullptr, nullptr))
            return;
        m_device = xkb_x11_get_core_keyboard_device_id(m_connection);
        if (m_device < 0)
            return;
    }
    xkb_keymap* keymap = xkb_x11_keymap_new_from_device(m_context, m_connection, m_device,
                                                        XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keymap)
        return;
    xkb_state* state = xkb_x11_state_new_from_device(keymap, m_connection, m_device);
    if (!state) {
        xkb_keymap_unref(keymap);
        return;
    }
    xkb_state_unref(m_state);
    xkb_keymap_unref(m_keymap);
    m_keymap = keymap;
    m_state = state;
}

std::optional<std::u16string> KeyReader::translate(uint32_t keysym, const std::string& utf8)
{
    for (uint32_t ignored : ignoredKeysyms) {
        if (keysym == ignored)
            return std::nullopt;
    }
    if (const FunctionKeys::Entry* entry = FunctionKeys::find(keysym))
        return entry->character ? std::u16string(1, entry->character) : std::u16string();
    return utf16FromUtf8(utf8);
}

std::optional<std::u16string> KeyReader::read(xcb_keycode_t keycode, uint16_t state)
{
    if (!m_state)
        return std::u16string(); // no layout: a key that matches nothing
    // The event's own modifiers and group, as they were when the key went down.
    const uint32_t group = (state >> 13) & 0x3;
    xkb_state_update_mask(m_state, state & 0xff, 0, 0, 0, 0, group);
    const xkb_keysym_t keysym = xkb_state_key_get_one_sym(m_state, keycode);
    const ComposeSequence::Outcome composed = m_compose.feed(keysym);
    if (composed.step == ComposeSequence::Step::InProgress)
        return std::nullopt;
    if (composed.step == ComposeSequence::Step::Composed)
        return translate(XKB_KEY_NoSymbol, composed.text);
    char text[64] = {};
    xkb_state_key_get_utf8(m_state, keycode, text, sizeof(text));
    return translate(keysym, text);
}
