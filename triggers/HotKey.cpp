#include "triggers/HotKey.h"

#include "platform/x11/X11GlobalHotKey.h"

#include "platform/GlobalHotKey.h"
#include "platform/KeyTranslation.h"
#include "platform/Log.h"
#include "settings/Preferences.h"
#include "settings/SettingKeys.h"
#include "settings/SettingsStore.h"

HotKey::HotKey(GlobalHotKey& platform, Preferences& preferences, const SettingsStore& store,
               LockRequest lock)
    : m_platform(platform), m_preferences(preferences), m_store(store), m_lock(std::move(lock))
{
    QObject::connect(&m_platform, &GlobalHotKey::pressed, &m_platform, [this] { pressed(); });
}

std::optional<int> HotKey::keyCodeForCharacter(QChar character)
{
    const QChar lower = character.toLower();
    const bool inTable = (lower >= QLatin1Char('a') && lower <= QLatin1Char('z')) ||
                         (lower >= QLatin1Char('0') && lower <= QLatin1Char('9'));
    if (!inTable)
        return std::nullopt;
    return KeyTranslation::keyCodeForCharacter(lower);
}

std::optional<int> HotKey::modifierForTag(int tag, bool noneAllowed)
{
    switch (tag) {
    case 0:
        return noneAllowed ? std::optional<int>(0) : std::nullopt;
    case 1:
        return 256;
    case 2:
        return 2048;
    case 3:
        return 4096;
    case 4:
        return 512;
    default:
        return std::nullopt;
    }
}

void HotKey::install()
{
    ++m_handlers;
    registerCurrent();
}

void HotKey::reinstallHotKey()
{
    if (!m_preferences.useShortcut)
        return;
    m_platform.unregisterKey();
    m_registered = false;
    install();
}

void HotKey::registerCurrent()
{
    m_registered =
        m_platform.registerKey(m_preferences.shortcutKey, m_preferences.hotKeyModifierSum());
    if (!m_registered && !m_platform.unavailableReason().isEmpty())
        Log::line(QStringLiteral("the lock shortcut is not registered: ") +
                  m_platform.unavailableReason());
    else if (!m_registered)
        Log::line(QStringLiteral("the lock shortcut (key %1, modifiers %2) cannot be had: "
                                 "another program holds it, or this keyboard has no such key")
                      .arg(m_preferences.shortcutKey)
                      .arg(m_preferences.hotKeyModifierSum()));
}

void HotKey::pressed()
{
    for (int i = 0; i < m_handlers; ++i)
        m_lock();
}

void HotKey::shortcutText(const QString& text)
{
    if (text.isEmpty())
        return; // nothing typed: nothing changes
    const QChar character = text.at(0);
    m_preferences.shortcutString = QString(character);
    if (const auto code = keyCodeForCharacter(character))
        m_preferences.shortcutKey = *code;
    reinstallHotKey();
    m_store.set(Keys::shortcutString, *m_preferences.shortcutString);
    m_store.set(Keys::shortcutKey, qint64(m_preferences.shortcutKey));
}

void HotKey::setModifier(std::optional<int>& field, std::optional<int> value)
{
    if (value)
        field = *value;
}

void HotKey::firstShortcutModifier(int tag)
{
    setModifier(m_preferences.shortcutModifier1, modifierForTag(tag, true));
    reinstallHotKey();
    if (m_preferences.shortcutModifier1)
        m_store.set(Keys::shortcutModifier1, qint64(*m_preferences.shortcutModifier1));
}

void HotKey::secondShortcutModifier(int tag)
{
    setModifier(m_preferences.shortcutModifier2, modifierForTag(tag, true));
    reinstallHotKey();
    if (m_preferences.shortcutModifier2)
        m_store.set(Keys::shortcutModifier2, qint64(*m_preferences.shortcutModifier2));
}

void HotKey::thirdShortcutModifier(int tag)
{
    setModifier(m_preferences.shortcutModifier3, modifierForTag(tag, false));
    reinstallHotKey();
    if (m_preferences.shortcutModifier3)
        m_store.set(Keys::shortcutModifier3, qint64(*m_preferences.shortcutModifier3));
}

void HotKey::toggleKeyboardShortcut()
{
    m_preferences.useShortcut = !m_preferences.useShortcut;
    if (m_preferences.useShortcut) {
        reinstallHotKey();
    } else {
        m_platform.unregisterKey();
        m_registered = false;
    }
    m_store.set(Keys::useShortcut, m_preferences.useShortcut);
}

bool HotKey::isPressOf(int keyCode, unsigned xModifiers) const
{
    if (!m_preferences.useShortcut || keyCode != m_preferences.shortcutKey)
        return false;
    // Shift, Control, Alt and Super decide; Caps Lock and Num Lock do not, as for the grab.
    constexpr unsigned deciding =
        XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
    const unsigned wanted = X11GlobalHotKey::xModifiers(m_preferences.hotKeyModifierSum());
    return (xModifiers & deciding) == (wanted & deciding);
}
