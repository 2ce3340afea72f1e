#pragma once

#include <QString>
#include <QStringList>

// A Wayland compositor keeps the keyboard to itself: no program can take a hot key from it,
// and Tessarine's shortcut does not act there. The compositor runs `tessarine lock` on the keys
// instead, once told to in its configuration; these are the lines to add, for the shortcut
// chosen in the Shortcuts pane.
namespace CompositorBinding {

// MODIFIERS are the pane's names for them ("Super", "Alt", "Control", "Shift"; "None" and
// unknown names are left out); KEY is the shortcut's character, "l" when there is none.
QString swayLine(const QStringList& modifiers, const QString& key);
QString labwcKeybind(const QStringList& modifiers, const QString& key);
// The note under the Shortcuts pane's controls, with both lines.
QString note(const QStringList& modifiers, const QString& key);

} // namespace CompositorBinding
