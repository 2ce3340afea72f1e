// What a hostile X client of the same user can do to a lock screen, for the end-to-end tests:
//   x11_attack destroy WINDOW      destroys another client's window (any client may)
//   x11_attack lower WINDOW        puts another client's window at the bottom of the stack
//   x11_attack raise-popup X Y W H COLOUR COUNT FILE
//                                  maps an override-redirect window of that colour (RRGGBB),
//                                  raises it again COUNT times, 5 ms apart, writes "done" to
//                                  FILE and stays mapped until SIGTERM
//   x11_attack menu FILE           maps a small override-redirect window and grabs keyboard and
//                                  pointer for it, as an open menu does; writes "grabbed" (or
//                                  "refused") to FILE, then "key N" for every key it receives,
//                                  until SIGTERM
//   x11_attack watch COLOUR MS X Y [X Y ...]
//                                  reads the root window's pixel at each point, over and over for
//                                  MS milliseconds, and prints how many readings showed COLOUR
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

volatile std::sig_atomic_t stopping = 0;
void stop(int)
{
    stopping = 1;
}

xcb_window_t mapOverrideRedirect(xcb_connection_t* c, xcb_screen_t* screen, int x, int y, int w,
                                 int h, uint32_t colour, uint32_t events)
{
    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {colour, 1u, events};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, int16_t(x), int16_t(y),
                      uint16_t(w), uint16_t(h), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(c, window);
    // A round trip: the map has been carried out when its answer comes.
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    return window;
}

void say(const char* file, const std::string& line)
{
    if (FILE* out = std::fopen(file, "a")) {
        std::fprintf(out, "%s\n", line.c_str());
        std::fclose(out);
    }
}

void idleUntilStopped(xcb_connection_t* c, const char* keysFile)
{
    while (!stopping && !xcb_connection_has_error(c)) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
            if (keysFile && (event->response_type & 0x7f) == XCB_KEY_PRESS) {
                auto* key = reinterpret_cast<xcb_key_press_event_t*>(event);
                say(keysFile, "key " + std::to_string(key->detail));
            }
            std::free(event);
        }
        usleep(5000);
    }
}

uint32_t pixelAt(xcb_connection_t* c, xcb_window_t root, int x, int y)
{
    auto* image = xcb_get_image_reply(
        c, xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, root, int16_t(x), int16_t(y), 1, 1, ~0u),
        nullptr);
    uint32_t pixel = 0xffffffff;
    if (image && xcb_get_image_data_length(image) >= 4)
        std::memcpy(&pixel, xcb_get_image_data(image), 4);
    std::free(image);
    return pixel & 0xffffff;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: x11_attack destroy|lower|raise-popup|menu|watch ...\n");
        return 2;
    }
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "x11_attack: no display\n");
        return 2;
    }
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const std::string command = argv[1];
    std::signal(SIGTERM, stop);

    if (command == "destroy" && argc == 3) {
        const auto window = xcb_window_t(std::strtoul(argv[2], nullptr, 0));
        xcb_generic_error_t* error = xcb_request_check(c, xcb_destroy_window_checked(c, window));
        std::printf("%s\n", error ? "refused" : "destroyed");
        std::free(error);
    } else if (command == "lower" && argc == 3) {
        const auto window = xcb_window_t(std::strtoul(argv[2], nullptr, 0));
        const uint32_t below = XCB_STACK_MODE_BELOW;
        xcb_generic_error_t* error = xcb_request_check(
            c, xcb_configure_window_checked(c, window, XCB_CONFIG_WINDOW_STACK_MODE, &below));
        std::printf("%s\n", error ? "refused" : "lowered");
        std::free(error);
    } else if (command == "raise-popup" && argc == 9) {
        const xcb_window_t window = mapOverrideRedirect(
            c, screen, std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]),
            std::atoi(argv[5]), uint32_t(std::strtoul(argv[6], nullptr, 16)), 0);
        const int count = std::atoi(argv[7]);
        const uint32_t above = XCB_STACK_MODE_ABOVE;
        for (int i = 0; i < count && !stopping; ++i) {
            xcb_configure_window(c, window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
            xcb_flush(c);
            usleep(5000);
        }
        std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
        say(argv[8], "done");
        idleUntilStopped(c, nullptr);
    } else if (command == "menu" && argc == 3) {
        const xcb_window_t window =
            mapOverrideRedirect(c, screen, 10, 10, 200, 200, 0x00ff00,
                                XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_BUTTON_PRESS);
        auto* keyboard =
            xcb_grab_keyboard_reply(c,
                                    xcb_grab_keyboard(c, 0, window, XCB_CURRENT_TIME,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                    nullptr);
        auto* pointer = xcb_grab_pointer_reply(
            c,
            xcb_grab_pointer(c, 0, window, XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC,
                             XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
            nullptr);
        const bool grabbed = keyboard && keyboard->status == XCB_GRAB_STATUS_SUCCESS && pointer &&
                             pointer->status == XCB_GRAB_STATUS_SUCCESS;
        std::free(keyboard);
        std::free(pointer);
        say(argv[2], grabbed ? "grabbed" : "refused");
        idleUntilStopped(c, argv[2]);
    } else if (command == "watch" && argc >= 6 && argc % 2 == 0) {
        const auto colour = uint32_t(std::strtoul(argv[2], nullptr, 16));
        const auto until =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(std::atoi(argv[3]));
        std::vector<std::pair<int, int>> points;
        for (int i = 4; i + 1 < argc; i += 2)
            points.emplace_back(std::atoi(argv[i]), std::atoi(argv[i + 1]));
        long seen = 0;
        while (std::chrono::steady_clock::now() < until) {
            for (const auto& [x, y] : points)
                seen += pixelAt(c, screen->root, x, y) == colour;
        }
        std::printf("%ld\n", seen);
    } else {
        std::fprintf(stderr, "x11_attack: unknown command\n");
        return 2;
    }
    xcb_flush(c);
    xcb_disconnect(c);
    return 0;
}
