// Times a Wayland screen lock from outside: another client of the compositor that reads a few
// points of every output through wlr-screencopy, the same way whichever program locks.
//
//   wayland_cover_timer lock [--log FILE TEXT] [--root DIR NAME=VALUE...] COMMAND...
//     Waits until every output shows the desktop (magenta at every point), then starts COMMAND
//     and prints, in milliseconds from its start:
//       covered T   every output shows no desktop point (a blank lock counts)
//       drawn T     every output shows the locker's own frame: no desktop point, not all black
//       exited T    COMMAND's process ended (swaylock -f ends once the session is locked)
//       logged T    a line holding TEXT was added to FILE (Tessarine's log)
//     or "NAME timeout" for what did not happen within 5 s; first, a line "outputs" with each
//     output's size and refresh rate (WIDTHxHEIGHT@HZ). With --root, COMMAND runs with DIR as
//     its root and only the NAME=VALUE environment, as a program of that tree started by the
//     session would: the child changes its root itself, so no chroot or env program runs first.
//   wayland_cover_timer unlock TEXT
//     Types TEXT through a virtual keyboard of its own into the locked session and prints
//       unlocked T  from the last key's press to every output showing the desktop again.
//   wayland_cover_timer caps
//     Presses Caps Lock on a virtual keyboard of its own, and again when a line comes on standard
//     input, as a keyboard with the US keymap would (a virtual keyboard's client tells the
//     compositor its modifiers: Caps Lock locked, then no longer), printing "on" and "off" after
//     each press.
//
// A capture is answered at the output's next frame; the time of a frame is the one the
// compositor gives with it (the output's commit, on the monotonic clock). Where it may, the
// observer runs at the lowest real-time priority, so that what it times is not the time a busy
// machine took to wake it.
#include "virtual-keyboard-unstable-v1-client-protocol.h"
#include "wlr-screencopy-unstable-v1-client-protocol.h"

#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <poll.h>
#include <sched.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr uint32_t desktopColour = 0xff00ff;
constexpr double timeoutMs = 5000;

// The monotonic clock (steady_clock's on Linux), the compositor's clock for frame times.
double nowMs()
{
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return double(std::chrono::duration_cast<std::chrono::nanoseconds>(since).count()) / 1e6;
}

struct Output;

// One point of an output, copied at each frame into a buffer of its own.
struct Point
{
    Output* output = nullptr;
    int x = 0;
    int y = 0;
    zwlr_screencopy_frame_v1* frame = nullptr;
    wl_buffer* buffer = nullptr;
    void* pixels = nullptr;
    size_t size = 0;
    uint32_t format = 0;
    uint32_t colour = 0;
    bool done = false;
};

struct Output
{
    wl_output* output = nullptr;
    int width = 0;
    int height = 0;
    int refresh = 0; // mHz
    std::array<Point, 5> points;
    double frameTime = 0;
    // What the last whole round of points showed.
    int desktopPoints = -1;
    int blackPoints = 0;
};

wl_shm* shm = nullptr;
wl_seat* seat = nullptr;
zwlr_screencopy_manager_v1* copier = nullptr;
zwp_virtual_keyboard_manager_v1* keyboards = nullptr;
std::vector<std::unique_ptr<Output>> outputs;
bool failed = false;

void outputGeometry(void*, wl_output*, int32_t, int32_t, int32_t, int32_t, int32_t, const char*,
                    const char*, int32_t)
{
}
void outputMode(void* data, wl_output*, uint32_t flags, int32_t width, int32_t height,
                int32_t refresh)
{
    auto* output = static_cast<Output*>(data);
    if (flags & WL_OUTPUT_MODE_CURRENT) {
        output->width = width;
        output->height = height;
        output->refresh = refresh;
    }
}
void outputDone(void*, wl_output*) {}
void outputScale(void*, wl_output*, int32_t) {}
void outputName(void*, wl_output*, const char*) {}
const wl_output_listener outputListener{outputGeometry, outputMode, outputDone,
                                        outputScale,    outputName, outputName};

