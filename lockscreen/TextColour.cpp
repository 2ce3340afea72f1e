#include "lockscreen/TextColour.h"

#include <cmath>
#include <limits>

double TextColour::calcMax(double r, double g, double b)
{
    if (r > g && r > b)
        return r;
    if (g > b && g > r)
        return g;
    return b;
}

double TextColour::calcMin(double r, double g, double b)
{
    if (g > r && b > r)
        return r;
    if (b > g && r > g)
        return g;
    return b;
}

TextColour::Mean TextColour::sampleBelowCentre(const QImage& bitmap, const QSizeF& shownSize)
{
    Mean mean;
    if (bitmap.isNull() || shownSize.width() <= 0 || shownSize.height() <= 0) {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        return {nan, nan, nan};
    }
    const QImage pixels = bitmap.convertToFormat(QImage::Format_RGB32);
    const double pw = pixels.width();
    const double ph = pixels.height();
    const double sx = pw / shownSize.width();
    const double sy = ph / shownSize.height();
    double r = 0;
    double g = 0;
    double b = 0;
    for (int i = int(std::trunc(-200.0 * sy)); i < 200.0 * sy; ++i) {
        const int column = int(std::trunc(i + pw * 0.5));
        if (column < 0 || column >= pixels.width())
            continue;
        for (int j = int(std::trunc(40.0 * sx)); j < 140.0 * sx; ++j) {
            const int row = int(std::trunc(j + ph * 0.5));
            if (row < 0 || row >= pixels.height())
                continue;
            const QRgb pixel = reinterpret_cast<const QRgb*>(pixels.constScanLine(row))[column];
            r += qRed(pixel) / 255.0;
            g += qGreen(pixel) / 255.0;
            b += qBlue(pixel) / 255.0;
        }
    }
    const double samples = sx * (sy * 40000.0);
    mean.r = r / samples;
    mean.g = g / samples;
    mean.b = b / samples;
    return mean;
}

double TextColour::lightness(const QImage& bitmap, const QSizeF& shownSize)
{
    const Mean mean = sampleBelowCentre(bitmap, shownSize);
    return (calcMax(mean.r, mean.g, mean.b) + calcMin(mean.r, mean.g, mean.b)) * 0.5;
}

std::optional<ShadowStyle> Shadows::forText(int textIsBlack)
{
    // Components of 255 on a 0-to-1 scale, clamped: white at 0.4.
    if (textIsBlack == 1)
        return ShadowStyle{QColor::fromRgbF(1, 1, 1, 0.4f), 0.0, QPointF(0, 1)};
    if (textIsBlack == 0)
        return ShadowStyle{QColor::fromRgbF(0, 0, 0, 0.8f), 2.0, QPointF(0, 2)};
    return std::nullopt;
}

std::optional<ShadowStyle> Shadows::forImages(int textIsBlack)
{
    if (textIsBlack == 1)
        return ShadowStyle{QColor::fromRgbF(1, 1, 1, 0.4f), 0.0, QPointF(0, -1)};
    if (textIsBlack == 0)
        return ShadowStyle{QColor::fromRgbF(0, 0, 0, 0.8f), 2.0, QPointF(0, -2)};
    return std::nullopt;
}

ShadowStyle Shadows::forBackground()
{
    return ShadowStyle{QColor::fromRgbF(0, 0, 0, 0.8f), 4.0, QPointF(0, -2)};
}
