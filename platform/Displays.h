#pragma once

#include <QList>
#include <QRect>
#include <QSize>

// The displays the lock screen covers.
class Displays
{
public:
    virtual ~Displays() = default;
    // The primary display's geometry in device-independent pixels, origin top-left.
    virtual QRect primaryGeometry() const = 0;
    // Every display's geometry, the primary (first) display first.
    virtual QList<QRect> screenGeometries() const = 0;
};

class QtDisplays final : public Displays
{
public:
    QRect primaryGeometry() const override;
    QList<QRect> screenGeometries() const override;
};
