// Times how quickly the lock screen covers again what might show above it, from outside, as
// another X client:
//
//   cover_timer popup override|above TRIALS
//       maps TRIALS popups one after another, each at another place and size: an
//       override-redirect window, or a managed window that asks the window manager to keep it
//       above the others (_NET_WM_STATE_ABOVE). Prints one line per trial: the milliseconds from
//       its appearance (the map request; for a managed window, the window manager's map of its
//       frame) until every lock window lies above the popup, or "timeout" after a second (and
//       then no more trials). Each popup is watched for a while longer: when it comes back on top
//       (the window manager raising it again), the time from then until it is covered again counts
//       as well, and the longer of these times is printed.
//   cover_timer hold override|above X Y W H COLOUR FILE
//       one such popup of that colour (RRGGBB), left mapped: "covered MS" (or "timeout") is
//       written to FILE once the lock lies above it; it stays until SIGTERM.
//   cover_timer randr COMMAND...
//       runs COMMAND (an xrandr change), and prints the milliseconds from the first RandR
//       notification it causes until every active RandR monitor is covered, point for point,
//       by lock windows with nothing else above them, or "timeout". "monitors N" goes to stderr.
//
// Lock windows are the root's viewable override-redirect children of class "tessarine"; at least
// one must be there for anything to count as covered.
#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto timeLimit = std::chrono::seconds(3);
// A popup still above the lock after this long is not going to be covered.
constexpr auto popupTimeLimit = std::chrono::seconds(1);

double msSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

volatile std::sig_atomic_t stopping = 0;
void stop(int)
{
    stopping = 1;
}

struct Rect
{
    int x, y, w, h;
    bool contains(double px, double py) const
    {
        return px >= x && px < x + w && py >= y && py < y + h;
    }
};

struct TopWindow
{
    xcb_window_t id;
    Rect rect;
    bool lock;
};

class Desktop
{
public:
    Desktop(xcb_connection_t* c, xcb_screen_t* screen) : m_c(c), m_screen(screen) {}

    // The root's viewable InputOutput children, bottom to top.
    std::vector<TopWindow> stack()
    {
        std::vector<TopWindow> result;
        auto* tree = xcb_query_tree_reply(m_c, xcb_query_tree(m_c, m_screen->root), nullptr);
        if (!tree)
            return result;
        const xcb_window_t* children = xcb_query_tree_children(tree);
        const int count = xcb_query_tree_children_length(tree);
        std::vector<xcb_get_window_attributes_cookie_t> attributes(static_cast<size_t>(count));
        std::vector<xcb_get_geometry_cookie_t> geometries(static_cast<size_t>(count));
        for (int i = 0; i < count; ++i) {
            attributes[size_t(i)] = xcb_get_window_attributes(m_c, children[i]);
            geometries[size_t(i)] = xcb_get_geometry(m_c, children[i]);
        }
        for (int i = 0; i < count; ++i) {
            auto* a = xcb_get_window_attributes_reply(m_c, attributes[size_t(i)], nullptr);
            auto* g = xcb_get_geometry_reply(m_c, geometries[size_t(i)], nullptr);
            if (a && g && a->map_state == XCB_MAP_STATE_VIEWABLE &&
                a->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT) {
                const int border = g->border_width;
                result.push_back({children[i],
                                  {g->x, g->y, g->width + 2 * border, g->height + 2 * border},
                                  a->override_redirect && isLockClass(children[i])});
            }
            std::free(a);
            std::free(g);
        }
        std::free(tree);
        return result;
    }

    // The child of the root that holds this window (itself, or a window manager's frame).
    xcb_window_t topLevelOf(xcb_window_t window)
    {
        for (int depth = 0; depth < 16; ++depth) {
            auto* tree = xcb_query_tree_reply(m_c, xcb_query_tree(m_c, window), nullptr);
            if (!tree)
                return XCB_NONE;
            const xcb_window_t parent = tree->parent;
            std::free(tree);
            if (parent == m_screen->root)
                return window;
            window = parent;
        }
        return XCB_NONE;
    }

