#pragma once

#include <QByteArray>
#include <QFuture>
#include <QImage>
#include <QRect>
#include <QSize>

#include <memory>
#include <vector>

class QPainter;

// A screen-sized picture kept small between paints: cut into square tiles, each compressed on
// its own (JPEG for an opaque picture, PNG when it has an alpha channel). A paint decodes only
// the tiles it touches, so the clock's repaint once a minute costs a few tiles, and no whole
// copy of the picture stays in memory beside the window's own backing store: 33 MB of pixels at
// 3840 x 2160 are kept in 1 to 4 MB. Copies share the tiles.
class TiledPicture
{
public:
    static constexpr int tileSize = 256;

    TiledPicture() = default;
    // Compresses at once. `pixelRatio` is the picture's device pixel ratio, as on a QPixmap.
    explicit TiledPicture(const QImage& image, double pixelRatio = 1.0);
    // Compresses on another thread, so that a lock screen is not kept waiting for it; whatever
    // needs the tiles before then waits for them.
    static TiledPicture compressedLater(const QImage& image, double pixelRatio);

    bool isNull() const { return m_size.isEmpty(); }
    QSize pixelSize() const { return m_size; }
    QSizeF deviceIndependentSize() const;
    double devicePixelRatio() const { return m_pixelRatio; }
    // Finished once the tiles are made.
    QFuture<void> compressed() const;
    // Bytes held for the tiles.
    qsizetype storedBytes() const;

    // Draws the part of the picture that falls within `exposed` with the picture's top-left
    // corner at `topLeft`, both in the painter's (device-independent) coordinates.
    void draw(QPainter& painter, const QPoint& topLeft, const QRect& exposed) const;
    // The whole picture, decoded (for a look at its colours, and for tests).
    QImage toImage() const;

private:
    struct Tiles
    {
        int columns = 0;
        int rows = 0;
        bool opaque = true;
        std::vector<QByteArray> compressed;
    };
    static std::shared_ptr<const Tiles> cut(const QImage& image);
    const Tiles* tiles() const;
    QImage tile(const Tiles& tiles, int column, int row) const;

    QSize m_size;
    double m_pixelRatio = 1.0;
    QFuture<std::shared_ptr<const Tiles>> m_tiles;
};
