// Times keyboard grabs from outside, as a user's focused window sees them: a helper window takes
// the focus, then one of these happens, and the time runs until the window hears that the
// keyboard was taken (FocusOut, mode Grab) or given back (FocusIn, mode Ungrab).
//
//   grab_timer click X Y       a left click at X,Y; time from the button's release to grabbed
//   grab_timer keys KEYSYM...  types the keys; time from the last key's press to released
//   grab_timer exec CMD ARG... starts CMD; time from fork to grabbed, then CMD is ended
//   grab_timer run CMD ARG...  the same, but CMD is left to end by itself
//   grab_timer chord KEYSYM... holds the keys down in order and taps the last one; time from its
//                              press to grabbed. The tap's own passive grab (the hot key's) is
//                              waited out first; then the modifiers are let go
//
// Prints the time in milliseconds, or "timeout" after 5 s.
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

xcb_connection_t* c;
xcb_screen_t* screen;

// Waits for a focus event of the given kind and mode on the window; false after the timeout.
bool waitForFocus(xcb_window_t window, uint8_t type, uint8_t mode, double seconds)
{
    const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
    while (Clock::now() < deadline) {
        xcb_generic_event_t* event = xcb_poll_for_event(c);
        if (!event) {
            usleep(100);
            continue;
        }
        const uint8_t kind = event->response_type & 0x7f;
        bool matched = false;
        if (kind == type) {
            auto* focus = reinterpret_cast<xcb_focus_in_event_t*>(event);
            matched = focus->event == window && focus->mode == mode;
        }
        std::free(event);
        if (matched)
            return true;
    }
    return false;
}

xcb_window_t focusedHelper()
{
    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {1, XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, 10, 500, 50, 50, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(c, window);
    xcb_flush(c);
    // Mapped, then focused.
    for (;;) {
        xcb_generic_event_t* event = xcb_wait_for_event(c);
        const bool mapped = event && (event->response_type & 0x7f) == XCB_MAP_NOTIFY;
        std::free(event);
        if (mapped || !event)
            break;
    }
    xcb_set_input_focus(c, XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
    xcb_flush(c);
    waitForFocus(window, XCB_FOCUS_IN, XCB_NOTIFY_MODE_NORMAL, 1.0);
    return window;
}

void report(bool ok, Clock::time_point start)
{
    if (!ok) {
        std::printf("timeout\n");
        return;
    }
    std::printf("%.3f\n", std::chrono::duration<double, std::milli>(Clock::now() - start).count());
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2)
        return 2;
    c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        return 2;
    screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    const std::string mode = argv[1];

    if (mode == "click" && argc == 4) {
        const xcb_window_t helper = focusedHelper();
        const int16_t x = int16_t(std::atoi(argv[2])), y = int16_t(std::atoi(argv[3]));
        xcb_test_fake_input(c, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, screen->root, x, y, 0);
        xcb_test_fake_input(c, XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, screen->root, 0, 0, 0);
        xcb_flush(c);
        usleep(20000);
        xcb_test_fake_input(c, XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, screen->root, 0, 0, 0);
        xcb_flush(c);
        const auto start = Clock::now();
        report(waitForFocus(helper, XCB_FOCUS_OUT, XCB_NOTIFY_MODE_GRAB, 5), start);
    } else if (mode == "keys" && argc >= 3) {
        const xcb_window_t helper = focusedHelper();
        xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(c);
        Clock::time_point start;
        for (int i = 2; i < argc; ++i) {
            const xcb_keysym_t keysym = xcb_keysym_t(std::strtoul(argv[i], nullptr, 0));
            xcb_keycode_t* codes = xcb_key_symbols_get_keycode(symbols, keysym);
            if (!codes)
                return 2;
            xcb_test_fake_input(c, XCB_KEY_PRESS, codes[0], XCB_CURRENT_TIME, screen->root, 0, 0,
                                0);
            xcb_flush(c);
            start = Clock::now();
            xcb_test_fake_input(c, XCB_KEY_RELEASE, codes[0], XCB_CURRENT_TIME, screen->root, 0, 0,
                                0);
            xcb_flush(c);
            std::free(codes);
            if (i + 1 < argc)
                usleep(30000);
        }
        xcb_key_symbols_free(symbols);
        report(waitForFocus(helper, XCB_FOCUS_IN, XCB_NOTIFY_MODE_UNGRAB, 5), start);
    } else if (mode == "chord" && argc >= 3) {
        const xcb_window_t helper = focusedHelper();
        xcb_key_symbols_t* symbols = xcb_key_symbols_alloc(c);
        std::vector<xcb_keycode_t> held;
        for (int i = 2; i < argc; ++i) {
            xcb_keycode_t* codes = xcb_key_symbols_get_keycode(
                symbols, xcb_keysym_t(std::strtoul(argv[i], nullptr, 0)));
            if (!codes)
                return 2;
            held.push_back(codes[0]);
            std::free(codes);
        }
        xcb_key_symbols_free(symbols);
        const xcb_keycode_t last = held.back();
        held.pop_back();
        for (xcb_keycode_t code : held) {
            xcb_test_fake_input(c, XCB_KEY_PRESS, code, XCB_CURRENT_TIME, screen->root, 0, 0, 0);
            xcb_flush(c);
            usleep(5000);
        }
        xcb_test_fake_input(c, XCB_KEY_PRESS, last, XCB_CURRENT_TIME, screen->root, 0, 0, 0);
        xcb_test_fake_input(c, XCB_KEY_RELEASE, last, XCB_CURRENT_TIME, screen->root, 0, 0, 0);
        xcb_flush(c);
        const auto start = Clock::now();
        // The passive grab of the shortcut takes the keyboard at the press and gives it back at
        // the release; the lock's own grab comes after.
        const bool passive = waitForFocus(helper, XCB_FOCUS_IN, XCB_NOTIFY_MODE_UNGRAB, 5);
        report(passive && waitForFocus(helper, XCB_FOCUS_OUT, XCB_NOTIFY_MODE_GRAB, 5), start);
        for (auto it = held.rbegin(); it != held.rend(); ++it)
            xcb_test_fake_input(c, XCB_KEY_RELEASE, *it, XCB_CURRENT_TIME, screen->root, 0, 0, 0);
        xcb_flush(c);
    } else if ((mode == "exec" || mode == "run") && argc >= 3) {
        const xcb_window_t helper = focusedHelper();
        const auto start = Clock::now();
        const pid_t child = fork();
        if (child == 0) {
            execvp(argv[2], argv + 2);
            _exit(127);
        }
        report(waitForFocus(helper, XCB_FOCUS_OUT, XCB_NOTIFY_MODE_GRAB, 5), start);
        if (mode == "exec")
            kill(child, SIGTERM);
        waitpid(child, nullptr, 0);
    } else {
        return 2;
    }
    xcb_disconnect(c);
    return 0;
}
