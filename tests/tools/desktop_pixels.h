// What the screen shows at 25 points (a 5 x 5 grid over the whole root window), read from the
// root as another X client sees it: how many of them show the test's desktop colour.
#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>

namespace DesktopPixels {

// The colour the tests fill the desktop with (magenta): nothing of a lock screen is this colour.
constexpr uint32_t desktopColour = 0xff00ff;
constexpr int grid = 5;

// How many of the 25 points show the desktop colour; -1 when the screen could not be read.
inline int showingDesktop(xcb_connection_t* c)
{
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    xcb_get_image_cookie_t cookies[grid * grid];
    for (int i = 0; i < grid * grid; ++i) {
        const int x = (2 * (i % grid) + 1) * screen->width_in_pixels / (2 * grid);
        const int y = (2 * (i / grid) + 1) * screen->height_in_pixels / (2 * grid);
        cookies[i] = xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, int16_t(x),
                                   int16_t(y), 1, 1, ~0u);
    }
    int count = 0;
    bool failed = false;
    for (auto& cookie : cookies) {
        xcb_get_image_reply_t* reply = xcb_get_image_reply(c, cookie, nullptr);
        if (!reply || xcb_get_image_data_length(reply) < 4) {
            failed = true;
        } else {
            const uint8_t* data = xcb_get_image_data(reply);
            const uint32_t pixel =
                uint32_t(data[0]) | uint32_t(data[1]) << 8 | uint32_t(data[2]) << 16;
            if (pixel == desktopColour)
                ++count;
        }
        std::free(reply);
    }
    return failed ? -1 : count;
}

} // namespace DesktopPixels
