#pragma once

#include <QSizeF>

// How a background picture is sized on a screen: filled (cropped equally on both sides) while
// the part cut away on one axis stays within 500 points, otherwise shown whole on linen.
//
// The tie rules are kept as they are: a square screen counts as landscape, and a square picture
// counts as portrait on a landscape or square screen and as landscape on a portrait screen, so a
// square picture is always fitted, never filled.
struct PictureFit
{
    static constexpr double cropLimit = 500.0;

    QSizeF size;          // the picture's size on the screen, in points
    bool onLinen = false; // the window shows the linen pattern around the picture

    // Screen and picture sizes are whole numbers (truncated). A picture of no size (one that
    // read but did not decode) is drawn at 0 x 0 over linen.
    static PictureFit choose(int screenWidth, int screenHeight, int pictureWidth,
                             int pictureHeight);
};
