// A pointer device on the compositor's seat, for as long as this runs: headless sway and labwc
// have no input device at all, so their seats offer no pointer and `swaymsg seat seat0 cursor
// ...` moves a cursor that no client can see. A virtual pointer (the wlroots virtual-pointer
// protocol, version 1) gives the seat one. Prints "ready" once the compositor has it, then waits
// until it is ended.
//   wayland_pointer_device
// It also moves and clicks, for compositors that have no command of their own for that (labwc):
// each line read on standard input is one action, answered "done" (or "failed") on standard
// output once the compositor has had it:
//   move X Y WIDTH HEIGHT   to the point X,Y of a layout WIDTH x HEIGHT (every output's box)
//   press | release         the left button
//   click                   press and release
// Each action is ended by a frame, as a real device groups its events.
#include <wayland-client.h>

#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>

namespace {

// The protocol's two interfaces, written out from its XML: the manager's one request makes a
// pointer for a seat; the pointer's requests are listed whole so that their opcodes hold.
extern const wl_interface virtualPointerInterface;

const wl_interface* noTypes[] = {nullptr, nullptr, nullptr, nullptr, nullptr};
const wl_interface* createTypes[] = {&wl_seat_interface, &virtualPointerInterface};

const wl_message pointerRequests[] = {
    {"motion", "uff", noTypes},   {"motion_absolute", "uuuuu", noTypes},
    {"button", "uuu", noTypes},   {"axis", "uuf", noTypes},
    {"frame", "", noTypes},       {"axis_source", "u", noTypes},
    {"axis_stop", "uu", noTypes}, {"axis_discrete", "uufi", noTypes},
    {"destroy", "", noTypes},
};
const wl_interface virtualPointerInterface = {"zwlr_virtual_pointer_v1", 1, 9,
                                              pointerRequests,           0, nullptr};

// The pointer's opcodes, in the order above.
enum PointerRequest : uint32_t
{
    motionAbsolute = 1,
    button = 2,
    frame = 4,
};

const wl_message managerRequests[] = {{"create_virtual_pointer", "?on", createTypes}};
const wl_interface managerInterface = {
    "zwlr_virtual_pointer_manager_v1", 1, 1, managerRequests, 0, nullptr};

// Linux's code of the left button (linux/input-event-codes.h) and wl_pointer's button states.
constexpr uint32_t buttonLeft = 0x110;
constexpr uint32_t released = 0;
constexpr uint32_t pressed = 1;

struct Globals
{
    wl_seat* seat = nullptr;
    wl_proxy* manager = nullptr;
};

void global(void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t)
{
    auto* globals = static_cast<Globals*>(data);
    if (std::strcmp(interface, wl_seat_interface.name) == 0 && !globals->seat)
        globals->seat =
            static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    else if (std::strcmp(interface, managerInterface.name) == 0)
        globals->manager =
            static_cast<wl_proxy*>(wl_registry_bind(registry, name, &managerInterface, 1));
}
void globalRemove(void*, wl_registry*, uint32_t) {}
const wl_registry_listener registryListener{global, globalRemove};

uint32_t timeMs()
{
    const auto since = std::chrono::steady_clock::now().time_since_epoch();
    return uint32_t(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

void sendButton(wl_proxy* pointer, uint32_t state)
{
    wl_proxy_marshal_flags(pointer, button, nullptr, 1, 0, timeMs(), buttonLeft, state);
    wl_proxy_marshal_flags(pointer, frame, nullptr, 1, 0);
}

// One line of standard input carried out; false for a line that is no action.
bool act(wl_proxy* pointer, const std::string& line)
{
    std::istringstream words(line);
    std::string action;
    words >> action;
    if (action == "move") {
        long x = -1, y = -1, width = 0, height = 0;
        words >> x >> y >> width >> height;
        if (!words || x < 0 || y < 0 || width <= 0 || height <= 0 || x >= width || y >= height)
            return false;
        wl_proxy_marshal_flags(pointer, motionAbsolute, nullptr, 1, 0, timeMs(), uint32_t(x),
                               uint32_t(y), uint32_t(width), uint32_t(height));
        wl_proxy_marshal_flags(pointer, frame, nullptr, 1, 0);
        return true;
    }
    if (action == "press" || action == "click")
        sendButton(pointer, pressed);
    if (action == "release" || action == "click")
        sendButton(pointer, released);
    return action == "press" || action == "release" || action == "click";
}

} // namespace

int main()
{
    wl_display* display = wl_display_connect(nullptr);
    if (!display) {
        std::printf("no compositor\n");
        return 1;
    }
    Globals globals;
    wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, &globals);
    wl_display_roundtrip(display);
    if (!globals.seat || !globals.manager) {
        std::printf("no virtual pointers here\n");
        return 1;
    }
    wl_proxy* pointer = wl_proxy_marshal_flags(globals.manager, 0, &virtualPointerInterface, 1, 0,
                                               globals.seat, nullptr);
    if (!pointer || wl_display_roundtrip(display) < 0) {
        std::printf("the compositor refused the pointer\n");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    pollfd watched[2] = {{wl_display_get_fd(display), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    std::string pending;
    // Standard input at its end (or none): the device stays until the process is ended.
    nfds_t count = 2;
    while (true) {
        if (wl_display_flush(display) < 0 || poll(watched, count, -1) < 0)
            return 1;
        if (watched[0].revents & (POLLIN | POLLHUP | POLLERR)) {
            if (wl_display_dispatch(display) < 0)
                return 0;
        }
        if (count < 2 || !(watched[1].revents & (POLLIN | POLLHUP)))
            continue;
        char bytes[256];
        const ssize_t got = read(STDIN_FILENO, bytes, sizeof(bytes));
        if (got <= 0) {
            count = 1;
            continue;
        }
        pending.append(bytes, size_t(got));
        for (size_t end; (end = pending.find('\n')) != std::string::npos;) {
            const std::string line = pending.substr(0, end);
            pending.erase(0, end + 1);
            // Answered once the compositor has taken the events in.
            const bool done = act(pointer, line) && wl_display_roundtrip(display) >= 0;
            std::printf("%s\n", done ? "done" : "failed");
            std::fflush(stdout);
        }
    }
}
