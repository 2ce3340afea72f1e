#include "lockscreen/PictureFit.h"

PictureFit PictureFit::choose(int screenWidth, int screenHeight, int pictureWidth,
                              int pictureHeight)
{
    const double W = screenWidth;
    const double H = screenHeight;
    const double iw = pictureWidth;
    const double ih = pictureHeight;
    if (pictureWidth <= 0 || pictureHeight <= 0)
        return {QSizeF(0, 0), true};
    if (W < H && iw >= ih) // a portrait screen with a picture not taller than wide
        return {QSizeF(W, ih * W / iw), true};
    if (W >= H && ih >= iw) // a landscape screen with a picture not wider than tall
        return {QSizeF(iw * H / ih, H), true};
    const double rh = H / ih;
    const double rw = W / iw;
    if (rh > rw) {
        if (iw * rh - W > cropLimit)
            return {QSizeF(W, ih * rw), true};
        return {QSizeF(iw * rh, H), false};
    }
    if (ih * rw - H > cropLimit)
        return {QSizeF(iw * rh, H), true};
    return {QSizeF(W, ih * rw), false};
}
