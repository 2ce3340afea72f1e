#include "platform/KeyTranslation.h"

#include <QGuiApplication>
#include <QKeyEvent>

#include <array>

namespace {

// US layout positions, by character: letters, digits and punctuation.
struct CharacterCode
{
    char character;
    int code;
};
constexpr std::array<CharacterCode, 47> characterCodes = {{
    {'a', 0},   {'s', 1},  {'d', 2},  {'f', 3},  {'h', 4},  {'g', 5},   {'z', 6},  {'x', 7},
    {'c', 8},   {'v', 9},  {'b', 11}, {'q', 12}, {'w', 13}, {'e', 14},  {'r', 15}, {'y', 16},
    {'t', 17},  {'1', 18}, {'2', 19}, {'3', 20}, {'4', 21}, {'6', 22},  {'5', 23}, {'=', 24},
    {'9', 25},  {'7', 26}, {'-', 27}, {'8', 28}, {'0', 29}, {']', 30},  {'o', 31}, {'u', 32},
    {'[', 33},  {'i', 34}, {'p', 35}, {'l', 37}, {'j', 38}, {'\'', 39}, {'k', 40}, {';', 41},
    {'\\', 42}, {',', 43}, {'/', 44}, {'n', 45}, {'m', 46}, {'.', 47},  {'`', 50},
}};

// Keys that type no character of their own: the key code and the character the lock screen
// compares (0 for none).
struct FunctionKey
{
    quint32 keysym;
    int code;
    char16_t character;
};
constexpr std::array<FunctionKey, 30> functionKeys = {{
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

} // namespace

int KeyTranslation::keyCodeForCharacter(QChar character)
{
    const QChar lower = character.toLower();
    for (const CharacterCode& entry : characterCodes) {
        if (QLatin1Char(entry.character) == lower)
            return entry.code;
    }
    return -1;
}

QChar KeyTranslation::characterForKeyCode(int keyCode)
{
    for (const CharacterCode& entry : characterCodes) {
        if (entry.code == keyCode)
            return QLatin1Char(entry.character);
    }
    return {};
}

TranslatedKey KeyTranslation::fromKeysym(quint32 keysym, const QString& text, bool capsLock)
{
    TranslatedKey key;
    key.capsLock = capsLock;
    for (const FunctionKey& entry : functionKeys) {
        if (entry.keysym == keysym) {
            key.keyCode = entry.code;
            if (entry.character)
                key.characters = QString(QChar(entry.character));
            return key;
        }
    }
    key.characters = text;
    // Latin-1 keysyms are the characters themselves.
    if (keysym >= 0x20 && keysym <= 0xff)
        key.keyCode = keyCodeForCharacter(QChar(char16_t(keysym)));
    else if (!text.isEmpty())
        key.keyCode = keyCodeForCharacter(text.at(0));
    return key;
}

TranslatedKey KeyTranslation::fromEvent(const QKeyEvent& event)
{
    // X's Lock modifier bit; Qt reports it in the native modifiers of an xcb key event.
    constexpr quint32 lockMask = 0x2;
    bool capsLock = (event.nativeModifiers() & lockMask) != 0;
    if (event.key() == Qt::Key_CapsLock)
        capsLock = !capsLock; // the state reported is the one before this press
    return fromKeysym(event.nativeVirtualKey(), event.text(), capsLock);
}
