#pragma once

#include <QDateTime>

// Where the program gets the time, so that tests can set it.
class Clock
{
public:
    virtual ~Clock() = default;
    // Local wall-clock time, for calendar fields (hour, minute) and the clock widget.
    virtual QDateTime now() const = 0;
    // Seconds on a monotonic scale, for measuring intervals between key presses.
    virtual double absoluteSeconds() const = 0;
};

class SystemClock final : public Clock
{
public:
    QDateTime now() const override;
    double absoluteSeconds() const override;
};
