#pragma once

#include "platform/ComposeSequence.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>

struct xkb_context;
struct xkb_keymap;
struct xkb_state;

// Turns a key press into the string the lock screen would match for it: the fixed character of
// a function key (Return, the arrows, ...), else the text the keyboard layout types. Modifier
// keys alone and the media keys type nothing and are not keys of the password. Dead keys and
// Compose sequences compose as on the lock screen, with the locale's compose table: a dead key
// is no key of the password, the key that completes it types the composed character.
class KeyReader
{
public:
    explicit KeyReader(xcb_connection_t* connection);
    ~KeyReader();
    KeyReader(const KeyReader&) = delete;
    KeyReader& operator=(const KeyReader&) = delete;

    // Reads the layout (again after a MappingNotify).
    void reload();
    bool isLoaded() const { return m_state != nullptr; }
    // Nothing for a key that is not fed to the matcher.
    std::optional<std::u16string> read(xcb_keycode_t keycode, uint16_t state);

    // The part of read() that needs no keyboard: a keysym and the layout's text for it.
    static std::optional<std::u16string> translate(uint32_t keysym, const std::string& utf8);

private:
    xcb_connection_t* m_connection;
    xkb_context* m_context = nullptr;
    xkb_keymap* m_keymap = nullptr;
    xkb_state* m_state = nullptr;
    ComposeSequence m_compose;
    int32_t m_device = -1;
};
