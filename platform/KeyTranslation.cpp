#include "platform/KeyTranslation.h"

#include "platform/FunctionKeys.h"

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
    if (const FunctionKeys::Entry* entry = FunctionKeys::find(keysym)) {
        key.keyCode = entry->code;
        if (entry->character)
            key.characters = QString(QChar(entry->character));
        return key;
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
    bool capsLock = (event.nativeModifiers() & capsLockNativeModifier) != 0;
    if (event.key() == Qt::Key_CapsLock)
        capsLock = !capsLock; // the state reported is the one before this press
    return fromKeysym(event.nativeVirtualKey(), event.text(), capsLock);
}
