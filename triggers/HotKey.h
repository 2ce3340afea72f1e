#pragma once

#include <QString>

#include <functional>
#include <optional>

class GlobalHotKey;
class SettingsStore;
struct Preferences;

// The global lock shortcut: a letter or digit and up to three modifier choices, as the settings
// store them, kept registered with the system while it is switched on.
//
// Some behaviour is kept as it has always been: the modifier mask is the arithmetic sum of the
// three choices (Command twice is 512, which is Shift); the third choice cannot be set back to
// none; a character outside the table is stored while the key code stays; and every
// registration adds a handler, each of which locks (a second lock does nothing).
class HotKey
{
public:
    using LockRequest = std::function<void()>;

    HotKey(GlobalHotKey& platform, Preferences& preferences, const SettingsStore& store,
           LockRequest lock);

    // The key code of a letter or digit, either case; nothing for any other character.
    static std::optional<int> keyCodeForCharacter(QChar character);
    // The modifier value of a pop-up item's tag: 0 none, 1 command (256), 2 option (2048),
    // 3 control (4096), 4 shift (512); nothing for other tags (and for 0 when none is refused).
    static std::optional<int> modifierForTag(int tag, bool noneAllowed);
    // Whether a key press on the lock screen is the hot key's combination: while locked the lock
    // holds the keyboard, so the combination arrives as a key, and is taken as the hot key would
    // be (it does nothing), never as a key of the password. `xModifiers` is the X modifier state.
    bool isPressOf(int keyCode, unsigned xModifiers) const;

    // At start-up, when the hot key is on: a handler and a registration, nothing to undo.
    void install();
    void reinstallHotKey();
    void shortcutText(const QString& text);
    void firstShortcutModifier(int tag);
    void secondShortcutModifier(int tag);
    void thirdShortcutModifier(int tag);
    void toggleKeyboardShortcut();

    int handlerCount() const { return m_handlers; }
    bool isRegistered() const { return m_registered; }
    // Every handler runs for one press.
    void pressed();

private:
    void registerCurrent();
    static void setModifier(std::optional<int>& field, std::optional<int> value);

    GlobalHotKey& m_platform;
    Preferences& m_preferences;
    const SettingsStore& m_store;
    LockRequest m_lock;
    int m_handlers = 0;
    bool m_registered = false;
};
