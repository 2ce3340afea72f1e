#pragma once

#include "platform/LoginItems.h"

#include <QString>

#include <optional>

// Login items as XDG autostart entries: .desktop files in $XDG_CONFIG_HOME/autostart. An entry is
// ours when the program of its Exec line resolves to the running binary's path.
class XdgAutostart final : public LoginItems
{
public:
    static constexpr const char* entryName = "tessarine.desktop";

    XdgAutostart(QString folder, QString binaryPath);

    // $XDG_CONFIG_HOME/autostart, or ~/.config/autostart when it is unset or not absolute.
    static QString defaultFolder();

    // Writes entryName, replacing an earlier one; makes the folder when it is missing.
    void append() override;
    void removeOwn() override;

    QString folder() const { return m_folder; }

    // The program an entry starts: the first word of its Exec line, unquoted; nothing when the
    // text has no Exec line in its [Desktop Entry] group.
    static std::optional<QString> execProgram(const QString& desktopEntry);
    // The Exec line's value that starts the given binary, quoted and escaped.
    static QString execValue(const QString& binaryPath);

private:
    // The absolute path with symbolic links resolved, as the session would find the program;
    // nothing when it does not exist.
    static std::optional<QString> resolve(const QString& program);

    QString m_folder;
    QString m_binaryPath;
};
