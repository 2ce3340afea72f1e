#include "ui/CompositorBinding.h"

#include <QCoreApplication>

#include <array>

namespace {

struct ModifierNames
{
    const char* pane;
    const char* sway;
    const char* labwc;
};

// sway names modifiers as X does (Mod4 is Super, Mod1 is Alt); labwc by one letter each.
constexpr std::array<ModifierNames, 4> modifierNames{{{"Super", "Mod4", "W"},
                                                      {"Alt", "Mod1", "A"},
                                                      {"Control", "Ctrl", "C"},
                                                      {"Shift", "Shift", "S"}}};

QStringList translated(const QStringList& modifiers, const char* ModifierNames::*field)
{
    QStringList names;
    for (const QString& modifier : modifiers)
        for (const ModifierNames& known : modifierNames)
            if (modifier == QLatin1String(known.pane) ||
                modifier == QCoreApplication::translate("PreferencesWindow", known.pane)) {
                const QString name = QString::fromLatin1(known.*field);
                if (!names.contains(name))
                    names.append(name);
            }
    return names;
}

QString keyName(const QString& key)
{
    // Both name a letter's key by the small letter, whatever Shift does to it.
    const QString trimmed = key.trimmed();
    return trimmed.isEmpty() ? QStringLiteral("l") : trimmed.left(1).toLower();
}

} // namespace

QString CompositorBinding::swayLine(const QStringList& modifiers, const QString& key)
{
    QStringList parts = translated(modifiers, &ModifierNames::sway);
    parts.append(keyName(key));
    return QStringLiteral("bindsym %1 exec tessarine lock").arg(parts.join(QLatin1Char('+')));
}

QString CompositorBinding::labwcKeybind(const QStringList& modifiers, const QString& key)
{
    QStringList parts = translated(modifiers, &ModifierNames::labwc);
    parts.append(keyName(key));
    return QStringLiteral("<keybind key=\"%1\"><action name=\"Execute\" command=\"tessarine "
                          "lock\"/></keybind>")
        .arg(parts.join(QLatin1Char('-')));
}

QString CompositorBinding::note(const QStringList& modifiers, const QString& key)
{
    return QCoreApplication::translate(
               "PreferencesWindow",
               "In a Wayland session the compositor keeps the keyboard to itself,\n"
               "and the shortcut above does not act. Have the compositor lock\n"
               "on these keys instead:\n"
               "sway, in ~/.config/sway/config:\n    %1\n"
               "labwc, in ~/.config/labwc/rc.xml, inside <keyboard>:\n    %2\n"
               "Then reload the compositor's configuration.")
        .arg(swayLine(modifiers, key), labwcKeybind(modifiers, key));
}
