#include "platform/ImageLibrary.h"

#include <QIcon>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <QTest>

#include <algorithm>
#include <cmath>

namespace {
const QStringList mailCounts = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "9+"};

// The lock screen widgets' images, as (dark variant, white variant): the dark one is drawn for
// light backgrounds, the white one for dark backgrounds.
QList<QPair<QString, QString>> widgetImagePairs()
{
    QList<QPair<QString, QString>> pairs = {
        {"batteryicon", "batteryiconwhite"},
        {"batterycharging", "batterychargingwhite"},
        {"mailblack", "mailwhite"},
        {"playblack", "playwhite"},
        {"pauseblack", "pausewhite"},
        {"FastForward", "FastForwardWhite"},
        {"Rewind", "RewindWhite"},
        {"Music", "MusicWhite"},
        {"donotdisturbblack", "donotdisturbwhite"},
    };
    for (const QString& count : mailCounts)
        pairs.append({"mailblack" + count, "mailwhite" + count});
    return pairs;
}

QStringList widgetImageNames()
{
    QStringList names;
    for (const auto& [dark, white] : widgetImagePairs())
        names << dark << white;
    return names;
}

QImage renderSvg(const QString& name, int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer renderer(ImageLibrary::resourcePath(name));
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

// The share of pixels that something was drawn on.
double coverage(const QImage& image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    int drawn = 0;
    for (int y = 0; y < argb.height(); ++y)
        for (int x = 0; x < argb.width(); ++x)
            drawn += qAlpha(argb.pixel(x, y)) > 0;
    return double(drawn) / (argb.width() * argb.height());
}

// Lightness of what was drawn, weighted by its opacity; 0 black to 255 white.
double inkLightness(const QImage& image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    double sum = 0, weight = 0;
    for (int y = 0; y < argb.height(); ++y)
        for (int x = 0; x < argb.width(); ++x) {
            const QRgb pixel = argb.pixel(x, y);
            sum += qGray(pixel) * qAlpha(pixel);
            weight += qAlpha(pixel);
        }
    return weight > 0 ? sum / weight : -1;
}

// How sharply neighbouring strips of a picture's columns differ in grey level, where the picture's
// last strip meets its first (the join when it is tiled) and at the sharpest place inside.
struct StripJoin
{
    double join = 0;
    double sharpestInside = 0;
};

StripJoin columnStripJoin(const QImage& image, int stripWidth)
{
    const int strips = image.width() / stripWidth;
    auto stripMean = [&](int strip, int y) {
        double sum = 0;
        for (int x = strip * stripWidth; x < (strip + 1) * stripWidth; ++x)
            sum += qGray(image.pixel(x, y));
        return sum / stripWidth;
    };
    StripJoin result;
    for (int strip = 0; strip < strips; ++strip) {
        double difference = 0;
        for (int y = 0; y < image.height(); ++y)
            difference += std::abs(stripMean(strip, y) - stripMean((strip + 1) % strips, y));
        difference /= image.height();
        if (strip == strips - 1)
            result.join = difference;
        else
            result.sharpestInside = std::max(result.sharpestInside, difference);
    }
    return result;
}

} // namespace

