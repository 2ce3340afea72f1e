#include "lockscreen/BackgroundBuilder.h"

#include "lockscreen/BackgroundView.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"
#include "lockscreen/PictureFit.h"
#include "platform/DesktopPicture.h"
#include "platform/Displays.h"
#include "platform/ImageLibrary.h"
#include "platform/ScreenShield.h"
#include "settings/Preferences.h"
#include "settings/SettingsStore.h"

#include <QBuffer>
#include <QGraphicsDropShadowEffect>
#include <QImageReader>
#include <QLabel>
#include <QPixmap>

#include <cmath>

namespace {

QBrush linen()
{
    const QPixmap tile(ImageLibrary::resourcePath(QStringLiteral("linen")));
    if (tile.isNull())
        return QBrush(QColor(0x2b, 0x2f, 0x36));
    return QBrush(tile);
}

void setWindowColour(QWidget* window, const QBrush& brush)
{
    QPalette palette = window->palette();
    palette.setBrush(QPalette::Window, brush);
    window->setPalette(palette);
}

// The average of a grid of at most 64 x 64 of the picture's pixels: enough for a cover's colour,
// and quick at any size.
QColor averageColour(const QImage& picture)
{
    if (picture.isNull())
        return QColor();
    constexpr int samples = 64;
    const int stepX = std::max(1, picture.width() / samples);
    const int stepY = std::max(1, picture.height() / samples);
    qint64 red = 0, green = 0, blue = 0, count = 0;
    for (int y = stepY / 2; y < picture.height(); y += stepY) {
        for (int x = stepX / 2; x < picture.width(); x += stepX) {
            const QRgb pixel = picture.pixel(x, y);
            red += qRed(pixel);
            green += qGreen(pixel);
            blue += qBlue(pixel);
            ++count;
        }
    }
    return count ? QColor(int(red / count), int(green / count), int(blue / count)) : QColor();
}

QColor linenAverage()
{
    const QImage tile(ImageLibrary::resourcePath(QStringLiteral("linen")));
    const QColor average = averageColour(tile);
    return average.isValid() ? average : QColor(0x2b, 0x2f, 0x36);
}

// The picture as shown: at its size on the screen, in device pixels; scaled here only when the
// decoder could not deliver it at that size.
QImage shownPicture(const QImage& picture, const QSizeF& size, double pixelRatio)
{
    if (picture.isNull() || size.width() < 1 || size.height() < 1)
        return QImage();
    const QSize pixels = (size * pixelRatio).toSize();
    QImage shown = picture.size() == pixels
                       ? picture
                       : picture.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    shown.setDevicePixelRatio(pixelRatio);
    return shown;
}

// A picture as one screen shows it: decoded, sized by the fit-or-fill rule and put on the view,
// with linen around it in the window when it is fitted.
struct ShownPicture
{
    QImage picture;
    QSizeF size;
    bool onLinen = false;
};
ShownPicture showPicture(const QByteArray& bytes, int width, int height, BackgroundView* view,
                         QWidget* window)
{
    const double pixelRatio = window->devicePixelRatioF();
    QSize own;
    QImage picture = BackgroundBuilder::decode(bytes, &own, [&](QSize size) {
        const PictureFit fit = PictureFit::choose(width, height, size.width(), size.height());
        return (fit.size * pixelRatio).toSize();
    });
    const PictureFit fit = PictureFit::choose(width, height, own.width(), own.height());
    if (fit.onLinen)
        setWindowColour(window, linen());
    const QImage shown = shownPicture(picture, fit.size, pixelRatio);
    // Kept compressed; the whole picture at hand paints the first frame.
    view->setPicture(TiledPicture::compressedLater(shown, pixelRatio), shown);
    return {std::move(picture), fit.size, fit.onLinen};
}

} // namespace

BackgroundBuilder::BackgroundBuilder(Services services, const Preferences& preferences,
                                     const SettingsStore& store, LockWindow& window,
                                     LockScreenViews& views,
                                     std::function<void(const QImage&, const QSizeF&)> pictureShown,
                                     std::function<void()> rebuilt)
    : m_services(services), m_preferences(preferences), m_store(store), m_window(window),
      m_views(views), m_pictureShown(std::move(pictureShown)), m_rebuilt(std::move(rebuilt))
{
}

BackgroundBuilder::~BackgroundBuilder() = default;

