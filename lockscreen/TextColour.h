#pragma once

#include <QColor>
#include <QImage>
#include <QPointF>
#include <QSizeF>

#include <optional>

// Light or dark text for the lock screen, from the lightness of the picture just below the
// screen's centre, where the clock and the other texts stand.
namespace TextColour {
// The largest and the smallest of three components, ties included exactly as they were first
// written: with r = g > b the "largest" is b, with r = g < b the "smallest" is b. The ties change
// the lightness of some colours, and that result is the one users know.
double calcMax(double r, double g, double b);
double calcMin(double r, double g, double b);

// The mean colour of a 400 x 100 block centred horizontally, 40 to 140 pixels below the
// picture's centre. `shownSize` is the picture's size on the screen in points; the bitmap's
// pixels count one point each, so a picture shown larger or smaller than its own size has its
// block scaled with it: the horizontal range by the vertical ratio and the vertical range by the
// horizontal one (a crossing kept as it was designed; it matters only for unequal ratios).
// Pixels outside the bitmap add nothing, and the sums are divided by the nominal count anyway.
struct Mean
{
    double r = 0;
    double g = 0;
    double b = 0;
};
Mean sampleBelowCentre(const QImage& bitmap, const QSizeF& shownSize);

// (max + min) / 2 by the rules above; NaN for an empty bitmap.
double lightness(const QImage& bitmap, const QSizeF& shownSize);

// Only clearly light pictures get black text; a lightness that is not a number gets white.
inline bool wantsBlackText(double lightness)
{
    return lightness > 0.8;
}
} // namespace TextColour

// A shadow as the lock screen describes it: the offset's y grows upwards.
struct ShadowStyle
{
    QColor colour;
    double blur = 0;
    QPointF offset;
    bool operator==(const ShadowStyle&) const = default;
};

// The shadow table: texts get their shadow above, images below.
namespace Shadows {
// Light shadows under black text, dark ones under white text; none for any other value.
std::optional<ShadowStyle> forText(int textIsBlack);
std::optional<ShadowStyle> forImages(int textIsBlack);
ShadowStyle forBackground();
} // namespace Shadows
