#pragma once

#include "platform/DesktopPictureSource.h"

#include <QStringList>

// The pictures named by the shell script `~/.fehbg`, which feh writes when it sets the root
// window's background and which the session runs at the next login to set it again.
class FehPictureSource final : public DesktopPictureSource
{
public:
    // `home` is the user's home folder, where `.fehbg` lies.
    explicit FehPictureSource(QString home);

    // The pictures of the first feh command in the script, in order: one per screen. Options are
    // skipped, quoting is undone as the shell would, `~/` is the home folder.
    static QStringList picturesIn(const QString& script, const QString& home);

    // Screen n shows picture n; the screens past the last picture show the last one, as feh sets
    // them.
    QString urlForScreen(const PictureScreen& screen) override;

private:
    QString m_home;
};