void global(void*, wl_registry* registry, uint32_t name, const char* interface, uint32_t)
{
    if (std::strcmp(interface, wl_shm_interface.name) == 0) {
        shm = static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
    } else if (std::strcmp(interface, wl_seat_interface.name) == 0 && !seat) {
        seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (std::strcmp(interface, wl_output_interface.name) == 0) {
        auto output = std::make_unique<Output>();
        output->output =
            static_cast<wl_output*>(wl_registry_bind(registry, name, &wl_output_interface, 2));
        wl_output_add_listener(output->output, &outputListener, output.get());
        outputs.push_back(std::move(output));
    } else if (std::strcmp(interface, zwlr_screencopy_manager_v1_interface.name) == 0) {
        copier = static_cast<zwlr_screencopy_manager_v1*>(
            wl_registry_bind(registry, name, &zwlr_screencopy_manager_v1_interface, 1));
    } else if (std::strcmp(interface, zwp_virtual_keyboard_manager_v1_interface.name) == 0) {
        keyboards = static_cast<zwp_virtual_keyboard_manager_v1*>(
            wl_registry_bind(registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
    }
}
void globalRemove(void*, wl_registry*, uint32_t) {}
const wl_registry_listener registryListener{global, globalRemove};

// --- capturing -----------------------------------------------------------------------------

void capture(Point& point);

void roundDone(Output& output)
{
    int desktop = 0;
    int black = 0;
    for (const Point& point : output.points) {
        desktop += (point.colour & 0xffffff) == desktopColour;
        black += (point.colour & 0xffffff) == 0;
    }
    output.desktopPoints = desktop;
    output.blackPoints = black;
    for (Point& point : output.points)
        capture(point);
}

void frameBuffer(void* data, zwlr_screencopy_frame_v1* frame, uint32_t format, uint32_t width,
                 uint32_t height, uint32_t stride)
{
    auto* point = static_cast<Point*>(data);
    if (!point->buffer) {
        point->size = size_t(stride) * height;
        const int fd = memfd_create("tessarine-cover-timer", MFD_CLOEXEC);
        if (fd < 0 || ftruncate(fd, off_t(point->size)) != 0) {
            failed = true;
            return;
        }
        point->pixels = mmap(nullptr, point->size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        wl_shm_pool* pool = wl_shm_create_pool(shm, fd, int32_t(point->size));
        point->buffer = wl_shm_pool_create_buffer(pool, 0, int32_t(width), int32_t(height),
                                                  int32_t(stride), format);
        wl_shm_pool_destroy(pool);
        close(fd);
        point->format = format;
    }
    zwlr_screencopy_frame_v1_copy(frame, point->buffer);
}
void frameFlags(void*, zwlr_screencopy_frame_v1*, uint32_t) {}
void frameReady(void* data, zwlr_screencopy_frame_v1*, uint32_t secondsHigh, uint32_t seconds,
                uint32_t nanoseconds)
{
    auto* point = static_cast<Point*>(data);
    const uint32_t pixel = *static_cast<const uint32_t*>(point->pixels);
    // XRGB and ARGB keep red in the third byte; XBGR and ABGR swap red and blue.
    const bool bgr =
        point->format == WL_SHM_FORMAT_XBGR8888 || point->format == WL_SHM_FORMAT_ABGR8888;
    point->colour =
        bgr ? ((pixel & 0xff) << 16) | (pixel & 0xff00) | ((pixel >> 16) & 0xff) : pixel & 0xffffff;
    zwlr_screencopy_frame_v1_destroy(point->frame);
    point->frame = nullptr;
    point->done = true;
    Output& output = *point->output;
    // The frame's own time, where the compositor gives one on this clock; else its arrival.
    const double arrived = nowMs();
    const double shown =
        (double(uint64_t(secondsHigh) << 32 | seconds)) * 1e3 + double(nanoseconds) / 1e6;
    const double frameTime = shown <= arrived && shown > arrived - 1000 ? shown : arrived;
    for (const Point& each : output.points) {
        if (!each.done)
            return;
    }
    output.frameTime = frameTime;
    roundDone(output);
}
void frameFailed(void* data, zwlr_screencopy_frame_v1*)
{
    auto* point = static_cast<Point*>(data);
    zwlr_screencopy_frame_v1_destroy(point->frame);
    point->frame = nullptr;
    capture(*point);
}
const zwlr_screencopy_frame_v1_listener frameListener{frameBuffer, frameFlags, frameReady,
                                                      frameFailed};

void capture(Point& point)
{
    point.done = false;
    point.frame = zwlr_screencopy_manager_v1_capture_output_region(copier, 0, point.output->output,
                                                                   point.x, point.y, 1, 1);
    zwlr_screencopy_frame_v1_add_listener(point.frame, &frameListener, &point);
}

// The centre and four points near the corners of every output.
void startCapturing()
{
    for (auto& output : outputs) {
        const int w = output->width;
        const int h = output->height;
        const std::array<std::pair<int, int>, 5> at{{{w / 2, h / 2},
                                                     {w / 10, h / 10},
                                                     {w * 9 / 10, h / 10},
                                                     {w / 10, h * 9 / 10},
                                                     {w * 9 / 10, h * 9 / 10}}};
        for (size_t i = 0; i < at.size(); ++i) {
            Point& point = output->points[i];
            point.output = output.get();
            point.x = at[i].first;
            point.y = at[i].second;
            capture(point);
        }
    }
}

// Every output's latest round, and the latest of their frames' times.
bool allOutputs(bool (*holds)(const Output&), double* when)
{
    double latest = 0;
    for (const auto& output : outputs) {
        if (output->desktopPoints < 0 || !holds(*output))
            return false;
        latest = std::max(latest, output->frameTime);
    }
    *when = latest;
    return true;
}
bool showsDesktop(const Output& output)
{
    return output.desktopPoints == int(output.points.size());
}
bool covered(const Output& output)
{
    return output.desktopPoints == 0;
}
bool drawn(const Output& output)
{
    return output.desktopPoints == 0 && output.blackPoints < int(output.points.size());
}

// Waits for the compositor's events (and the other descriptors given) until done() says so or
// the deadline passes; false on a timeout or a lost connection. done() may set a descriptor of
// `others` to -1 once it is of no more interest: one that stays readable (an ended child's pidfd)
// would otherwise wake every poll at once, a busy loop at the observer's real-time priority.
bool dispatchUntil(wl_display* display, double deadline, std::vector<int>& others,
                   const std::function<bool(short*)>& done)
{
    std::vector<pollfd> fds{{wl_display_get_fd(display), POLLIN, 0}};
    for (int fd : others)
        fds.push_back({fd, POLLIN, 0});
    std::vector<short> events(others.size(), 0);
    while (true) {
        if (done(events.data()))
            return true;
        std::fill(events.begin(), events.end(), 0);
        for (size_t i = 0; i < others.size(); ++i)
            fds[i + 1].fd = others[i];
        if (failed || nowMs() > deadline)
            return false;
        while (wl_display_prepare_read(display) != 0)
            wl_display_dispatch_pending(display);
        wl_display_flush(display);
        const int wait = int(std::max(1.0, deadline - nowMs()));
        if (poll(fds.data(), fds.size(), wait) < 0) {
            wl_display_cancel_read(display);
            return false;
        }
        if (fds[0].revents & POLLIN) {
            if (wl_display_read_events(display) != 0)
                return false;
        } else {
            wl_display_cancel_read(display);
        }
        if (wl_display_dispatch_pending(display) < 0)
            return false;
        for (size_t i = 0; i < others.size(); ++i)
            events[i] = fds[i + 1].revents;
    }
}
bool dispatchUntil(wl_display* display, double deadline, std::vector<int>&& others,
                   const std::function<bool(short*)>& done)
{
    return dispatchUntil(display, deadline, others, done);
}

void print(const char* name, std::optional<double> ms)
{
    if (ms)
        std::printf("%s %.2f\n", name, *ms);
    else
        std::printf("%s timeout\n", name);
}

// The observer wakes before any other process of the session when its descriptors have something
// to say (a real-time priority, the lowest), so that a log line, a process's end or a frame's
// copy is timed when it comes rather than when a busy machine gets round to the observer. It
// sleeps in poll() between events; what it starts runs at the normal priority
// (SCHED_RESET_ON_FORK). Without the privilege, the timing says so and goes on; with
// WAYLAND_COVER_TIMER_PRIORITY=normal it is not asked for (to compare).
void wakePromptly()
{
    const char* chosen = std::getenv("WAYLAND_COVER_TIMER_PRIORITY");
    if (chosen && std::strcmp(chosen, "normal") == 0)
        return;
    sched_param lowest{};
    lowest.sched_priority = sched_get_priority_min(SCHED_FIFO);
    if (sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &lowest) != 0)
        std::fprintf(stderr, "timing at the normal priority: %s\n", std::strerror(errno));
}

// --- lock --------------------------------------------------------------------------------

int timeLock(wl_display* display, int argc, char** argv)
{
    std::string logFile;
    std::string logText;
    int first = 0;
    if (argc >= 3 && std::strcmp(argv[0], "--log") == 0) {
        logFile = argv[1];
        logText = argv[2];
        first = 3;
    }
    std::string root;
    std::vector<char*> environment;
    if (argc - first >= 2 && std::strcmp(argv[first], "--root") == 0) {
        root = argv[first + 1];
        for (first += 2; first < argc && std::strchr(argv[first], '='); ++first)
            environment.push_back(argv[first]);
        environment.push_back(nullptr);
    }
    if (first >= argc)
        return 2;
    double when = 0;
    if (!dispatchUntil(display, nowMs() + timeoutMs, {},
                       [&](short*) { return allOutputs(showsDesktop, &when); })) {
        std::fprintf(stderr, "the desktop is not shown on every output\n");
        return 1;
    }
    std::printf("outputs");
    for (const auto& output : outputs)
        std::printf(" %dx%d@%.0f", output->width, output->height, output->refresh / 1000.0);
    std::printf("\n");
    std::vector<int> others;
    int watch = -1;
    std::ifstream log;
    if (!logFile.empty()) {
        watch = inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
        inotify_add_watch(watch, logFile.c_str(), IN_MODIFY);
        log.open(logFile);
        log.seekg(0, std::ios::end);
        others.push_back(watch);
    }
    const double start = nowMs();
    const pid_t child = fork();
    if (child == 0) {
        if (!root.empty()) {
            if (chroot(root.c_str()) != 0 || chdir("/") != 0)
                _exit(126);
            execvpe(argv[first], argv + first, environment.data());
        } else {
            execvp(argv[first], argv + first);
        }
        _exit(127);
    }
    const int childFd = int(syscall(SYS_pidfd_open, child, 0));
    others.push_back(childFd);
    std::optional<double> coveredAt, drawnAt, exitedAt, loggedAt;
    std::string pending;
    dispatchUntil(display, start + timeoutMs, others, [&](short* events) {
        const double now = nowMs();
        if (watch >= 0 && (events[0] & POLLIN)) {
            char drained[4096];
            while (read(watch, drained, sizeof(drained)) > 0) {
            }
            log.clear();
            std::string line;
            while (std::getline(log, line)) {
                if (!loggedAt && line.find(logText) != std::string::npos)
                    loggedAt = now - start;
            }
        }
        if (!exitedAt && (events[others.size() - 1] & POLLIN)) {
            exitedAt = now - start;
            waitpid(child, nullptr, 0);
            others.back() = -1;
            close(childFd);
        }
        if (!coveredAt && allOutputs(covered, &when))
            coveredAt = when - start;
        if (!drawnAt && allOutputs(drawn, &when))
            drawnAt = when - start;
        return coveredAt && drawnAt && exitedAt && (watch < 0 || loggedAt);
    });
    print("covered", coveredAt);
    print("drawn", drawnAt);
    print("exited", exitedAt);
    if (watch >= 0)
        print("logged", loggedAt);
    return 0;
}

// --- unlock ------------------------------------------------------------------------------

struct Keyboard
{
    zwp_virtual_keyboard_v1* keyboard = nullptr;
    xkb_keymap* keymap = nullptr;

    void press(uint32_t code)
    {
        const auto time = uint32_t(nowMs());
        zwp_virtual_keyboard_v1_key(keyboard, time, code, WL_KEYBOARD_KEY_STATE_PRESSED);
        zwp_virtual_keyboard_v1_key(keyboard, time, code, WL_KEYBOARD_KEY_STATE_RELEASED);
    }
    // The evdev code of the key that types this character without modifiers, or 0.
    uint32_t codeOf(char character) const
    {
        const xkb_keysym_t wanted = xkb_utf32_to_keysym(uint32_t(uint8_t(character)));
        for (xkb_keycode_t code = xkb_keymap_min_keycode(keymap);
             code <= xkb_keymap_max_keycode(keymap); ++code) {
            const xkb_keysym_t* syms = nullptr;
            if (xkb_keymap_key_get_syms_by_level(keymap, code, 0, 0, &syms) == 1 &&
                syms[0] == wanted)
                return code - 8;
        }
        return 0;
    }
};

void pause(wl_display* display, double ms)
{
    const double until = nowMs() + ms;
    dispatchUntil(display, until, {}, [&](short*) { return nowMs() >= until; });
}

// Gives the seat a keyboard with the US keymap.
bool makeKeyboard(Keyboard& keys)
{
    char* keymapText = xkb_keymap_get_as_string(keys.keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
    const size_t size = std::strlen(keymapText) + 1;
    const int fd = memfd_create("tessarine-keymap", MFD_CLOEXEC);
    const bool written = fd >= 0 && write(fd, keymapText, size) == ssize_t(size);
    std::free(keymapText);
    if (!written) {
        if (fd >= 0)
            close(fd);
        return false;
    }
    keys.keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(keyboards, seat);
    zwp_virtual_keyboard_v1_keymap(keys.keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd,
                                   uint32_t(size));
    close(fd);
    return true;
}

// Caps Lock pressed and released, and the modifiers it leaves told to the compositor.
void pressCapsLock(Keyboard& keys, xkb_state* state)
{
    constexpr uint32_t capsLock = 58;
    keys.press(capsLock);
    xkb_state_update_key(state, capsLock + 8, XKB_KEY_DOWN);
    xkb_state_update_key(state, capsLock + 8, XKB_KEY_UP);
    zwp_virtual_keyboard_v1_modifiers(
        keys.keyboard, xkb_state_serialize_mods(state, XKB_STATE_MODS_DEPRESSED),
        xkb_state_serialize_mods(state, XKB_STATE_MODS_LATCHED),
        xkb_state_serialize_mods(state, XKB_STATE_MODS_LOCKED),
        xkb_state_serialize_layout(state, XKB_STATE_LAYOUT_EFFECTIVE));
}

int pressCapsLockTwice(wl_display* display)
{
    if (!keyboards || !seat)
        return 2;
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const xkb_rule_names names{"evdev", "pc105", "us", "", ""};
    Keyboard keys;
    keys.keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keys.keymap || !makeKeyboard(keys))
        return 1;
    xkb_state* state = xkb_state_new(keys.keymap);
    // A first key sets the keyboard up in the locker (its keymap); Shift types nothing.
    pause(display, 50);
    keys.press(42);
    pause(display, 100);
    pressCapsLock(keys, state);
    wl_display_roundtrip(display);
    std::printf("on\n");
    std::fflush(stdout);
    // The second press when a line comes on standard input (or at its end).
    dispatchUntil(display, nowMs() + 30000, {0}, [](short* events) { return events[0] != 0; });
    pressCapsLock(keys, state);
    wl_display_roundtrip(display);
    std::printf("off\n");
    zwp_virtual_keyboard_v1_destroy(keys.keyboard);
    wl_display_roundtrip(display);
    xkb_state_unref(state);
    xkb_keymap_unref(keys.keymap);
    xkb_context_unref(context);
    return 0;
}

int timeUnlock(wl_display* display, const std::string& text)
{
    if (!keyboards || !seat || text.empty())
        return 2;
    xkb_context* context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const xkb_rule_names names{"evdev", "pc105", "us", "", ""};
    Keyboard keys;
    keys.keymap = xkb_keymap_new_from_names(context, &names, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (!keys.keymap)
        return 1;
    std::vector<uint32_t> codes;
    for (char character : text) {
        const uint32_t code = character == '\n' ? 28 : keys.codeOf(character);
        if (code == 0) {
            std::fprintf(stderr, "no key types '%c'\n", character);
            return 2;
        }
        codes.push_back(code);
    }
    if (!makeKeyboard(keys))
        return 1;
    double when = 0;
    if (!dispatchUntil(display, nowMs() + timeoutMs, {},
                       [&](short*) { return allOutputs(covered, &when); })) {
        std::fprintf(stderr, "the session is not locked\n");
        return 1;
    }
    // A first key sets the keyboard up in the locker (its keymap); Shift types nothing.
    pause(display, 50);
    keys.press(42);
    for (size_t i = 0; i + 1 < codes.size(); ++i) {
        pause(display, 30);
        keys.press(codes[i]);
    }
    pause(display, 150);
    const double start = nowMs();
    keys.press(codes.back());
    std::optional<double> unlockedAt;
    dispatchUntil(display, start + timeoutMs, {}, [&](short*) {
        if (allOutputs(showsDesktop, &when) && when >= start)
            unlockedAt = when - start;
        return unlockedAt.has_value();
    });
    print("unlocked", unlockedAt);
    zwp_virtual_keyboard_v1_destroy(keys.keyboard);
    wl_display_roundtrip(display);
    xkb_keymap_unref(keys.keymap);
    xkb_context_unref(context);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || (argc < 3 && std::string(argv[1]) != "caps")) {
        std::fprintf(stderr, "usage: wayland_cover_timer lock [--log FILE TEXT] "
                             "[--root DIR NAME=VALUE...] COMMAND...\n"
                             "       wayland_cover_timer unlock TEXT\n"
                             "       wayland_cover_timer caps\n");
        return 2;
    }
    wl_display* display = wl_display_connect(nullptr);
    if (!display) {
        std::fprintf(stderr, "no Wayland display\n");
        return 1;
    }
    wl_registry_add_listener(wl_display_get_registry(display), &registryListener, nullptr);
    wl_display_roundtrip(display);
    wl_display_roundtrip(display);
    if (!copier || !shm || outputs.empty()) {
        std::fprintf(stderr, "the compositor offers no screen copies\n");
        return 1;
    }
    startCapturing();
    const std::string mode = argv[1];
    if (mode == "lock" || mode == "unlock")
        wakePromptly();
    int status = 2;
    if (mode == "lock")
        status = timeLock(display, argc - 2, argv + 2);
    else if (mode == "unlock")
        status = timeUnlock(display, argv[2]);
    else if (mode == "caps")
        status = pressCapsLockTwice(display);
    std::fflush(stdout);
    // The process ends here; the compositor lets every frame and buffer go with the connection.
    wl_display_disconnect(display);
    return status;
}
