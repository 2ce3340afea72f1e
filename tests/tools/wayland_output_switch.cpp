// Turns a compositor's outputs on and off through wlr-output-management, as a display settings
// program would: headless labwc makes its outputs once, at its start, and an output turned on
// is, to every other client, an output plugged in (a new wl_output global).
//   wayland_output_switch list          each output's name and "on" or "off", one a line
//   wayland_output_switch on|off NAME   turns NAME on or off, keeping the others as they are
//   wayland_output_switch mode NAME WIDTHxHEIGHT@HZ   gives NAME that mode of its own (headless
//                                       outputs take any; the benchmark's 250 Hz)
// Exits 0 once the compositor has applied the change, 1 (saying why) otherwise.
#include "wlr-output-management-unstable-v1-client-protocol.h"

#include <wayland-client.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Head
{
    zwlr_output_head_v1* proxy = nullptr;
    std::string name;
    bool enabled = false;
    bool gone = false;
    std::vector<zwlr_output_mode_v1*> modes;
};

struct Manager
{
    zwlr_output_manager_v1* proxy = nullptr;
    std::vector<std::unique_ptr<Head>> heads;
    uint32_t serial = 0;
    bool done = false;
};

// The compositor's answer to a configuration.
enum class Outcome
{
    pending,
    succeeded,
    failed,
    cancelled,
};

Head* headOf(void* data)
{
    return static_cast<Head*>(data);
}

// Modes come with each head; an output turned on keeps its own, so none is chosen here. Each is
// kept with its head only to be let go.
const zwlr_output_mode_v1_listener modeListener{
    [](void*, zwlr_output_mode_v1*, int32_t, int32_t) {},
    [](void*, zwlr_output_mode_v1*, int32_t) {},
    [](void*, zwlr_output_mode_v1*) {},
    [](void* data, zwlr_output_mode_v1* mode) {
        auto& modes = headOf(data)->modes;
        modes.erase(std::remove(modes.begin(), modes.end(), mode), modes.end());
        zwlr_output_mode_v1_destroy(mode);
    },
};

const zwlr_output_head_v1_listener headListener{
    [](void* data, zwlr_output_head_v1*, const char* name) { headOf(data)->name = name; },
    [](void*, zwlr_output_head_v1*, const char*) {},
    [](void*, zwlr_output_head_v1*, int32_t, int32_t) {},
    [](void* data, zwlr_output_head_v1*, zwlr_output_mode_v1* mode) {
        headOf(data)->modes.push_back(mode);
        zwlr_output_mode_v1_add_listener(mode, &modeListener, data);
    },
    [](void* data, zwlr_output_head_v1*, int32_t enabled) { headOf(data)->enabled = enabled != 0; },
    [](void*, zwlr_output_head_v1*, zwlr_output_mode_v1*) {},
    [](void*, zwlr_output_head_v1*, int32_t, int32_t) {},
    [](void*, zwlr_output_head_v1*, int32_t) {},
    [](void*, zwlr_output_head_v1*, wl_fixed_t) {},
    [](void* data, zwlr_output_head_v1* head) {
        headOf(data)->gone = true;
        zwlr_output_head_v1_destroy(head);
    },
};

Manager* managerOf(void* data)
{
    return static_cast<Manager*>(data);
}

const zwlr_output_manager_v1_listener managerListener{
    [](void* data, zwlr_output_manager_v1*, zwlr_output_head_v1* proxy) {
        auto head = std::make_unique<Head>();
        head->proxy = proxy;
        zwlr_output_head_v1_add_listener(proxy, &headListener, head.get());
        managerOf(data)->heads.push_back(std::move(head));
    },
    [](void* data, zwlr_output_manager_v1*, uint32_t serial) {
        managerOf(data)->serial = serial;
        managerOf(data)->done = true;
    },
    [](void*, zwlr_output_manager_v1*) {},
};

const zwlr_output_configuration_v1_listener configurationListener{
    [](void* data, zwlr_output_configuration_v1*) {
        *static_cast<Outcome*>(data) = Outcome::succeeded;
    },
    [](void* data, zwlr_output_configuration_v1*) {
        *static_cast<Outcome*>(data) = Outcome::failed;
    },
    [](void* data, zwlr_output_configuration_v1*) {
        *static_cast<Outcome*>(data) = Outcome::cancelled;
    },
};

void global(void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t)
{
    if (std::strcmp(interface, zwlr_output_manager_v1_interface.name) == 0)
        managerOf(data)->proxy = static_cast<zwlr_output_manager_v1*>(
            wl_registry_bind(registry, name, &zwlr_output_manager_v1_interface, 1));
}
void globalRemove(void*, wl_registry*, uint32_t) {}
const wl_registry_listener registryListener{global, globalRemove};

