// Times how quickly a lock hides the desktop, from outside, as another X client:
//
//   hidden_timer run COMMAND...
//       fills the screen with an override-redirect window of the desktop colour (magenta), runs
//       COMMAND (`tessarine lock`, `i3lock -n`), and reads 25 points of the root window every
//       half millisecond until none shows that colour. Prints the milliseconds from the start
//       of COMMAND until then, or "timeout" after 5 s. The window is taken away before the
//       program ends; COMMAND is left running when it has not ended (a locker that stays).
//   hidden_timer end COMMAND...
//       the same, then ends COMMAND with SIGTERM and waits for it (a peer locker: i3lock -n).
//   hidden_timer desktop
//       maps the same window and keeps it until SIGTERM; "ready" on stdout once it shows.
#include "desktop_pixels.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t stopping = 0;
void stop(int)
{
    stopping = 1;
}

xcb_window_t mapDesktop(xcb_connection_t* c)
{
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {DesktopPixels::desktopColour, 1};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, screen->width_in_pixels,
                      screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    xcb_map_window(c, window);
    xcb_flush(c);
    // Shown once every point reads its colour.
    for (int tries = 0; tries < 2000; ++tries) {
        if (DesktopPixels::showingDesktop(c) == DesktopPixels::grid * DesktopPixels::grid)
            return window;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return XCB_NONE;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 1 ? argv[1] : "";
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "hidden_timer: no X display\n");
        return 2;
    }
    if (command == "desktop" && argc == 2) {
        std::signal(SIGTERM, stop);
        if (mapDesktop(c) == XCB_NONE)
            return 1;
        std::printf("ready\n");
        std::fflush(stdout);
        while (!stopping)
            pause();
        return 0;
    }
    if ((command != "run" && command != "end") || argc < 3) {
        std::fprintf(stderr, "usage: hidden_timer run|end COMMAND... | hidden_timer desktop\n");
        return 2;
    }
    const xcb_window_t desktop = mapDesktop(c);
    if (desktop == XCB_NONE) {
        std::fprintf(stderr, "hidden_timer: the desktop colour never showed\n");
        return 1;
    }
    const auto start = Clock::now();
    pid_t child = 0;
    if (posix_spawnp(&child, argv[2], nullptr, nullptr, argv + 2, environ) != 0) {
        std::fprintf(stderr, "hidden_timer: cannot run %s\n", argv[2]);
        return 1;
    }
    bool hidden = false;
    while (Clock::now() - start < std::chrono::seconds(5)) {
        if (DesktopPixels::showingDesktop(c) == 0) {
            hidden = true;
            break;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    if (hidden)
        std::printf("%.2f\n", ms);
    else
        std::printf("timeout\n");
    xcb_destroy_window(c, desktop);
    xcb_flush(c);
    xcb_disconnect(c);
    if (command == "end") {
        kill(child, SIGTERM);
        waitpid(child, nullptr, 0);
    } else {
        // A command that ends by itself (`tessarine lock`) is not left a zombie meanwhile.
        waitpid(child, nullptr, WNOHANG);
    }
    return hidden ? 0 : 1;
}