    bool viewable(xcb_window_t window)
    {
        auto* a =
            xcb_get_window_attributes_reply(m_c, xcb_get_window_attributes(m_c, window), nullptr);
        const bool result = a && a->map_state == XCB_MAP_STATE_VIEWABLE;
        std::free(a);
        return result;
    }

private:
    bool isLockClass(xcb_window_t window)
    {
        const auto known = m_lockClass.find(window);
        if (known != m_lockClass.end())
            return known->second;
        auto* reply = xcb_get_property_reply(
            m_c, xcb_get_property(m_c, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64),
            nullptr);
        bool lock = false;
        if (reply) {
            const auto* value = static_cast<const char*>(xcb_get_property_value(reply));
            lock =
                std::string(value, strnlen(value, size_t(xcb_get_property_value_length(reply)))) ==
                "tessarine";
            std::free(reply);
        }
        m_lockClass[window] = lock;
        return lock;
    }

    xcb_connection_t* m_c;
    xcb_screen_t* m_screen;
    std::map<xcb_window_t, bool> m_lockClass;
};

enum class PopupState
{
    Unmapped, // not on screen (yet)
    Exposed,  // on screen, with a lock window beneath it
    Covered,  // on screen, and every lock window lies above it
};

PopupState popupState(Desktop& desktop, xcb_window_t popup)
{
    if (!desktop.viewable(popup))
        return PopupState::Unmapped;
    const xcb_window_t top = desktop.topLevelOf(popup);
    const std::vector<TopWindow> stack = desktop.stack();
    int popupIndex = -1;
    int lowestLock = -1;
    for (int i = 0; i < int(stack.size()); ++i) {
        if (stack[size_t(i)].id == top)
            popupIndex = i;
        if (stack[size_t(i)].lock && lowestLock < 0)
            lowestLock = i;
    }
    return popupIndex >= 0 && lowestLock > popupIndex ? PopupState::Covered : PopupState::Exposed;
}

// Every point of every rectangle shows a lock window: the topmost viewable window there is one.
// Exact: the plane is cut along every window's and rectangle's edges, and each cell's centre is
// looked up.
bool covered(const std::vector<TopWindow>& stack, const std::vector<Rect>& areas)
{
    if (std::none_of(stack.begin(), stack.end(), [](const TopWindow& w) { return w.lock; }))
        return false;
    for (const Rect& area : areas) {
        std::vector<int> xs{area.x, area.x + area.w};
        std::vector<int> ys{area.y, area.y + area.h};
        for (const TopWindow& w : stack) {
            for (int x : {w.rect.x, w.rect.x + w.rect.w})
                if (x > area.x && x < area.x + area.w)
                    xs.push_back(x);
            for (int y : {w.rect.y, w.rect.y + w.rect.h})
                if (y > area.y && y < area.y + area.h)
                    ys.push_back(y);
        }
        std::sort(xs.begin(), xs.end());
        std::sort(ys.begin(), ys.end());
        for (size_t i = 0; i + 1 < xs.size(); ++i) {
            if (xs[i] == xs[i + 1])
                continue;
            for (size_t j = 0; j + 1 < ys.size(); ++j) {
                if (ys[j] == ys[j + 1])
                    continue;
                const double cx = (xs[i] + xs[i + 1]) / 2.0;
                const double cy = (ys[j] + ys[j + 1]) / 2.0;
                bool shown = false;
                for (auto w = stack.rbegin(); w != stack.rend(); ++w) {
                    if (w->rect.contains(cx, cy)) {
                        shown = w->lock;
                        break;
                    }
                }
                if (!shown)
                    return false;
            }
        }
    }
    return true;
}