QImage BackgroundBuilder::decode(const QByteArray& bytes, QSize* size,
                                 const std::function<QSize(QSize)>& shownPixels)
{
    if (size)
        *size = QSize(0, 0);
    QByteArray data = bytes;
    QBuffer buffer(&data);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    const QSize own = reader.size();
    if (own.isValid() && size)
        *size = own;
    const bool scales = reader.supportsOption(QImageIOHandler::ScaledSize);
    // The bound grows to the size the picture is shown at: a picture for an 8K display is
    // decoded at 8K, not a little smaller and then scaled back up.
    const QSize shown = own.isValid() && shownPixels ? shownPixels(own) : QSize();
    const qint64 bound =
        std::max(maxDecodedPixels, shown.isEmpty() ? 0 : qint64(shown.width()) * shown.height());
    if (bound > maxDecodedPixels) // the reader counts its limit in millions of bytes
        reader.setAllocationLimit(int(bound * 4 / 1'000'000) + 1);
    if (own.isValid() && qint64(own.width()) * own.height() > bound) {
        if (!scales) {
            if (size)
                *size = QSize(0, 0);
            return QImage();
        }
        const double shrink = std::sqrt(double(bound) / (double(own.width()) * own.height()));
        reader.setScaledSize(
            QSize(std::max(1, int(own.width() * shrink)), std::max(1, int(own.height() * shrink))));
    }
    // Decoded straight to the size shown when that is smaller both ways; a picture shown larger
    // than its own size is decoded whole and scaled up afterwards.
    if (scales && !shown.isEmpty() && shown.width() <= own.width() &&
        shown.height() <= own.height())
        reader.setScaledSize(shown);
    QImage image;
    if (!reader.read(&image)) {
        // A picture that does not decode has no size: it is drawn at 0 x 0 over linen.
        if (size)
            *size = QSize(0, 0);
        return QImage();
    }
    if (size && !own.isValid())
        *size = image.size();
    return image;
}

bool BackgroundBuilder::didResolutionChange() const
{
    // Both dimensions must change; a change of one alone is not reported, as designed.
    const QRect screen = m_services.displays.primaryGeometry();
    return screen.width() != m_lastScreenWidth && screen.height() != m_lastScreenHeight;
}

bool BackgroundBuilder::keepsPrimary() const
{
    if (!m_backgroundReady || didResolutionChange())
        return false;
    if (m_preferences.backgroundType != DesktopKind)
        return true;
    return m_services.desktopPicture.urlForScreen(0) == m_cachedDesktopImageURL;
}

void BackgroundBuilder::updateBackground()
{
    if (!keepsPrimary()) {
        const QRect screen = m_services.displays.primaryGeometry();
        buildPrimary(screen.width(), screen.height());
    }
    buildCoverWindows();
}

QByteArray BackgroundBuilder::customPictureBytes()
{
    const auto url = m_store.load().stringValue(Keys::desktopImageURL);
    if (!url || url->isEmpty())
        return {};
    return m_services.desktopPicture.read(*url);
}

void BackgroundBuilder::buildPrimary(int width, int height)
{
    const int kind = m_preferences.backgroundType;
    BackgroundView* background = m_views.background();
    QByteArray bytes;
    if (kind == DesktopKind) {
        m_cachedDesktopImageURL = m_services.desktopPicture.urlForScreen(0);
        // A desktop with no picture at all is not a failure: it gets linen. Only a picture the
        // desktop names and that cannot be read is reported after the unlock.
        if (!m_cachedDesktopImageURL.isEmpty()) {
            bytes = m_services.desktopPicture.read(m_cachedDesktopImageURL);
            if (bytes.isEmpty())
                m_desktopImageLoadFailed = true;
        }
    } else if (kind == CustomKind) {
        bytes = customPictureBytes();
        if (bytes.isEmpty())
            m_customImageLoadFailed = true;
    } else if (kind == ClearKind) {
        m_window.setWindowOpacity(0.0);
        setWindowColour(&m_window, QColor::fromRgbF(1, 1, 1, 0));
        background->clearPicture();
    }

    if (bytes.isEmpty() && kind != ClearKind) {
        // Linen; a picture from an earlier build of this run stays over it, as designed.
        setWindowColour(&m_window, linen());
        m_coverColour = linenAverage();
    } else if (kind == ClearKind) {
        m_coverColour = Qt::black;
    } else {
        background->setGeometry(0, 0, width, height);
        background->clearPicture();
        const ShownPicture shown = showPicture(bytes, width, height, background, &m_window);
        background->setGeometry(0, 0, width, height);
        const QColor average = averageColour(shown.picture);
        m_coverColour = average.isValid() ? average : linenAverage();
        if (m_pictureShown)
            m_pictureShown(shown.picture, shown.size);
    }
    m_lastScreenWidth = width;
    m_lastScreenHeight = height;
    m_backgroundReady = true;
    if (m_rebuilt)
        m_rebuilt();
}

void BackgroundBuilder::buildCoverWindows()
{
    // Security: the new covers are up before the old ones go, so that a display that stays is
    // never uncovered, not even for a moment, while its cover is made anew.
    std::vector<std::unique_ptr<QWidget>> old = std::move(m_coverWindows);
    m_coverWindows.clear();
    const QList<QRect> screens = m_services.displays.screenGeometries();
    for (int index = 1; index < screens.size(); ++index)
        m_coverWindows.push_back(makeCoverWindow(index, screens.at(index)));
    for (const auto& cover : old)
        cover->hide();
}

