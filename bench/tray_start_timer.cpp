// Times a program from process start until its tray icon is embedded in the system tray: the
// moment the tray reparents the icon window into itself. Run under a desktop with a tray.
//
//   tray_start_timer RUNS COMMAND [ARGS...]
//
// Prints one line per run, "start_to_tray_ms <value> pid <pid>", and leaves each program running
// for `IDLE_SECONDS` (environment, default 0) before ending it, so that a caller can measure it.
#include <xcb/xcb.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

std::string windowClass(xcb_connection_t* c, xcb_window_t w)
{
    auto cookie = xcb_get_property(c, 0, w, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64);
    xcb_get_property_reply_t* reply = xcb_get_property_reply(c, cookie, nullptr);
    if (!reply)
        return {};
    std::string value(static_cast<const char*>(xcb_get_property_value(reply)),
                      size_t(xcb_get_property_value_length(reply)));
    free(reply);
    return value;
}

// Whether the window now lies inside a window of the tray.
bool insideTray(xcb_connection_t* c, xcb_window_t w)
{
    for (int depth = 0; depth < 16 && w != XCB_NONE; ++depth) {
        xcb_query_tree_reply_t* tree = xcb_query_tree_reply(c, xcb_query_tree(c, w), nullptr);
        if (!tree)
            return false;
        const xcb_window_t parent = tree->parent;
        const bool atRoot = parent == tree->root;
        free(tree);
        if (atRoot)
            return false;
        if (windowClass(c, parent).find("trayer") != std::string::npos)
            return true;
        w = parent;
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: tray_start_timer RUNS COMMAND [ARGS...]\n");
        return 2;
    }
    const int runs = std::atoi(argv[1]);
    const char* idleEnv = std::getenv("IDLE_SECONDS");
    const int idleSeconds = idleEnv ? std::atoi(idleEnv) : 0;

    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "no display\n");
        return 1;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(c);

    for (int run = 0; run < runs; ++run) {
        const auto start = std::chrono::steady_clock::now();
        const pid_t child = fork();
        if (child == 0) {
            execvp(argv[2], argv + 2);
            _exit(127);
        }
        double elapsed = -1;
        while (elapsed < 0) {
            xcb_generic_event_t* event = xcb_wait_for_event(c);
            if (!event)
                break;
            if ((event->response_type & 0x7f) == XCB_REPARENT_NOTIFY) {
                auto* reparent = reinterpret_cast<xcb_reparent_notify_event_t*>(event);
                if (windowClass(c, reparent->window).find("tessarine") != std::string::npos &&
                    insideTray(c, reparent->window)) {
                    elapsed = std::chrono::duration<double, std::milli>(
                                  std::chrono::steady_clock::now() - start)
                                  .count();
                }
            }
            free(event);
        }
        std::printf("start_to_tray_ms %.2f pid %d\n", elapsed, int(child));
        std::fflush(stdout);
        if (idleSeconds > 0)
            std::this_thread::sleep_for(std::chrono::seconds(idleSeconds));
        kill(child, SIGTERM);
        waitpid(child, nullptr, 0);
        // Drain what the ended program's windows left behind.
        while (xcb_generic_event_t* event = xcb_poll_for_event(c))
            free(event);
    }
    xcb_disconnect(c);
    return 0;
}