std::vector<Rect> activeMonitors(xcb_connection_t* c, xcb_window_t root)
{
    std::vector<Rect> monitors;
    auto* reply = xcb_randr_get_monitors_reply(c, xcb_randr_get_monitors(c, root, 1), nullptr);
    if (!reply)
        return monitors;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(reply); it.rem;
         xcb_randr_monitor_info_next(&it))
        monitors.push_back({it.data->x, it.data->y, it.data->width, it.data->height});
    std::free(reply);
    return monitors;
}

// Waits up to `ms` for the connection to have something to read; drains what came, and says
// whether anything of `interest` (an event type, 0 for any) was among it. When `mapped` is
// given, the windows mapped on the root are noted in it with the time they were heard of.
bool waitForEvents(xcb_connection_t* c, int ms, uint8_t interest = 0,
                   std::map<xcb_window_t, Clock::time_point>* mapped = nullptr)
{
    pollfd fd{xcb_get_file_descriptor(c), POLLIN, 0};
    poll(&fd, 1, ms);
    bool seen = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
        const uint8_t type = event->response_type & 0x7f;
        if (interest == 0 || type == interest)
            seen = true;
        if (mapped && type == XCB_MAP_NOTIFY) {
            const auto* map = reinterpret_cast<xcb_map_notify_event_t*>(event);
            mapped->emplace(map->window, Clock::now());
        }
        std::free(event);
    }
    return seen;
}

xcb_atom_t atom(xcb_connection_t* c, const char* name)
{
    auto* reply =
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(std::strlen(name)), name), nullptr);
    const xcb_atom_t result = reply ? reply->atom : XCB_NONE;
    std::free(reply);
    return result;
}

// A popup, created but not mapped yet.
xcb_window_t createPopup(xcb_connection_t* c, xcb_screen_t* screen, bool managed, const Rect& r,
                         uint32_t colour)
{
    const xcb_window_t window = xcb_generate_id(c);
    const uint32_t values[] = {colour, managed ? 0u : 1u};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, screen->root, int16_t(r.x), int16_t(r.y),
                      uint16_t(r.w), uint16_t(r.h), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
    const char* name = "tessarine-probe popup";
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        uint32_t(std::strlen(name)), name);
    if (managed) {
        // Asked for before the map, as a notification or an always-on-top player does.
        const xcb_atom_t above = atom(c, "_NET_WM_STATE_ABOVE");
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, atom(c, "_NET_WM_STATE"),
                            XCB_ATOM_ATOM, 32, 1, &above);
        // Placed where asked, not where the window manager would choose.
        uint32_t hints[18] = {};
        hints[0] = 1u | 2u; // USPosition | USSize
        hints[1] = uint32_t(r.x);
        hints[2] = uint32_t(r.y);
        hints[3] = uint32_t(r.w);
        hints[4] = uint32_t(r.h);
        xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS,
                            XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
    }
    return window;
}

