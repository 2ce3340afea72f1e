#pragma once

#include "lockscreen/TiledPicture.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QSizeF>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <vector>

class BackgroundView;
class DesktopPicture;
class Displays;
class LockScreenViews;
class LockWindow;
class QWidget;
class ScreenShield;
class SettingsStore;
struct Preferences;

// What lies behind the lock: the primary display's background (the desktop picture, linen, the
// user's own picture, or nothing) and a cover window on every further display with its own
// background and a copy of the lock image.
//
// The primary background is rebuilt only when it must be: on the first lock of a run, after the
// kind changed, after the resolution changed in both dimensions, or, for the desktop picture,
// when its URL changed. Cover windows are made anew on every lock; the picture of each is decoded
// again only when its bytes or its display's size changed.
class BackgroundBuilder
{
public:
    enum Kind
    {
        DesktopKind = 0,
        LinenKind = 1,
        CustomKind = 2,
        ClearKind = 3
    };
    // Pictures are decoded up to this many pixels (120 MB as 32-bit pixels, under the 128 MB
    // Qt's readers allow), or up to the size they are shown at when that is larger; larger ones
    // are decoded scaled down where the format allows it. JPEG and SVG scale as they decode; PNG
    // decodes whole first, so one beyond the reader's limit does not decode at all.
    static constexpr qint64 maxDecodedPixels = 30'000'000;

    struct Services
    {
        Displays& displays;
        DesktopPicture& desktopPicture;
        // Each further display's cover window is handed to it before it is shown.
        ScreenShield& shield;
    };
    // `pictureShown` runs after the primary background was rebuilt from a picture (the text
    // colour is decided from it); `rebuilt` after every rebuild (the icon row is placed anew).
    BackgroundBuilder(Services services, const Preferences& preferences, const SettingsStore& store,
                      LockWindow& window, LockScreenViews& views,
                      std::function<void(const QImage&, const QSizeF&)> pictureShown,
                      std::function<void()> rebuilt);
    ~BackgroundBuilder();

    void updateBackground();
    void positionLock();
    bool didResolutionChange() const;
    // Displays were added, removed or resized; only a lock in progress cares.
    void applicationDidChangeScreenParameters(bool lockActive);

    // The kind setters of the preferences clear this when the kind changes.
    void setBackgroundReady(bool ready) { m_backgroundReady = ready; }
    bool backgroundReady() const { return m_backgroundReady; }
    QString cachedDesktopImageURL() const { return m_cachedDesktopImageURL; }
    // The average colour of the primary background last built, for the cover shown while the
    // next lock screen is built; a dark grey like linen's before any was built.
    QColor coverColour() const { return m_coverColour; }
    bool desktopImageLoadFailed() const { return m_desktopImageLoadFailed; }
    bool customImageLoadFailed() const { return m_customImageLoadFailed; }
    void clearLoadFailures();

    // The cover windows of the further displays, in screen order.
    QList<QWidget*> coverWindows() const;
    // Hides and frees them once the lock is over.
    void releaseCoverWindows();

    // Decodes a picture within the memory bound above; a null image when it does not decode.
    // `size` receives the picture's own size (0 x 0 when unknown). `shownPixels`, given that own
    // size, tells the size the picture will be shown at: a picture larger than that is decoded
    // straight to it where the format can (a JPEG then decodes only a half, a quarter or an
    // eighth of its pixels), instead of whole and scaled afterwards.
    static QImage decode(const QByteArray& bytes, QSize* size = nullptr,
                         const std::function<QSize(QSize)>& shownPixels = {});

private:
    bool keepsPrimary() const;
    void buildPrimary(int width, int height);
    QByteArray customPictureBytes();
    void buildCoverWindows();
    std::unique_ptr<QWidget> makeCoverWindow(int index, const QRect& screen);
    void showCoverPicture(int index, const QByteArray& bytes, BackgroundView* view,
                          QWidget* window);

    Services m_services;
    const Preferences& m_preferences;
    const SettingsStore& m_store;
    LockWindow& m_window;
    LockScreenViews& m_views;
    std::function<void(const QImage&, const QSizeF&)> m_pictureShown;
    std::function<void()> m_rebuilt;

    bool m_backgroundReady = false;
    QColor m_coverColour{0x2b, 0x2f, 0x36};
    int m_lastScreenWidth = 0;
    int m_lastScreenHeight = 0;
    QString m_cachedDesktopImageURL;
    bool m_desktopImageLoadFailed = false;
    bool m_customImageLoadFailed = false;
    std::vector<std::unique_ptr<QWidget>> m_coverWindows;
    // The picture last shown on each further display, with what it was made from.
    struct CoverPicture
    {
        struct Key
        {
            size_t hash = 0;
            qsizetype bytes = 0;
            QSize size;
            double pixelRatio = 0;
            bool operator==(const Key&) const = default;
        } key;
        TiledPicture shown;
        bool onLinen = false;
    };
    std::map<int, CoverPicture> m_coverPictures;
};
