#pragma once

#include <QIcon>
#include <QString>

// The program's own images by name ("LOCK-2", "lockmenubar", ...). They are vector images, so
// they stay sharp at any size and on high-density screens.
class ImageLibrary
{
public:
    static bool contains(const QString& name);
    static QIcon named(const QString& name);
    static QString resourcePath(const QString& name);
};