// Maps the popup and follows it for `watch`: returns the longest time it lay above a lock
// window, in milliseconds, or nothing when it is not covered at the end. Counted from the moment
// it appears until it is first covered, and from each time it is seen on top again until it is
// covered again. It appears with the map request when it bypasses the window manager; a managed
// window appears when the window manager maps the frame it put it in. How it went goes to stderr
// when it took long or came back on top.
std::optional<double> timePopup(xcb_connection_t* c, Desktop& desktop, xcb_window_t popup,
                                bool managed, std::chrono::milliseconds watch, int trial)
{
    const Clock::time_point start = Clock::now();
    std::map<xcb_window_t, Clock::time_point> mapped;
    xcb_map_window(c, popup);
    xcb_flush(c);
    const auto ms = [start](Clock::time_point t) {
        return std::chrono::duration<double, std::milli>(t - start).count();
    };
    bool appeared = false;
    bool covered = false;
    double exposedSince = 0;
    double longest = 0;
    std::string story;
    while (Clock::now() - start < watch || !covered) {
        if (Clock::now() - start > popupTimeLimit)
            return std::nullopt;
        const PopupState state = popupState(desktop, popup);
        const double now = msSince(start);
        if (state != PopupState::Unmapped && !appeared) {
            appeared = true;
            if (managed) {
                const auto frame = mapped.find(desktop.topLevelOf(popup));
                exposedSince = frame != mapped.end() ? ms(frame->second) : now;
                story += " appeared " + std::to_string(exposedSince);
            }
        }
        if (state == PopupState::Covered && !covered) {
            longest = std::max(longest, now - exposedSince);
            story += " covered " + std::to_string(now);
            covered = true;
        } else if (state == PopupState::Exposed && covered) {
            exposedSince = now;
            story += " on top " + std::to_string(now);
            covered = false;
        } else if (state == PopupState::Unmapped && appeared) {
            covered = true; // off the screen: nothing to cover
        }
        // The next change of the stacking, or a look every few milliseconds all the same.
        waitForEvents(c, 3, 0, &mapped);
    }
    if (longest > 50 || story.find("on top") != std::string::npos)
        std::fprintf(stderr, "trial %d:%s\n", trial, story.c_str());
    return longest;
}

// Changes of the root's children wake the timing loops at once.
void watchRoot(xcb_connection_t* c, xcb_screen_t* screen)
{
    const uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(c, screen->root, XCB_CW_EVENT_MASK, &mask);
}

uint32_t nextRandom(uint32_t& state)
{
    state = state * 1664525u + 1013904223u;
    return state >> 8;
}

int runPopups(xcb_connection_t* c, xcb_screen_t* screen, bool managed, int trials)
{
    watchRoot(c, screen);
    Desktop desktop(c, screen);
    const int width = screen->width_in_pixels;
    const int height = screen->height_in_pixels;
    uint32_t seed = 12345;
    for (int trial = 0; trial < trials; ++trial) {
        // From a small corner popup to one that fills the screen.
        const int w = 40 + int(nextRandom(seed) % uint32_t(width - 40));
        const int h = 30 + int(nextRandom(seed) % uint32_t(height - 30));
        const Rect r{int(nextRandom(seed) % uint32_t(width - w + 1)),
                     int(nextRandom(seed) % uint32_t(height - h + 1)), w, h};
        const xcb_window_t popup = createPopup(c, screen, managed, r, 0xff00ff);
        const std::optional<double> ms =
            timePopup(c, desktop, popup, managed, std::chrono::milliseconds(100), trial);
        if (ms)
            std::printf("%.2f\n", *ms);
        else
            std::printf("timeout\n");
        std::fflush(stdout);
        xcb_destroy_window(c, popup);
        // One popup left above the lock is enough to know.
        if (!ms)
            break;
        xcb_flush(c);
        waitForEvents(c, 10);
    }
    return 0;
}

int holdPopup(xcb_connection_t* c, xcb_screen_t* screen, bool managed, const Rect& r,
              uint32_t colour, const char* file)
{
    std::signal(SIGTERM, stop);
    watchRoot(c, screen);
    Desktop desktop(c, screen);
    const xcb_window_t popup = createPopup(c, screen, managed, r, colour);
    const std::optional<double> ms =
        timePopup(c, desktop, popup, managed, std::chrono::milliseconds(100), 0);
    if (FILE* out = std::fopen(file, "a")) {
        if (ms)
            std::fprintf(out, "covered %.2f\n", *ms);
        else
            std::fprintf(out, "timeout\n");
        std::fclose(out);
    }
    while (!stopping && !xcb_connection_has_error(c))
        waitForEvents(c, 10);
    return 0;
}

