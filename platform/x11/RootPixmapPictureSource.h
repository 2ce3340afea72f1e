#pragma once

#include "platform/DesktopPictureSource.h"

#include <QByteArray>
#include <QUrl>

// The picture that the last background setter (feh, hsetroot, a desktop's own) left on the root
// window: the pixmap named by the root's `_XROOTPMAP_ID` property (or `ESETROOT_PMAP_ID`), read
// on Qt's own xcb connection.
//
// Its URL names the pixmap and the part of it that a screen covers, in X pixels:
//   x-root-pixmap:0x00a00001?x=1920&y=0&width=1280&height=1024
// A new background is a new pixmap, so a new URL.
class RootPixmapPictureSource final : public DesktopPictureSource
{
public:
    static const QString scheme;

    QString urlForScreen(const PictureScreen& screen) override;

    static bool names(const QUrl& url) { return url.scheme() == scheme; }
    // That part of the pixmap as PNG bytes. Empty when the pixmap is no longer the root's
    // background, when its depth is not 24 or 32, or on any X error.
    static QByteArray read(const QUrl& url);
};
