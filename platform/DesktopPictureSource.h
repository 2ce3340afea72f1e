#pragma once

#include <QRect>
#include <QString>

// A screen as the places that keep a desktop's picture tell screens apart.
struct PictureScreen
{
    int index = 0;
    QString name;         // the output's name ("HDMI-1"), as QScreen::name() gives it
    QRect nativeGeometry; // in X pixels on the root window
};

// One place where a desktop keeps its picture.
class DesktopPictureSource
{
public:
    virtual ~DesktopPictureSource() = default;
    // An absolute URL string of this screen's picture, "" when this place has none to offer.
    virtual QString urlForScreen(const PictureScreen& screen) = 0;
};