class TestImageLibrary : public QObject
{
    Q_OBJECT
private slots:
    void everyWidgetImageIsInTheLibrary_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString& name : widgetImageNames() + QStringList{"linen"})
            QTest::newRow(qPrintable(name)) << name;
    }

    void everyWidgetImageIsInTheLibrary()
    {
        QFETCH(QString, name);
        QVERIFY(ImageLibrary::contains(name));
        const QString path = ImageLibrary::resourcePath(name);
        // The exact name, never one that merely starts with it ("mailblack9" for "mailblack9+").
        QVERIFY2(path == ":/images/" + name + ".svg" || path == ":/images/" + name + ".png",
                 qPrintable(path));
    }

    void aNameNotInTheLibraryIsNotFound()
    {
        QVERIFY(!ImageLibrary::contains("mailblack10"));
        QVERIFY(ImageLibrary::named("mailblack10").isNull());
    }

    void everyWidgetImageDrawsAtBothSizes_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("size");
        for (const QString& name : widgetImageNames())
            for (int size : {25, 50})
                QTest::newRow(qPrintable(QString("%1@%2").arg(name).arg(size))) << name << size;
    }

    void everyWidgetImageDrawsAtBothSizes()
    {
        QFETCH(QString, name);
        QFETCH(int, size);
        QSvgRenderer renderer(ImageLibrary::resourcePath(name));
        QVERIFY(renderer.isValid());
        const QImage image = renderSvg(name, size);
        QVERIFY(coverage(image) > 0.04);
        // A shape on a clear ground, never an opaque tile over the wallpaper.
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);

        // The way the widgets take them: an icon by name at a point size.
        const QPixmap pixmap = ImageLibrary::named(name).pixmap(size, size);
        QCOMPARE(pixmap.size(), QSize(size, size));
        QVERIFY(coverage(pixmap.toImage()) > 0.04);
    }

    void theDarkVariantIsDarkAndTheWhiteOneLight_data()
    {
        QTest::addColumn<QString>("dark");
        QTest::addColumn<QString>("white");
        for (const auto& [dark, white] : widgetImagePairs())
            QTest::newRow(qPrintable(dark)) << dark << white;
    }

    void theDarkVariantIsDarkAndTheWhiteOneLight()
    {
        QFETCH(QString, dark);
        QFETCH(QString, white);
        const QImage darkImage = renderSvg(dark, 50);
        const QImage whiteImage = renderSvg(white, 50);
        QVERIFY(darkImage != whiteImage);
        QVERIFY2(inkLightness(darkImage) < 110, qPrintable(dark));
        QVERIFY2(inkLightness(whiteImage) > 160, qPrintable(white));
    }

    void everyMailCountLooksDifferent()
    {
        for (const QString& colour : QStringList{"black", "white"}) {
            QList<QImage> seen = {renderSvg("mail" + colour, 50)};
            for (const QString& count : mailCounts) {
                const QImage image = renderSvg("mail" + colour + count, 50);
                QVERIFY2(!seen.contains(image), qPrintable("mail" + colour + count));
                seen.append(image);
            }
        }
    }

    void everyCountIsWrittenOnARedBadge_data()
    {
        QTest::addColumn<QString>("name");
        for (const QString& colour : QStringList{"black", "white"})
            for (const QString& count : mailCounts)
                QTest::newRow(qPrintable("mail" + colour + count)) << "mail" + colour + count;
    }

    void everyCountIsWrittenOnARedBadge()
    {
        QFETCH(QString, name);
        // The badge sits in the top-right corner, clear of the envelope; its count is light on
        // red there in both variants.
        const QImage image = renderSvg(name, 50).convertToFormat(QImage::Format_ARGB32);
        int red = 0, light = 0;
        for (int y = 0; y < 20; ++y)
            for (int x = 30; x < 50; ++x) {
                const QColor pixel = QColor::fromRgba(image.pixel(x, y));
                if (pixel.alpha() < 255)
                    continue;
                red += pixel.red() > 180 && pixel.green() < 110 && pixel.blue() < 110;
                light += pixel.red() > 230 && pixel.green() > 230 && pixel.blue() > 230;
            }
        QVERIFY2(red > 80, qPrintable(QString::number(red)));
        QVERIFY2(light > 15, qPrintable(QString::number(light)));
    }

    void theLinenIsADarkBlueGreyTileWithoutSeams()
    {
        const QImage linen(ImageLibrary::resourcePath("linen"));
        QVERIFY(!linen.isNull());
        QVERIFY(linen.width() >= 128 && linen.width() == linen.height());

        double red = 0, green = 0, blue = 0;
        for (int y = 0; y < linen.height(); ++y)
            for (int x = 0; x < linen.width(); ++x) {
                const QRgb pixel = linen.pixel(x, y);
                QCOMPARE(qAlpha(pixel), 255);
                red += qRed(pixel);
                green += qGreen(pixel);
                blue += qBlue(pixel);
            }
        const double pixels = double(linen.width()) * linen.height();
        QVERIFY(blue / pixels < 90);
        QVERIFY(blue > green && green > red);

        // Tiled, its edges meet no more sharply than neighbouring columns (or rows) inside it,
        // neither pixel by pixel nor in strips, where a step in its shading would show.
        const QImage turned = linen.transformed(QTransform().rotate(90));
        for (const QImage& image : {linen, turned})
            for (int stripWidth : {1, 8}) {
                const StripJoin strips = columnStripJoin(image, stripWidth);
                QVERIFY(strips.sharpestInside > 0.5); // a texture, not a flat colour
                QVERIFY2(
                    strips.join <= strips.sharpestInside,
                    qPrintable(QString("%1 > %2").arg(strips.join).arg(strips.sharpestInside)));
            }
    }
};

QTEST_MAIN(TestImageLibrary)
#include "test_image_library.moc"
