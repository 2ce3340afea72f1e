// A desktop of a known colour for the Wayland tests: a full-screen window on every output, so
// that a compositor that draws no background (labwc) shows something other than black, the colour
// of its own blank lock.
//   wayland_desktop [RRGGBB]     (magenta by default)
#include "xdg-shell-client-protocol.h"

#include <wayland-client.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

uint32_t colour = 0xffff00ff;
wl_compositor* compositor = nullptr;
wl_shm* shm = nullptr;
xdg_wm_base* shell = nullptr;
std::vector<wl_output*> outputs;

struct Window
{
    wl_surface* surface = nullptr;
    int width = 640;
    int height = 480;
};

void ping(void*, xdg_wm_base* base, uint32_t serial)
{
    xdg_wm_base_pong(base, serial);
}
const xdg_wm_base_listener shellListener{ping};

void toplevelConfigure(void* data, xdg_toplevel*, int32_t width, int32_t height, wl_array*)
{
    auto* window = static_cast<Window*>(data);
    if (width > 0 && height > 0) {
        window->width = width;
        window->height = height;
    }
}
void toplevelClose(void*, xdg_toplevel*) {}
void toplevelBounds(void*, xdg_toplevel*, int32_t, int32_t) {}
void toplevelCapabilities(void*, xdg_toplevel*, wl_array*) {}
const xdg_toplevel_listener toplevelListener{toplevelConfigure, toplevelClose, toplevelBounds,
                                             toplevelCapabilities};

void surfaceConfigure(void* data, xdg_surface* surface, uint32_t serial)
{
    auto* window = static_cast<Window*>(data);
    xdg_surface_ack_configure(surface, serial);
    const int stride = window->width * 4;
    const size_t size = size_t(stride) * size_t(window->height);
    const int fd = memfd_create("tessarine-test-desktop", MFD_CLOEXEC);
    if (fd < 0 || ftruncate(fd, off_t(size)) != 0)
        std::exit(1);
    auto* pixels =
        static_cast<uint32_t*>(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
    for (size_t i = 0; i < size / 4; ++i)
        pixels[i] = colour;
    munmap(pixels, size);
    wl_shm_pool* pool = wl_shm_create_pool(shm, fd, int32_t(size));
    close(fd);
    wl_buffer* buffer = wl_shm_pool_create_buffer(pool, 0, window->width, window->height, stride,
                                                  WL_SHM_FORMAT_XRGB8888);
    wl_shm_pool_destroy(pool);
    wl_surface_attach(window->surface, buffer, 0, 0);
    wl_surface_damage_buffer(window->surface, 0, 0, window->width, window->height);
    wl_surface_commit(window->surface);
    std::printf("desktop %dx%d\n", window->width, window->height);
    std::fflush(stdout);
}
const xdg_surface_listener surfaceListener{surfaceConfigure};

void global(void*, wl_registry* registry, uint32_t name, const char* interface, uint32_t)
{
    if (std::strcmp(interface, wl_compositor_interface.name) == 0)
        compositor = static_cast<wl_compositor*>(
            wl_registry_bind(registry, name, &wl_compositor_interface, 4));
    else if (std::strcmp(interface, wl_shm_interface.name) == 0)
        shm = static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
    else if (std::strcmp(interface, xdg_wm_base_interface.name) == 0) {
        shell =
            static_cast<xdg_wm_base*>(wl_registry_bind(registry, name, &xdg_wm_base_interface, 1));
        xdg_wm_base_add_listener(shell, &shellListener, nullptr);
    } else if (std::strcmp(interface, wl_output_interface.name) == 0)
        outputs.push_back(
            static_cast<wl_output*>(wl_registry_bind(registry, name, &wl_output_interface, 1)));
}
void globalRemove(void*, wl_registry*, uint32_t) {}
const wl_registry_listener registryListener{global, globalRemove};

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1)
        colour = 0xff000000u | uint32_t(std::strtoul(argv[1], nullptr, 16));
    wl_display* display = wl_display_connect(nullptr);
    if (!display)
        return 1;
    wl_registry_add_listener(wl_display_get_registry(display), &registryListener, nullptr);
    wl_display_roundtrip(display);
    if (!compositor || !shm || !shell)
        return 1;
    std::vector<std::unique_ptr<Window>> windows;
    for (wl_output* output : outputs) {
        auto window = std::make_unique<Window>();
        window->surface = wl_compositor_create_surface(compositor);
        xdg_surface* surface = xdg_wm_base_get_xdg_surface(shell, window->surface);
        xdg_surface_add_listener(surface, &surfaceListener, window.get());
        xdg_toplevel* toplevel = xdg_surface_get_toplevel(surface);
        xdg_toplevel_add_listener(toplevel, &toplevelListener, window.get());
        xdg_toplevel_set_fullscreen(toplevel, output);
        wl_surface_commit(window->surface);
        windows.push_back(std::move(window));
    }
    while (wl_display_dispatch(display) != -1) {
    }
    return 0;
}
