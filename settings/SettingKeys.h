#pragma once

#include <QDateTime>
#include <QString>

#include <array>
#include <utility>
#include <variant>
#include <vector>

// Every key of properties.plist, declared once: its name, the type it is written as, and the
// value written on the first start (only eight keys have one). A key that is missing reads as 0,
// false or absent, whatever its type (see SettingsSnapshot, which also accepts a number of any
// type for any key); the type here decides only how a value is written.
enum class SettingType
{
    Boolean,
    Integer,
    Real,
    String,
    Date
};

struct SettingKey
{
    const char* name;
    SettingType type;
    bool writtenOnFirstRun = false;
    int firstRunValue = 0; // a boolean key's value as 0 or 1
};

namespace Keys {
inline constexpr SettingKey showMusic{"showMusic", SettingType::Boolean, true, 1};
inline constexpr SettingKey showTime{"showTime", SettingType::Boolean, true, 1};
inline constexpr SettingKey showBattery{"showBattery", SettingType::Boolean, true, 1};
inline constexpr SettingKey showDoNotDisturb{"showDoNotDisturb", SettingType::Boolean, true, 1};
inline constexpr SettingKey useShortcut{"useShortcut", SettingType::Boolean, true, 1};
// Governs the unread-mail badge, not a shut-down control; the name is kept so that existing
// preference files keep working.
inline constexpr SettingKey showShutDown{"showShutDown", SettingType::Boolean, true, 1};
inline constexpr SettingKey timeout{"timeout", SettingType::Boolean, true, 1};
inline constexpr SettingKey timeoutTime{"timeoutTime", SettingType::Integer, true, 5};
inline constexpr SettingKey dim{"dim", SettingType::Boolean};
// Spelt without the final "s" on purpose: existing files use this spelling.
inline constexpr SettingKey lockBrightnes{"lockBrightnes", SettingType::Real};
inline constexpr SettingKey textColor{"textColor", SettingType::Integer};
inline constexpr SettingKey lockOnWake{"lockOnWake", SettingType::Boolean};
inline constexpr SettingKey lockImageType{"lockImageType", SettingType::Integer};
inline constexpr SettingKey lockImageURL{"lockImageURL", SettingType::String};
inline constexpr SettingKey desktopImageType{"desktopImageType", SettingType::Integer};
inline constexpr SettingKey desktopImageURL{"desktopImageURL", SettingType::String};
inline constexpr SettingKey openAtLogin{"openAtLogin", SettingType::Boolean};
inline constexpr SettingKey useTimer{"useTimer", SettingType::Boolean};
inline constexpr SettingKey hour{"hour", SettingType::Integer};
inline constexpr SettingKey minute{"minute", SettingType::Integer};
inline constexpr SettingKey date{"date", SettingType::Date};
inline constexpr SettingKey orderMatters{"orderMatters", SettingType::Boolean};
// On when missing: keys are taken slowly after many that unlock nothing (input/GuessThrottle).
inline constexpr SettingKey slowGuesses{"slowGuesses", SettingType::Boolean};
inline constexpr SettingKey shortcutModifier1{"shortcutModifier1", SettingType::Integer};
inline constexpr SettingKey shortcutModifier2{"shortcutModifier2", SettingType::Integer};
inline constexpr SettingKey shortcutModifier3{"shortcutModifier3", SettingType::Integer};
inline constexpr SettingKey shortcutKey{"shortcutKey", SettingType::Integer};
inline constexpr SettingKey shortcutString{"shortcutString", SettingType::String};
inline constexpr SettingKey startAnimation{"startAnimation", SettingType::Integer};
inline constexpr SettingKey closeAnimation{"closeAnimation", SettingType::Integer};
inline constexpr SettingKey wiggleStrength{"wiggleStrength", SettingType::Integer};
inline constexpr SettingKey wiggleLock{"wiggleLock", SettingType::Boolean};
inline constexpr SettingKey flat{"flat", SettingType::Boolean};
// This program's own: the contact line's text; missing, the built-in "If found please call".
inline constexpr SettingKey contactText{"contactText", SettingType::String};
// This program's own: lock after idleLockMinutes without input (1 to 120; 10 when missing).
inline constexpr SettingKey lockWhenIdle{"lockWhenIdle", SettingType::Boolean};
inline constexpr SettingKey idleLockMinutes{"idleLockMinutes", SettingType::Integer};
// Written by its check box but never read back: the caps-lock notice is on after every start.
inline constexpr SettingKey showCapslock{"showCapslock", SettingType::Boolean};
} // namespace Keys

inline constexpr std::array<const SettingKey*, 37> allSettingKeys = {
    &Keys::showMusic,
    &Keys::showTime,
    &Keys::showBattery,
    &Keys::showDoNotDisturb,
    &Keys::useShortcut,
    &Keys::showShutDown,
    &Keys::timeout,
    &Keys::timeoutTime,
    &Keys::dim,
    &Keys::lockBrightnes,
    &Keys::textColor,
    &Keys::lockOnWake,
    &Keys::lockImageType,
    &Keys::lockImageURL,
    &Keys::desktopImageType,
    &Keys::desktopImageURL,
    &Keys::openAtLogin,
    &Keys::useTimer,
    &Keys::hour,
    &Keys::minute,
    &Keys::date,
    &Keys::orderMatters,
    &Keys::slowGuesses,
    &Keys::shortcutModifier1,
    &Keys::shortcutModifier2,
    &Keys::shortcutModifier3,
    &Keys::shortcutKey,
    &Keys::shortcutString,
    &Keys::startAnimation,
    &Keys::closeAnimation,
    &Keys::wiggleStrength,
    &Keys::wiggleLock,
    &Keys::flat,
    &Keys::showCapslock,
    &Keys::contactText,
    &Keys::lockWhenIdle,
    &Keys::idleLockMinutes,
};

// A value to be written; it is converted to the key's declared type.
using SettingValue = std::variant<bool, qint64, double, QString, QDateTime>;

struct SettingAssignment
{
    const SettingKey* key;
    SettingValue value;
};

// The dictionary written when properties.plist does not exist: the keys marked above.
std::vector<SettingAssignment> firstRunSettings();

// The hot-key keys written when no password file exists (Command-Option-L).
std::vector<SettingAssignment> firstRunHotKeySettings();

// Carbon modifier masks and the virtual key code of "L", as stored in the file.
namespace HotKeyDefaults {
inline constexpr qint64 modifier1 = 0;
inline constexpr qint64 modifier2 = 256;  // command
inline constexpr qint64 modifier3 = 2048; // option
inline constexpr int keyCode = 37;
inline constexpr const char* character = "L";
} // namespace HotKeyDefaults
