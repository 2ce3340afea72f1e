#include "settings/SettingKeys.h"

std::vector<SettingAssignment> firstRunSettings()
{
    std::vector<SettingAssignment> settings;
    for (const SettingKey* key : allSettingKeys) {
        if (!key->writtenOnFirstRun)
            continue;
        settings.emplace_back();
        settings.back().key = key;
        if (key->type == SettingType::Boolean)
            settings.back().value = key->firstRunValue != 0;
        else
            settings.back().value = qint64(key->firstRunValue);
    }
    return settings;
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
