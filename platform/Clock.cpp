#include "platform/Clock.h"

#include <time.h>

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTime();
}

double SystemClock::absoluteSeconds() const
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) / 1e9;
}
