#include "settings/SettingKeys.h"

std::vector<SettingAssignment> firstRunSettings()
{
    return {
        {&Keys::showMusic, true},   {&Keys::showTime, true},
        {&Keys::showBattery, true}, {&Keys::showDoNotDisturb, true},
        {&Keys::useShortcut, true}, {&Keys::showShutDown, true},
        {&Keys::timeout, true},     {&Keys::timeoutTime, qint64(5)},
    };
}

std::vector<SettingAssignment> firstRunHotKeySettings()
{
    return {
        {&Keys::shortcutModifier1, HotKeyDefaults::modifier1},
        {&Keys::shortcutModifier2, HotKeyDefaults::modifier2},
        {&Keys::shortcutModifier3, HotKeyDefaults::modifier3},
        {&Keys::shortcutString, QString::fromLatin1(HotKeyDefaults::character)},
        {&Keys::shortcutKey, qint64(HotKeyDefaults::keyCode)},
        {&Keys::useShortcut, true},
    };
}
