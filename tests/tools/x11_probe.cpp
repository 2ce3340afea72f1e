// An X client that looks at the desktop from outside, for the end-to-end tests:
//   x11_probe grab-keyboard    prints the status of a keyboard grab on the root window
//   x11_probe grab-pointer     prints the status of a pointer grab on the root window
//   x11_probe buttons          prints the pointer's pressed buttons as a mask (0 = none)
//   x11_probe viewable         prints the root's viewable children, bottom to top, one id a line
//   x11_probe record-keys FILE maps a large window (colour 0x336699) and appends one line per
//                              key it receives: "key N" for a press, "release N" for a release
//   x11_probe record-clicks FILE maps an override-redirect window (colour 0x669933) over the
//                              top-left 200x200 of the screen and appends one line per button
//                              event it receives: "press N", "release N"
//   x11_probe hold-key KEYCODE MODS FILE  holds a key combination, as another program's
//                              shortcut would, and writes "held" to FILE
//   x11_probe popup X Y W H COLOUR FILE  maps an override-redirect window of that colour
//                              (RRGGBB) and then writes "mapped" to FILE
// A grab that succeeds is let go again at once.
#include <xcb/xcb.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

const char* statusName(uint8_t status)
{
    switch (status) {
    case XCB_GRAB_STATUS_SUCCESS:
        return "Success";
    case XCB_GRAB_STATUS_ALREADY_GRABBED:
        return "AlreadyGrabbed";
    case XCB_GRAB_STATUS_INVALID_TIME:
        return "InvalidTime";
    case XCB_GRAB_STATUS_NOT_VIEWABLE:
        return "NotViewable";
    case XCB_GRAB_STATUS_FROZEN:
        return "Frozen";
    default:
        return "Unknown";
    }
}

volatile std::sig_atomic_t stopping = 0;
void stop(int)
{
    stopping = 1;
}