// A mode of an output's own: width, height and refresh rate (mHz).
struct CustomMode
{
    int width = 0;
    int height = 0;
    int refresh = 0;
};

// Every head must be named in a configuration: the one switched as asked (on with `mode` where
// one is given), the others as they are.
Outcome apply(wl_display* display, Manager& manager, const std::string& name, bool on,
              const CustomMode* mode = nullptr)
{
    auto outcome = Outcome::pending;
    auto* configuration =
        zwlr_output_manager_v1_create_configuration(manager.proxy, manager.serial);
    zwlr_output_configuration_v1_add_listener(configuration, &configurationListener, &outcome);
    for (const auto& head : manager.heads) {
        if (head->gone)
            continue;
        const bool enabled = head->name == name ? on : head->enabled;
        if (enabled) {
            auto* configured = zwlr_output_configuration_v1_enable_head(configuration, head->proxy);
            if (mode && head->name == name)
                zwlr_output_configuration_head_v1_set_custom_mode(configured, mode->width,
                                                                  mode->height, mode->refresh);
            zwlr_output_configuration_head_v1_destroy(configured);
        } else
            zwlr_output_configuration_v1_disable_head(configuration, head->proxy);
    }
    zwlr_output_configuration_v1_apply(configuration);
    while (outcome == Outcome::pending && wl_display_dispatch(display) != -1) {
    }
    zwlr_output_configuration_v1_destroy(configuration);
    return outcome;
}

// Every proxy let go and the connection closed, so that nothing is left for a leak check.
void closeConnection(wl_display* display, wl_registry* registry, Manager& manager)
{
    for (const auto& head : manager.heads) {
        for (zwlr_output_mode_v1* mode : head->modes)
            zwlr_output_mode_v1_destroy(mode);
        if (!head->gone)
            zwlr_output_head_v1_destroy(head->proxy);
    }
    if (manager.proxy)
        zwlr_output_manager_v1_destroy(manager.proxy);
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
}

// What the compositor did with the change, said where it failed; the exit status.
int reported(Outcome outcome)
{
    switch (outcome) {
    case Outcome::succeeded:
        return 0;
    case Outcome::failed:
        std::fprintf(stderr, "wayland_output_switch: the compositor could not apply it\n");
        return 1;
    case Outcome::cancelled:
        std::fprintf(stderr, "wayland_output_switch: the outputs changed meanwhile\n");
        return 1;
    case Outcome::pending:
        break;
    }
    std::fprintf(stderr, "wayland_output_switch: the compositor went away\n");
    return 1;
}

int usage()
{
    std::fprintf(stderr, "usage: wayland_output_switch list | on NAME | off NAME | "
                         "mode NAME WIDTHxHEIGHT@HZ\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string command = argc > 1 ? argv[1] : "";
    CustomMode mode;
    if (command == "mode" && argc == 4) {
        double hertz = 0;
        if (std::sscanf(argv[3], "%dx%d@%lf", &mode.width, &mode.height, &hertz) != 3 ||
            mode.width <= 0 || mode.height <= 0 || hertz <= 0)
            return usage();
        mode.refresh = int(hertz * 1000);
    } else if (!(command == "list" && argc == 2) &&
               !((command == "on" || command == "off") && argc == 3)) {
        return usage();
    }
    wl_display* display = wl_display_connect(nullptr);
    if (!display) {
        std::fprintf(stderr, "wayland_output_switch: no Wayland display\n");
        return 1;
    }
    Manager manager;
    wl_registry* registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &registryListener, &manager);
    wl_display_roundtrip(display);
    int status = 0;
    if (!manager.proxy) {
        std::fprintf(stderr, "wayland_output_switch: the compositor offers no output management\n");
        status = 1;
    } else {
        zwlr_output_manager_v1_add_listener(manager.proxy, &managerListener, &manager);
        while (!manager.done && wl_display_dispatch(display) != -1) {
        }
        if (command == "list") {
            for (const auto& head : manager.heads)
                std::printf("%s %s\n", head->name.c_str(), head->enabled ? "on" : "off");
        } else {
            const std::string name = argv[2];
            const bool known = std::any_of(manager.heads.begin(), manager.heads.end(),
                                           [&](const auto& head) { return head->name == name; });
            if (known) {
                status = reported(apply(display, manager, name, command != "off",
                                        command == "mode" ? &mode : nullptr));
            } else {
                std::fprintf(stderr, "wayland_output_switch: no output is called %s\n",
                             name.c_str());
                status = 1;
            }
        }
    }
    std::fflush(stdout);
    closeConnection(display, registry, manager);
    return status;
}
