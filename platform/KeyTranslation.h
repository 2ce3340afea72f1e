#pragma once

#include <QString>

class QKeyEvent;

// A key as the lock screen compares it: the virtual key code of the key's position on a US
// keyboard (the codes stored in the settings, 0 for A, 36 for Return, 123 to 126 for the arrows)
// and the characters it types, with the arrows and other function keys as their private-use
// characters and the Delete key as DEL.
struct TranslatedKey
{
    int keyCode = -1; // -1 when the key has no code of its own
    QString characters;
    bool capsLock = false;
};

namespace KeyTranslation {
inline constexpr int capsLockKeyCode = 57;
inline constexpr int returnKeyCode = 36;
// Caps Lock in a key event's native modifiers: X's Lock bit, as Qt reports it for an xcb key
// event, and as key events made from another keyboard state (a Wayland seat's) carry it too.
inline constexpr quint32 capsLockNativeModifier = 0x2;
// From an X keysym and the text the keyboard layout gives for it.
TranslatedKey fromKeysym(quint32 keysym, const QString& text, bool capsLock);
TranslatedKey fromEvent(const QKeyEvent& event);
// The key code of a typed character; -1 when no key types it.
int keyCodeForCharacter(QChar character);
// The character a key types without modifiers (lower case); null for keys that type none.
QChar characterForKeyCode(int keyCode);
} // namespace KeyTranslation
