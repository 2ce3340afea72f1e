#pragma once

// One swing of the lock image when a key is typed: three swings at phases 0, 0.2 and 0.4,
// shrinking, alternating in direction; keys typed with the right hand start the other way.
namespace LockSwing {
inline constexpr double phaseStep = 0.2;
inline constexpr double phaseEnd = 0.5;
inline constexpr double swingSeconds = 0.1;    // out, then back again
inline constexpr double minimumInterval = 0.6; // between the swings of two keys
// The angle in radians for a phase, from the image's height; NaN when the image is too small.
double angle(double phase, double imageHeight, bool rightKey);
} // namespace LockSwing
