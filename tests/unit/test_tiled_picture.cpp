#include "lockscreen/TiledPicture.h"

#include <QPainter>
#include <QRandomGenerator>
#include <QTest>

#include <cstdlib>

namespace {

// Like a photograph: a gradient with grain, the hardest kind of picture to keep small.
QImage grainyGradient(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            const int grain = int(random.bounded(17)) - 8;
            const int red = std::clamp(32 + 160 * y / size.height() + grain, 0, 255);
            const int green = std::clamp(48 + 112 * x / size.width() + grain, 0, 255);
            line[x] = qRgb(red, green, 96);
        }
    }
    return image;
}

struct Difference
{
    double mean = 0;
    int largest = 0;
};
Difference compare(const QImage& a, const QImage& b)
{
    qint64 total = 0;
    int largest = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            for (int d : {qRed(p) - qRed(q), qGreen(p) - qGreen(q), qBlue(p) - qBlue(q)}) {
                total += std::abs(d);
                largest = std::max(largest, std::abs(d));
            }
        }
    }
    return {double(total) / (3.0 * a.width() * a.height()), largest};
}

QImage painted(const TiledPicture& picture, QSize size, double ratio, const QRect& exposed)
{
    QImage canvas(size * ratio, QImage::Format_RGB32);
    canvas.setDevicePixelRatio(ratio);
    canvas.fill(Qt::black);
    QPainter painter(&canvas);
    picture.draw(painter, QPoint(0, 0), exposed);
    return canvas;
}

} // namespace

class TestTiledPicture : public QObject
{
    Q_OBJECT
private slots:
    void aPhotographIsKeptInAFractionOfItsPixelsAndLooksTheSame()
    {
        const QImage original = grainyGradient({1000, 700});
        const TiledPicture picture(original);
        QCOMPARE(picture.pixelSize(), original.size());
        const qsizetype raw = qsizetype(original.width()) * original.height() * 4;
        QVERIFY2(picture.storedBytes() * 4 < raw,
                 qPrintable(QString::number(picture.storedBytes())));
        const Difference difference = compare(picture.toImage(), original);
        QVERIFY2(difference.mean < 3.0, qPrintable(QString::number(difference.mean)));
        QVERIFY2(difference.largest < 48, qPrintable(QString::number(difference.largest)));
    }

    void aPaintDrawsWhatItExposesAndNothingElse()
    {
        const TiledPicture picture(grainyGradient({600, 400}));
        const QRect exposed(300, 250, 120, 40); // across four tiles
        const QImage canvas = painted(picture, {600, 400}, 1.0, exposed);
        const QImage whole = picture.toImage();
        QCOMPARE(canvas.copy(exposed).convertToFormat(QImage::Format_RGB32),
                 whole.copy(exposed).convertToFormat(QImage::Format_RGB32));
        QCOMPARE(canvas.pixelColor(10, 10), QColor(Qt::black));
        QCOMPARE(canvas.pixelColor(599, 399), QColor(Qt::black));
    }

    void tilesMeetWithoutAGapAtAFractionalScale()
    {
        // At 1.5 device pixels per point each tile starts at a fractional point: painted whole,
        // no line of the canvas stays black between two tiles.
        QImage plain(768, 768, QImage::Format_RGB32);
        plain.fill(QColor(200, 30, 30));
        const TiledPicture picture(plain, 1.5);
        QCOMPARE(picture.deviceIndependentSize(), QSizeF(512, 512));
        const QImage canvas = painted(picture, {512, 512}, 1.5, QRect(0, 0, 512, 512));
        for (int i = 0; i < 768; ++i) {
            QVERIFY(canvas.pixelColor(i, 256).red() > 150);
            QVERIFY(canvas.pixelColor(256, i).red() > 150);
        }
    }

    void aPictureWithTransparencyKeepsItExactly()
    {
        QImage image(300, 300, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter(&image).fillRect(QRect(50, 50, 200, 100), QColor(10, 200, 90, 128));
        const TiledPicture picture(image);
        const QImage back = picture.toImage().convertToFormat(QImage::Format_ARGB32);
        QCOMPARE(back, image);
    }

    void aPictureCompressedOnAnotherThreadPaintsTheSame()
    {
        const QImage original = grainyGradient({700, 500});
        const TiledPicture later = TiledPicture::compressedLater(original, 1.0);
        // Known before the tiles are made.
        QCOMPARE(later.pixelSize(), original.size());
        const QImage canvas = painted(later, {700, 500}, 1.0, QRect(0, 0, 700, 500));
        QCOMPARE(canvas.convertToFormat(QImage::Format_RGB32),
                 TiledPicture(original).toImage().convertToFormat(QImage::Format_RGB32));
    }

    void copiesShareTheTiles()
    {
        const TiledPicture picture(grainyGradient({512, 512}));
        const TiledPicture copy = picture;
        QCOMPARE(copy.storedBytes(), picture.storedBytes());
        QCOMPARE(copy.toImage(), picture.toImage());
        QVERIFY(TiledPicture().isNull());
        QVERIFY(TiledPicture(QImage()).isNull());
        QVERIFY(TiledPicture().toImage().isNull());
    }
};

QTEST_MAIN(TestTiledPicture)
#include "test_tiled_picture.moc"
