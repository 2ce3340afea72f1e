#pragma once

#include <array>
#include <cstdint>

// Keys that type no character of their own, by X keysym: the key code of their position on a US
// keyboard and the character the lock screen compares (0 for none). Without Qt, so that the guard
// process translates these keys exactly as the lock screen does.
namespace FunctionKeys {

struct Entry
{
    uint32_t keysym;
    int code;
    char16_t character;
};

inline constexpr std::array<Entry, 30> table = {{
    {0xff0d, 36, u'\r'},      // Return
    {0xff8d, 76, u'\x03'},    // keypad Enter
    {0xff09, 48, u'\t'},      // Tab
    {0xff08, 51, u'\x7f'},    // BackSpace: the Delete key
    {0xff1b, 53, u'\x1b'},    // Escape
    {0x0020, 49, u' '},       // space
    {0xffff, 117, u'\xf728'}, // Delete: forward delete
    {0xff52, 126, u'\xf700'}, // Up
    {0xff54, 125, u'\xf701'}, // Down
    {0xff51, 123, u'\xf702'}, // Left
    {0xff53, 124, u'\xf703'}, // Right
    {0xff50, 115, u'\xf729'}, // Home
    {0xff57, 119, u'\xf72b'}, // End
    {0xff55, 116, u'\xf72c'}, // Prior
    {0xff56, 121, u'\xf72d'}, // Next
    {0xffbe, 122, u'\xf704'}, // F1
    {0xffbf, 120, u'\xf705'}, // F2
    {0xffc0, 99, u'\xf706'},  // F3
    {0xffc1, 118, u'\xf707'}, // F4
    {0xffc2, 96, u'\xf708'},  // F5
    {0xffc3, 97, u'\xf709'},  // F6
    {0xffc4, 98, u'\xf70a'},  // F7
    {0xffc5, 100, u'\xf70b'}, // F8
    {0xffc6, 101, u'\xf70c'}, // F9
    {0xffc7, 109, u'\xf70d'}, // F10
    {0xffc8, 103, u'\xf70e'}, // F11
    {0xffc9, 111, u'\xf70f'}, // F12
    {0xffe5, 57, 0},          // Caps_Lock
    {0xffe1, 56, 0},          // Shift_L
    {0xffe3, 59, 0},          // Control_L
}};

inline const Entry* find(uint32_t keysym)
{
    for (const Entry& entry : table) {
        if (entry.keysym == keysym)
            return &entry;
    }
    return nullptr;
}

} // namespace FunctionKeys
