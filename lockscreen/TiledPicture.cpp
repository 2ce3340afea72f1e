#include "lockscreen/TiledPicture.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPainter>
#include <QtConcurrent/QtConcurrentMap>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <cmath>

namespace {

// High enough that a tile's edges and grain cannot be told from the picture it came from at
// screen distance; a 3840 x 2160 photograph takes 2 to 4 MB.
constexpr int jpegQuality = 92;

QByteArray compress(const QImage& tile, bool opaque)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, opaque ? "jpg" : "png");
    // For PNG the quality chooses the compression level: quick and still lossless.
    writer.setQuality(opaque ? jpegQuality : 80);
    if (!writer.write(tile))
        return {};
    return bytes;
}

} // namespace

TiledPicture::TiledPicture(const QImage& image, double pixelRatio)
    : m_size(image.size()), m_pixelRatio(pixelRatio > 0 ? pixelRatio : 1.0)
{
    if (!image.isNull())
        m_tiles = QtFuture::makeReadyFuture(cut(image));
}

TiledPicture TiledPicture::compressedLater(const QImage& image, double pixelRatio)
{
    TiledPicture picture;
    if (image.isNull())
        return picture;
    picture.m_size = image.size();
    picture.m_pixelRatio = pixelRatio > 0 ? pixelRatio : 1.0;
    // The worker only reads the image; the caller's copy is not changed while it does.
    picture.m_tiles = QtConcurrent::run([image] { return cut(image); });
    return picture;
}

std::shared_ptr<const TiledPicture::Tiles> TiledPicture::cut(const QImage& image)
{
    auto tiles = std::make_shared<Tiles>();
    tiles->columns = (image.width() + tileSize - 1) / tileSize;
    tiles->rows = (image.height() + tileSize - 1) / tileSize;
    tiles->opaque = !image.hasAlphaChannel();
    const QImage source =
        image.convertToFormat(tiles->opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32);
    tiles->compressed.reserve(size_t(tiles->columns) * size_t(tiles->rows));
    for (int row = 0; row < tiles->rows; ++row) {
        for (int column = 0; column < tiles->columns; ++column) {
            const QRect area = QRect(column * tileSize, row * tileSize, tileSize, tileSize)
                                   .intersected(source.rect());
            tiles->compressed.push_back(compress(source.copy(area), tiles->opaque));
        }
    }
    return tiles;
}

const TiledPicture::Tiles* TiledPicture::tiles() const
{
    if (!m_tiles.isValid())
        return nullptr;
    return m_tiles.result().get();
}

QFuture<void> TiledPicture::compressed() const
{
    if (!m_tiles.isValid())
        return QtFuture::makeReadyFuture();
    return QFuture<void>(m_tiles);
}

QSizeF TiledPicture::deviceIndependentSize() const
{
    return QSizeF(m_size) / m_pixelRatio;
}

qsizetype TiledPicture::storedBytes() const
{
    const Tiles* all = tiles();
    if (!all)
        return 0;
    qsizetype total = 0;
    for (const QByteArray& bytes : all->compressed)
        total += bytes.size();
    return total;
}

QImage TiledPicture::tile(const Tiles& tiles, int column, int row) const
{
    const size_t index = size_t(row) * size_t(tiles.columns) + size_t(column);
    if (index >= tiles.compressed.size())
        return QImage();
    // The format named, so that no reader is asked to guess it.
    return QImage::fromData(tiles.compressed[index], tiles.opaque ? "jpg" : "png");
}

void TiledPicture::draw(QPainter& painter, const QPoint& topLeft, const QRect& exposed) const
{
    const Tiles* all = tiles();
    if (!all)
        return;
    const double ratio = m_pixelRatio;
    // The exposed area in the picture's own pixels, widened to whole pixels.
    const QRectF logical = QRectF(exposed.translated(-topLeft));
    const QRect pixels = QRect(QPoint(int(std::floor(logical.left() * ratio)),
                                      int(std::floor(logical.top() * ratio))),
                               QPoint(int(std::ceil(logical.right() * ratio)),
                                      int(std::ceil(logical.bottom() * ratio))))
                             .intersected(QRect(QPoint(0, 0), m_size));
    if (pixels.isEmpty())
        return;
    const int firstColumn = pixels.left() / tileSize;
    const int lastColumn = std::min(all->columns - 1, pixels.right() / tileSize);
    const int firstRow = pixels.top() / tileSize;
    const int lastRow = std::min(all->rows - 1, pixels.bottom() / tileSize);
    QList<QPoint> places;
    for (int row = firstRow; row <= lastRow; ++row)
        for (int column = firstColumn; column <= lastColumn; ++column)
            places.append(QPoint(column, row));
    // A whole screen's tiles (a lock window painted anew) are decoded on every core; the few
    // of a clock's repaint are quicker decoded here.
    constexpr qsizetype decodedHere = 8;
    const auto decode = [this, all](const QPoint& place) {
        return tile(*all, place.x(), place.y());
    };
    QList<QImage> pieces;
    if (places.size() > decodedHere)
        pieces = QtConcurrent::blockingMapped<QList<QImage>>(places, decode);
    for (qsizetype i = 0; i < places.size(); ++i) {
        QImage piece = pieces.isEmpty() ? decode(places[i]) : pieces[i];
        if (piece.isNull())
            continue;
        piece.setDevicePixelRatio(ratio);
        painter.drawImage(QPointF(topLeft) + QPointF(places[i] * tileSize) / ratio, piece);
    }
}

QImage TiledPicture::toImage() const
{
    const Tiles* all = tiles();
    if (!all)
        return QImage();
    QImage whole(m_size, all->opaque ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied);
    whole.fill(Qt::transparent);
    {
        QPainter painter(&whole);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        for (int row = 0; row < all->rows; ++row)
            for (int column = 0; column < all->columns; ++column)
                painter.drawImage(QPoint(column * tileSize, row * tileSize),
                                  tile(*all, column, row));
    }
    whole.setDevicePixelRatio(m_pixelRatio);
    return whole;
}
