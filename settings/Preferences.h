#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

class SettingsSnapshot;

// The in-memory mirror of every setting, as start-up loads it. Preference changes update these
// values first and then write their key (SettingsStore); other code reads only these values.
struct Preferences
{
    static constexpr const char* defaultContactText = "If found please call";
    static constexpr int minIdleLockMinutes = 1;
    static constexpr int maxIdleLockMinutes = 120;
    static constexpr int defaultIdleLockMinutes = 10;

    // Display power while locked.
    bool dimEnabled = false;
    float lockBrightness = 0.0f;
    bool timeout = false;
    float timeoutTime = 0.0f; // minutes; a fraction typed by the user lasts until the next start
    bool lockOnWakeVariable = false;

    // What the lock screen shows.
    int textIsBlack = 0;
    bool showMusic = false;
    bool showTime = false;
    bool showBattery = false;
    bool showCapslock = true;
    bool showDoNotDisturb = false;
    bool showShutDown = false; // the unread-mail badge
    int lockImageType = 0;
    int backgroundType = 0;
    bool flat = true;
    // The contact line's text (empty: no contact line); the built-in text when none is stored.
    QString contactText;

    // Triggers.
    bool openAtLogin = false;
    bool useShortcut = false;
    bool useTimer = false;
    qint64 hour = 0;               // of the daily lock
    qint64 minute = 0;             // of the daily lock
    std::optional<QDateTime> date; // the time picker's value
    std::optional<int> shortcutModifier1;
    std::optional<int> shortcutModifier2;
    std::optional<int> shortcutModifier3;
    int shortcutKey = 0;
    std::optional<QString> shortcutString;

    // Password entry and animations. The initial values here differ from what an empty file
    // gives; loading always overwrites them.
    bool orderMatters = false;
    bool slowGuesses = true;
    // Locking after a time without input (triggers/IdleLock).
    bool lockWhenIdle = false;
    int idleLockMinutes = defaultIdleLockMinutes;
    int startAnimation = 2;
    int closeAnimation = 3;
    int wiggleStrength = 20;
    bool wiggleLock = true;

    // Reads every key from the file's snapshot; the caps-lock notice is always on after a start.
    void loadFrom(const SettingsSnapshot& snapshot);

    // With no hot-key character stored, the hot key is the L key (in memory only).
    void applyDefaultHotKeyCharacter();

    // No password file yet: Command-Option-L, turned on (the caller writes the same keys).
    void applyFirstRunHotKey();

    // The modifier mask of the hot key: the sum of the three stored masks, absent ones as 0.
    int hotKeyModifierSum() const;
};