int timeRandr(xcb_connection_t* c, xcb_screen_t* screen, char** command)
{
    xcb_randr_select_input(c, screen->root,
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_RESOURCE_CHANGE);
    watchRoot(c, screen);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    const auto* randr = xcb_get_extension_data(c, &xcb_randr_id);
    if (!randr || !randr->present) {
        std::fprintf(stderr, "cover_timer: no RandR\n");
        return 2;
    }

    const Clock::time_point spawned = Clock::now();
    pid_t child = 0;
    if (posix_spawnp(&child, command[0], nullptr, nullptr, command, environ) != 0) {
        std::fprintf(stderr, "cover_timer: cannot run %s\n", command[0]);
        return 2;
    }
    std::optional<Clock::time_point> changed;
    bool exited = false;
    int status = 0;
    Desktop desktop(c, screen);
    bool wasCovered = false;
    double coveredAt = 0;
    std::size_t monitors = 0;
    std::string story;
    for (;;) {
        pollfd fd{xcb_get_file_descriptor(c), POLLIN, 0};
        poll(&fd, 1, 3);
        while (xcb_generic_event_t* event = xcb_poll_for_event(c)) {
            const uint8_t type = event->response_type & 0x7f;
            if (!changed && (type == randr->first_event + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                             type == randr->first_event + XCB_RANDR_NOTIFY))
                changed = Clock::now();
            std::free(event);
        }
        if (!exited && waitpid(child, &status, WNOHANG) == child) {
            exited = true;
            if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
                std::fprintf(stderr, "cover_timer: %s failed\n", command[0]);
                return 2;
            }
            // A change that was no change at all still counts from the command's end.
            if (!changed)
                changed = Clock::now();
        }
        if (!changed) {
            if (Clock::now() - spawned > timeLimit)
                break;
            continue;
        }
        const std::vector<Rect> areas = activeMonitors(c, screen->root);
        monitors = areas.size();
        const bool now = !areas.empty() && covered(desktop.stack(), areas);
        if (now != wasCovered) {
            story += (now ? " covered " : " uncovered ") + std::to_string(msSince(*changed));
            story += " (" + std::to_string(monitors) + " monitors)";
        }
        if (now && !wasCovered)
            coveredAt = msSince(*changed);
        wasCovered = now;
        // Followed for a while after the change: covers that come and go again do not count.
        if (exited && wasCovered && Clock::now() - *changed > std::chrono::milliseconds(300))
            break;
        if (Clock::now() - *changed > timeLimit)
            break;
    }
    if (!changed)
        changed = spawned;
    std::fprintf(stderr, "monitors %zu\n", monitors);
    std::fprintf(stderr, "story: command at %.2f, first RandR event at %.2f:%s\n",
                 -std::chrono::duration<double, std::milli>(*changed - spawned).count(), 0.0,
                 story.c_str());
    if (wasCovered)
        std::printf("%.2f\n", coveredAt);
    else
        std::printf("timeout\n");
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 1 ? argv[1] : "";
    const std::string kind = argc > 2 ? argv[2] : "";
    const bool kindKnown = kind == "override" || kind == "above";
    const bool popup = command == "popup" && argc == 4 && kindKnown;
    const bool hold = command == "hold" && argc == 9 && kindKnown;
    const bool randr = command == "randr" && argc > 2;
    if (!popup && !hold && !randr) {
        std::fprintf(stderr, "usage: cover_timer popup override|above TRIALS\n"
                             "       cover_timer hold override|above X Y W H RRGGBB FILE\n"
                             "       cover_timer randr COMMAND...\n");
        return 2;
    }
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c)) {
        std::fprintf(stderr, "cover_timer: no display\n");
        return 2;
    }
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(c)).data;
    int result = 0;
    if (popup)
        result = runPopups(c, screen, kind == "above", std::atoi(argv[3]));
    else if (hold)
        result = holdPopup(
            c, screen, kind == "above",
            {std::atoi(argv[3]), std::atoi(argv[4]), std::atoi(argv[5]), std::atoi(argv[6])},
            uint32_t(std::strtoul(argv[7], nullptr, 16)), argv[8]);
    else
        result = timeRandr(c, screen, argv + 2);
    xcb_disconnect(c);
    return result;
}