std::unique_ptr<QWidget> BackgroundBuilder::makeCoverWindow(int index, const QRect& screen)
{
    // Like the primary lock window: above everything, past the window manager. The grabs stay
    // with the primary window; these only cover.
    auto cover = std::make_unique<QWidget>(nullptr, Qt::Window | Qt::FramelessWindowHint |
                                                        Qt::X11BypassWindowManagerHint |
                                                        Qt::WindowStaysOnTopHint);
    cover->setObjectName(QStringLiteral("cover%1").arg(index));
    cover->setAttribute(Qt::WA_ShowWithoutActivating);
    m_services.shield.prepareWindow(cover.get());
    cover->setAutoFillBackground(true);
    setWindowColour(cover.get(), QColor(Qt::black));
    cover->setGeometry(screen);
    const int width = screen.width();
    const int height = screen.height();

    auto* background = new BackgroundView(cover.get());
    background->setObjectName(QStringLiteral("background"));
    background->setGeometry(0, 0, width, height);
    const QSize lockSize = m_views.lockImage()->size();
    auto* lock = new QLabel(cover.get());
    lock->setObjectName(QStringLiteral("lockImage"));
    lock->setScaledContents(true);
    lock->setGeometry(int(width * 0.5 - lockSize.width() * 0.5),
                      int(height * 0.5 - lockSize.height() * 0.5), lockSize.width(),
                      lockSize.height());

    QByteArray bytes;
    if (m_preferences.backgroundType == CustomKind)
        bytes = customPictureBytes();
    else if (m_preferences.backgroundType == DesktopKind) {
        const QString url = m_services.desktopPicture.urlForScreen(index);
        if (!url.isEmpty())
            bytes = m_services.desktopPicture.read(url);
    }
    if (!bytes.isEmpty()) {
        background->setShadow(ShadowStyle{QColor::fromRgbF(0, 0, 0, 0.8f), 4.0, QPointF(0, -1)});
        showCoverPicture(index, bytes, background, cover.get());
    } else {
        // No picture, and a clear background too, shows linen here.
        setWindowColour(cover.get(), linen());
    }

    lock->setPixmap(m_views.lockImage()->pixmap());
    auto* shadow = new QGraphicsDropShadowEffect(lock);
    shadow->setColor(QColor::fromRgbF(0, 0, 0, 0.6f));
    shadow->setBlurRadius(4.0);
    shadow->setOffset(0, 4.0);
    lock->setGraphicsEffect(shadow);
    cover->show();
    return cover;
}

void BackgroundBuilder::showCoverPicture(int index, const QByteArray& bytes, BackgroundView* view,
                                         QWidget* window)
{
    // The same picture on a display of the same size was decoded and scaled at an earlier
    // build: its result is shown again. The bytes are read every time, so a picture changed
    // on disk under the same name is noticed.
    const CoverPicture::Key key{qHash(bytes), bytes.size(), window->size(),
                                window->devicePixelRatioF()};
    CoverPicture& cached = m_coverPictures[index];
    if (!cached.shown.isNull() && cached.key == key) {
        if (cached.onLinen)
            setWindowColour(window, linen());
        view->setPicture(cached.shown);
        return;
    }
    const ShownPicture shown =
        showPicture(bytes, key.size.width(), key.size.height(), view, window);
    cached = CoverPicture{key, view->picture(), shown.onLinen};
}

void BackgroundBuilder::releaseCoverWindows()
{
    // Hidden, each would keep a display's worth of backing store until the next lock.
    for (const auto& cover : m_coverWindows)
        cover->hide();
    m_coverWindows.clear();
}

QList<QWidget*> BackgroundBuilder::coverWindows() const
{
    QList<QWidget*> windows;
    for (const auto& cover : m_coverWindows)
        windows.append(cover.get());
    return windows;
}

void BackgroundBuilder::clearLoadFailures()
{
    m_desktopImageLoadFailed = false;
    m_customImageLoadFailed = false;
}

void BackgroundBuilder::positionLock()
{
    // The lock's frame has its corner at the screen's centre, and its layer is then anchored at
    // its own centre, which moves the drawn lock so that it is centred on the screen; it turns
    // and scales about that centre.
    const QList<QRect> screens = m_services.displays.screenGeometries();
    const QSize screen = screens.isEmpty() ? QSize(0, 0) : screens.first().size();
    constexpr double lockWidth = 107.0;
    constexpr double lockHeight = 159.0;
    const QPointF centre(screen.width() * 0.5, screen.height() * 0.5);
    m_views.lockImage()->setGeometry(
        QRectF(centre.x() - lockWidth * 0.5, centre.y() - lockHeight * 0.5, lockWidth, lockHeight)
            .toRect());
}

void BackgroundBuilder::applicationDidChangeScreenParameters(bool lockActive)
{
    if (!lockActive)
        return;
    const QRect screen = m_services.displays.primaryGeometry();
    m_window.setMinimumSize(screen.size());
    m_window.setMaximumSize(screen.size());
    m_window.setGeometry(QRect(screen.topLeft(), screen.size()));
    updateBackground();
    positionLock();
}
