#include "platform/LinuxDesktopPicture.h"

#include "platform/FehPictureSource.h"
#include "platform/GSettingsPictureSource.h"
#include "platform/PictureFile.h"
#include "platform/XfconfPictureSource.h"
#include "platform/x11/RootPixmapPictureSource.h"

#include <QDir>
#include <QGuiApplication>
#include <QScreen>
#include <QUrl>

#include <array>
#include <utility>

namespace {

enum class Desktop
{
    Gnome,
    Cinnamon,
    Mate,
    Xfce,
    Other
};

// The first desktop named in XDG_CURRENT_DESKTOP whose picture settings are known here. Budgie,
// Pantheon and Unity keep theirs in GNOME's keys.
Desktop currentDesktopOf(const QString& names)
{
    for (const QString& name : names.split(':', Qt::SkipEmptyParts)) {
        const QString n = name.toLower();
        if (n == "gnome" || n == "gnome-classic" || n == "gnome-flashback" || n == "unity" ||
            n == "budgie" || n == "pantheon")
            return Desktop::Gnome;
        if (n == "x-cinnamon" || n == "cinnamon")
            return Desktop::Cinnamon;
        if (n == "mate")
            return Desktop::Mate;
        if (n == "xfce")
            return Desktop::Xfce;
    }
    return Desktop::Other;
}

std::unique_ptr<DesktopPictureSource> sourceFor(Desktop desktop, bool running)
{
    const auto values = running ? GSettingsPictureSource::Values::Effective
                                : GSettingsPictureSource::Values::UserSet;
    switch (desktop) {
    case Desktop::Gnome:
        return std::make_unique<GSettingsPictureSource>(GSettingsDesktop::Gnome, values);
    case Desktop::Cinnamon:
        return std::make_unique<GSettingsPictureSource>(GSettingsDesktop::Cinnamon, values);
    case Desktop::Mate:
        return std::make_unique<GSettingsPictureSource>(GSettingsDesktop::Mate, values);
    case Desktop::Xfce:
        return std::make_unique<XfconfPictureSource>();
    case Desktop::Other:
        break;
    }
    return nullptr;
}

} // namespace

LinuxDesktopPicture::LinuxDesktopPicture()
    : LinuxDesktopPicture(
          sessionSources(qEnvironmentVariable("XDG_CURRENT_DESKTOP"), QDir::homePath()))
{
}

LinuxDesktopPicture::LinuxDesktopPicture(Sources sources) : m_sources(std::move(sources)) {}

LinuxDesktopPicture::~LinuxDesktopPicture() = default;

LinuxDesktopPicture::Sources LinuxDesktopPicture::sessionSources(const QString& currentDesktop,
                                                                 const QString& home)
{
    Sources sources;
    const Desktop current = currentDesktopOf(currentDesktop);
    if (current != Desktop::Other)
        sources.push_back(sourceFor(current, true));
    for (Desktop other :
         std::array{Desktop::Gnome, Desktop::Cinnamon, Desktop::Mate, Desktop::Xfce}) {
        if (other != current)
            sources.push_back(sourceFor(other, false));
    }
    sources.push_back(std::make_unique<FehPictureSource>(home));
    sources.push_back(std::make_unique<RootPixmapPictureSource>());
    return sources;
}

std::optional<PictureScreen> LinuxDesktopPicture::screenAt(int index)
{
    if (!qGuiApp)
        return index == 0 ? std::optional(PictureScreen{}) : std::nullopt;
    const QList<QScreen*> screens = QGuiApplication::screens();
    if (index < 0 || index >= screens.size())
        return std::nullopt;
    const QScreen* screen = screens.at(index);
    // Qt keeps a screen's top-left corner in X pixels and scales only its size.
    const QRect geometry = screen->geometry();
    const QRect native(geometry.topLeft(),
                       (QSizeF(geometry.size()) * screen->devicePixelRatio()).toSize());
    return PictureScreen{index, screen->name(), native};
}

QString LinuxDesktopPicture::urlForScreen(int index)
{
    const auto screen = screenAt(index);
    if (!screen)
        return {};
    for (const auto& source : m_sources) {
        const QString url = source->urlForScreen(*screen);
        if (!url.isEmpty())
            return url;
    }
    return {};
}

QByteArray LinuxDesktopPicture::read(const QString& url)
{
    const QUrl parsed(url);
    if (RootPixmapPictureSource::names(parsed))
        return RootPixmapPictureSource::read(parsed);
    return PictureFile::read(PictureFile::localPath(url));
}
