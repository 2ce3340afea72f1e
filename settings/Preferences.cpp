#include "settings/Preferences.h"

#include "settings/SettingKeys.h"
#include "settings/SettingsSnapshot.h"

#include <algorithm>

void Preferences::loadFrom(const SettingsSnapshot& file)
{
    dimEnabled = file.boolValue(Keys::dim);
    lockBrightness = file.floatValue(Keys::lockBrightnes);
    textIsBlack = file.intValue(Keys::textColor);
    showMusic = file.boolValue(Keys::showMusic);
    showTime = file.boolValue(Keys::showTime);
    showBattery = file.boolValue(Keys::showBattery);
    timeout = file.boolValue(Keys::timeout);
    lockOnWakeVariable = file.boolValue(Keys::lockOnWake);
    timeoutTime = static_cast<float>(file.intValue(Keys::timeoutTime));
    lockImageType = file.intValue(Keys::lockImageType);
    // Never read from the file: a hidden caps-lock notice comes back after a restart.
    showCapslock = true;
    showDoNotDisturb = file.boolValue(Keys::showDoNotDisturb);
    showShutDown = file.boolValue(Keys::showShutDown);
    openAtLogin = file.boolValue(Keys::openAtLogin);
    useShortcut = file.boolValue(Keys::useShortcut);
    useTimer = file.boolValue(Keys::useTimer);
    hour = file.longValue(Keys::hour);
    minute = file.longValue(Keys::minute);
    date = file.dateValue(Keys::date);
    orderMatters = file.boolValue(Keys::orderMatters);
    // New in this version: on unless the user turned it off.
    slowGuesses = !file.contains(Keys::slowGuesses) || file.boolValue(Keys::slowGuesses);
    lockWhenIdle = file.boolValue(Keys::lockWhenIdle);
    idleLockMinutes = file.contains(Keys::idleLockMinutes)
                          ? int(std::clamp<qint64>(file.longValue(Keys::idleLockMinutes),
                                                   minIdleLockMinutes, maxIdleLockMinutes))
                          : defaultIdleLockMinutes;
    shortcutModifier1 = file.numberObject(Keys::shortcutModifier1);
    shortcutModifier2 = file.numberObject(Keys::shortcutModifier2);
    shortcutModifier3 = file.numberObject(Keys::shortcutModifier3);
    shortcutKey = file.intValue(Keys::shortcutKey);
    shortcutString = file.stringValue(Keys::shortcutString);
    startAnimation = file.intValue(Keys::startAnimation);
    closeAnimation = file.intValue(Keys::closeAnimation);
    wiggleStrength = file.intValue(Keys::wiggleStrength);
    wiggleLock = file.boolValue(Keys::wiggleLock);
    flat = file.boolValue(Keys::flat);
    backgroundType = file.intValue(Keys::desktopImageType);
    contactText =
        file.stringValue(Keys::contactText).value_or(QString::fromLatin1(defaultContactText));
}

void Preferences::applyDefaultHotKeyCharacter()
{
    if (shortcutString)
        return;
    shortcutString = QString::fromLatin1(HotKeyDefaults::character);
    shortcutKey = HotKeyDefaults::keyCode;
}

void Preferences::applyFirstRunHotKey()
{
    useShortcut = true;
    shortcutModifier1 = int(HotKeyDefaults::modifier1);
    shortcutModifier2 = int(HotKeyDefaults::modifier2);
    shortcutModifier3 = int(HotKeyDefaults::modifier3);
    shortcutKey = HotKeyDefaults::keyCode;
    shortcutString = QString::fromLatin1(HotKeyDefaults::character);
}

int Preferences::hotKeyModifierSum() const
{
    // Unsigned arithmetic: hand-edited masks may be huge, and their sum must not overflow.
    const unsigned sum = unsigned(shortcutModifier1.value_or(0)) +
                         unsigned(shortcutModifier2.value_or(0)) +
                         unsigned(shortcutModifier3.value_or(0));
    return static_cast<int>(sum);
}
