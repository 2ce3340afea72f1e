#pragma once

// Whether a compositing manager runs on the display: only then can a window with an alpha
// channel (the clear background) let the desktop show through. A compositing manager owns the
// selection _NET_WM_CM_S<screen>, as the freedesktop window-manager hints (EWMH) have it.
namespace Compositor {
bool isRunning();
} // namespace Compositor
