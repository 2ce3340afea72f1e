// Times the guard's taking over: sends a signal to the lock screen's process and measures, from
// that moment, until the lock screen's windows are gone (its X connection has ended), a window of
// the guard covers the whole root window, and the keyboard is grabbed by another client.
//
//   takeover_timer PID SIGNAL   prints the milliseconds, or "timeout" after 5 s
//
// Prints to stderr how often the keyboard was found free on the way (a grab attempt of ours
// that succeeded, let go again at once).
#include <xcb/xcb.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

std::string classOf(xcb_connection_t* c, xcb_window_t window)
{
    auto* reply = xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64), nullptr);
    std::string text;
    if (reply) {
        const auto* value = static_cast<const char*>(xcb_get_property_value(reply));
        text.assign(value, strnlen(value, size_t(xcb_get_property_value_length(reply))));
        std::free(reply);
    }
    return text;
}

bool exists(xcb_connection_t* c, xcb_window_t window)
{
    xcb_generic_error_t* error = nullptr;
    auto* reply = xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), &error);
    std::free(error);
    const bool found = reply != nullptr;
    std::free(reply);
    return found;
}

// The root's viewable children whose class is exactly this.
std::vector<xcb_window_t> viewableOfClass(xcb_connection_t* c, xcb_screen_t* screen,
                                          const std::string& wanted)
{
    std::vector<xcb_window_t> found;
    auto* tree = xcb_query_tree_reply(c, xcb_query_tree(c, screen->root), nullptr);
    if (!tree)
        return found;
    const xcb_window_t* children = xcb_query_tree_children(tree);
    for (int i = 0; i < xcb_query_tree_children_length(tree); ++i) {
        auto* attributes =
            xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, children[i]), nullptr);
        const bool viewable = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        std::free(attributes);
        if (viewable && classOf(c, children[i]) == wanted)
            found.push_back(children[i]);
    }
    std::free(tree);
    return found;
}

bool coversRoot(xcb_connection_t* c, xcb_screen_t* screen, xcb_window_t window)
{
    auto* geometry = xcb_get_geometry_reply(c, xcb_get_geometry(c, window), nullptr);
    const bool covers = geometry && geometry->x <= 0 && geometry->y <= 0 &&
                        geometry->x + geometry->width >= screen->width_in_pixels &&
                        geometry->y + geometry->height >= screen->height_in_pixels;
    std::free(geometry);
    return covers;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    const pid_t pid = pid_t(std::atoi(argv[1]));
    const int signal = std::atoi(argv[2]);
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        return 2;
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    // Qt names its windows' class after the program.
    std::vector<xcb_window_t> lockWindows = viewableOfClass(c, screen, "tessarine");
    if (lockWindows.empty()) {
        std::fprintf(stderr, "takeover_timer: no lock window is shown\n");
        return 2;
    }

    const auto start = Clock::now();
    if (kill(pid, signal) != 0)
        return 2;
    int freeSeen = 0;
    bool done = false;
    while (!done && Clock::now() - start < std::chrono::seconds(5)) {
        while (!lockWindows.empty() && !exists(c, lockWindows.back()))
            lockWindows.pop_back();
        if (lockWindows.empty()) {
            bool covered = false;
            for (xcb_window_t window : viewableOfClass(c, screen, "tessarine-guard"))
                covered = covered || coversRoot(c, screen, window);
            if (covered) {
                auto* grab = xcb_grab_keyboard_reply(
                    c,
                    xcb_grab_keyboard(c, 0, screen->root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                                      XCB_GRAB_MODE_ASYNC),
                    nullptr);
                const uint8_t status = grab ? grab->status : 255;
                std::free(grab);
                if (status == XCB_GRAB_STATUS_SUCCESS) {
                    xcb_ungrab_keyboard(c, XCB_CURRENT_TIME);
                    xcb_flush(c);
                    ++freeSeen;
                }
                done = status == XCB_GRAB_STATUS_ALREADY_GRABBED;
            }
        }
        if (!done)
            usleep(200);
    }
    if (!done) {
        std::printf("timeout\n");
    } else {
        std::printf("%.3f\n",
                    std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::fprintf(stderr, "takeover_timer: keyboard found free %d times\n", freeSeen);
    xcb_disconnect(c);
    return done ? 0 : 1;
}