xcb_window_t makeWindow(xcb_connection_t* c, xcb_screen_t* screen, int x, int y, int w, int h,
                        uint32_t colour, bool overrideRedirect, uint32_t events)
{
    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {colour, overrideRedirect ? 1u : 0u, events};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, int16_t(x), int16_t(y),
                      uint16_t(w), uint16_t(h), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    const char* name = "tessarine-probe";
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        uint32_t(std::strlen(name)), name);
    xcb_map_window(c, window);
    xcb_flush(c);
    return window;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(
            stderr, "usage: x11_probe grab-keyboard|grab-pointer|buttons|record-keys|record-clicks "
                    "FILE|popup X Y W H COLOUR\n");
        return 2;
    }
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "x11_probe: no display\n");
        return 2;
    }
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const std::string command = argv[1];

    if (command == "grab-keyboard") {
        auto* reply =
            xcb_grab_keyboard_reply(c,
                                    xcb_grab_keyboard(c, 0, screen->root, XCB_CURRENT_TIME,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                    nullptr);
        const uint8_t status = reply ? reply->status : 255;
        std::free(reply);
        if (status == XCB_GRAB_STATUS_SUCCESS)
            xcb_ungrab_keyboard(c, XCB_CURRENT_TIME);
        std::printf("%s\n", statusName(status));
    } else if (command == "grab-pointer") {
        auto* reply = xcb_grab_pointer_reply(
            c,
            xcb_grab_pointer(c, 0, screen->root, XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC,
                             XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
            nullptr);
        const uint8_t status = reply ? reply->status : 255;
        std::free(reply);
        if (status == XCB_GRAB_STATUS_SUCCESS)
            xcb_ungrab_pointer(c, XCB_CURRENT_TIME);
        std::printf("%s\n", statusName(status));
    } else if (command == "buttons") {
        auto* reply = xcb_query_pointer_reply(c, xcb_query_pointer(c, screen->root), nullptr);
        const unsigned mask = reply ? (reply->mask & 0x1f00u) >> 8 : 0;
        std::free(reply);
        std::printf("%u\n", mask);
    } else if (command == "viewable") {
        auto* tree = xcb_query_tree_reply(c, xcb_query_tree(c, screen->root), nullptr);
        const xcb_window_t* children = tree ? xcb_query_tree_children(tree) : nullptr;
        for (int i = 0; tree && i < xcb_query_tree_children_length(tree); ++i) {
            auto* attributes = xcb_get_window_attributes_reply(
                c, xcb_get_window_attributes(c, children[i]), nullptr);
            if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE)
                std::printf("0x%x\n", unsigned(children[i]));
            std::free(attributes);
        }
        std::free(tree);
    } else if (command == "record-keys" && argc == 3) {
        FILE* out = std::fopen(argv[2], "a");
        if (!out)
            return 2;
        std::signal(SIGTERM, stop);
        const xcb_window_t window = makeWindow(
            c, screen, 100, 100, 900, 600, 0x336699, false,
            XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_EXPOSURE);
        std::fprintf(out, "mapped\n");
        std::fflush(out);
        while (!stopping) {
            while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
                if ((event->response_type & 0x7f) == XCB_KEY_PRESS) {
                    auto* key = reinterpret_cast<xcb_key_press_event_t*>(event);
                    std::fprintf(out, "key %u\n", unsigned(key->detail));
                    std::fflush(out);
                } else if ((event->response_type & 0x7f) == XCB_KEY_RELEASE) {
                    auto* key = reinterpret_cast<xcb_key_release_event_t*>(event);
                    std::fprintf(out, "release %u\n", unsigned(key->detail));
                    std::fflush(out);
                }
                std::free(event);
            }
            if (xcb_connection_has_error(c))
                break;
            usleep(5000);
        }
        xcb_destroy_window(c, window);
        std::fclose(out);
    } else if (command == "record-clicks" && argc == 3) {
        FILE* out = std::fopen(argv[2], "a");
        if (!out)
            return 2;
        std::signal(SIGTERM, stop);
        const xcb_window_t window =
            makeWindow(c, screen, 0, 0, 200, 200, 0x669933, true,
                       XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE);
        std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
        std::fprintf(out, "mapped\n");
        std::fflush(out);
        while (!stopping && !xcb_connection_has_error(c)) {
            while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
                const auto type = event->response_type & 0x7f;
                if (type == XCB_BUTTON_PRESS || type == XCB_BUTTON_RELEASE) {
                    auto* button = reinterpret_cast<xcb_button_press_event_t*>(event);
                    std::fprintf(out, "%s %u\n", type == XCB_BUTTON_PRESS ? "press" : "release",
                                 unsigned(button->detail));
                    std::fflush(out);
                }
                std::free(event);
            }
            usleep(5000);
        }
        xcb_destroy_window(c, window);
        std::fclose(out);
    } else if (command == "popup" && argc == 8) {
        std::signal(SIGTERM, stop);
        makeWindow(c, screen, std::atoi(argv[2]), std::atoi(argv[3]), std::atoi(argv[4]),
                   std::atoi(argv[5]), uint32_t(std::strtoul(argv[6], nullptr, 16)), true, 0);
        // A round trip: the map request has been carried out when its answer comes.
        std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
        if (FILE* out = std::fopen(argv[7], "a")) {
            std::fprintf(out, "mapped\n");
            std::fclose(out);
        }
        // Events are read, so that the end of the display ends the probe too.
        while (!stopping && !xcb_connection_has_error(c)) {
            while (xcb_generic_event_t* event = xcb_poll_for_event(c))
                std::free(event);
            usleep(10000);
        }
    } else if (command == "hold-key" && argc == 5) {
        // A passive grab of a key with modifiers on the root window, as another program's
        // shortcut would hold it; "held" goes to FILE once the grab is in place.
        std::signal(SIGTERM, stop);
        const auto keycode = xcb_keycode_t(std::atoi(argv[2]));
        const auto modifiers = uint16_t(std::strtoul(argv[3], nullptr, 0));
        xcb_generic_error_t* error =
            xcb_request_check(c, xcb_grab_key_checked(c, 1, screen->root, modifiers, keycode,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        if (error) {
            std::free(error);
            return 1;
        }
        if (FILE* out = std::fopen(argv[4], "a")) {
            std::fprintf(out, "held\n");
            std::fclose(out);
        }
        while (!stopping && !xcb_connection_has_error(c)) {
            while (xcb_generic_event_t* event = xcb_poll_for_event(c))
                std::free(event);
            usleep(10000);
        }
    } else {
        std::fprintf(stderr, "x11_probe: unknown command\n");
        return 2;
    }
    xcb_flush(c);
    xcb_disconnect(c);
    return 0;
}
