#pragma once

#include "platform/DesktopPicture.h"
#include "platform/DesktopPictureSource.h"

#include <memory>
#include <optional>
#include <vector>

// The desktop's picture on Linux, from the first place in a chain that has one: the settings of
// the desktop that runs (XDG_CURRENT_DESKTOP), then what a user chose in the other desktops'
// settings, then `~/.fehbg`, and last the root window's background pixmap. docs/BACKGROUNDS.md
// tells why in this order.
class LinuxDesktopPicture final : public DesktopPicture
{
public:
    using Sources = std::vector<std::unique_ptr<DesktopPictureSource>>;

    // The chain for this session, from XDG_CURRENT_DESKTOP and HOME.
    LinuxDesktopPicture();
    explicit LinuxDesktopPicture(Sources sources);
    ~LinuxDesktopPicture() override;

    // The chain for a desktop named as XDG_CURRENT_DESKTOP names it ("ubuntu:GNOME", "XFCE",
    // "X-Cinnamon"...) and a home folder.
    static Sources sessionSources(const QString& currentDesktop, const QString& home);

    QString urlForScreen(int index) override;
    // File URLs and paths (regular files up to PictureFile::maximumSize), and the root pixmap's
    // URLs; nothing from the network.
    QByteArray read(const QString& url) override;

private:
    static std::optional<PictureScreen> screenAt(int index);

    Sources m_sources;
};
