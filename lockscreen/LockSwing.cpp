#include "lockscreen/LockSwing.h"

#include <cmath>

double LockSwing::angle(double phase, double imageHeight, bool rightKey)
{
    const double amplitude = 20 * std::pow(2.71828182846, -3 * phase);
    // The offset is added and then taken away (or added twice for the right hand) in two steps
    // on purpose: the rounding of those steps is part of the swing.
    const double shifted = (phase + 0.1) + (rightKey ? 0.1 : -0.1);
    const double v = std::cos(shifted * 15.707963267948966) * amplitude;
    const double d = 2 * v;
    return std::asin(d / imageHeight);
}
