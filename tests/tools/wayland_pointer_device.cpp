// A pointer device on the compositor's seat, for as long as this runs: headless sway has no
// input device at all, so its seat offers no pointer and `swaymsg seat seat0 cursor ...` moves a
// cursor that no client can see. A virtual pointer (the wlroots virtual-pointer protocol,
// version 1) gives the seat one. Prints "ready" once the compositor has it, then waits until it
// is ended.
//   wayland_pointer_device
#include <wayland-client.h>

#include <cstdio>
#include <cstring>

namespace {

// The protocol's two interfaces, written out from its XML: the manager's one request makes a
// pointer for a seat; the pointer's requests are listed so that the interface is whole, though
// none is sent.
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

const wl_message managerRequests[] = {{"create_virtual_pointer", "?on", createTypes}};
const wl_interface managerInterface = {
    "zwlr_virtual_pointer_manager_v1", 1, 1, managerRequests, 0, nullptr};

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
    while (wl_display_dispatch(display) >= 0) {
    }
    return 0;
}
