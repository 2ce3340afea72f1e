#include "platform/wayland/WaylandIdleNotifier.h"

#include "ext-idle-notify-v1-client-protocol.h"
#include "platform/wayland/WaylandConnection.h"

#include <wayland-client.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

struct WaylandIdleNotifier::State
{
    WaylandConnection connection;
    wl_seat* seat = nullptr;
    ext_idle_notifier_v1* notifier = nullptr;
    ext_idle_notification_v1* notification = nullptr;
    Callback idle;
    Callback active;

    ~State()
    {
        connection.stopWatching();
        // Every proxy is ours to free; disconnecting frees none of them.
        dropNotification();
        if (notifier)
            ext_idle_notifier_v1_destroy(notifier);
        if (seat)
            wl_seat_release(seat);
    }

    void dropNotification()
    {
        if (notification)
            ext_idle_notification_v1_destroy(notification);
        notification = nullptr;
    }

    static void global(void* data, wl_registry* registry, uint32_t name, const char* interface,
                       uint32_t version)
    {
        auto* s = static_cast<State*>(data);
        if (std::strcmp(interface, wl_seat_interface.name) == 0 && !s->seat) {
            s->seat = static_cast<wl_seat*>(
                wl_registry_bind(registry, name, &wl_seat_interface, std::min(version, 5u)));
        } else if (std::strcmp(interface, ext_idle_notifier_v1_interface.name) == 0) {
            s->notifier = static_cast<ext_idle_notifier_v1*>(
                wl_registry_bind(registry, name, &ext_idle_notifier_v1_interface, 1));
        }
    }
    static void globalRemove(void*, wl_registry*, uint32_t) {}
    static constexpr wl_registry_listener registryListener{global, globalRemove};

    // Called through copies: a callback may start a new watch, which replaces the callbacks.
    static void idled(void* data, ext_idle_notification_v1*)
    {
        if (Callback idle = static_cast<State*>(data)->idle)
            idle();
    }
    static void resumed(void* data, ext_idle_notification_v1*)
    {
        if (Callback active = static_cast<State*>(data)->active)
            active();
    }
    static constexpr ext_idle_notification_v1_listener notificationListener{idled, resumed};
};

WaylandIdleNotifier::WaylandIdleNotifier() : m(std::make_unique<State>()) {}

WaylandIdleNotifier::~WaylandIdleNotifier() = default;

bool WaylandIdleNotifier::connectToCompositor()
{
    if (m->connection.display())
        return m->connection.isWatching();
    if (!m->connection.open(&State::registryListener, m.get()) || !m->notifier || !m->seat)
        return false;
    // Should the compositor go away, nothing more will be said.
    m->connection.watch({});
    return true;
}

void WaylandIdleNotifier::watch(std::chrono::milliseconds limit, Callback idle, Callback active)
{
    if (!m->connection.isWatching())
        return;
    m->dropNotification();
    m->idle = std::move(idle);
    m->active = std::move(active);
    const auto timeout = std::clamp<long long>(limit.count(), 0, UINT32_MAX);
    m->notification =
        ext_idle_notifier_v1_get_idle_notification(m->notifier, uint32_t(timeout), m->seat);
    ext_idle_notification_v1_add_listener(m->notification, &State::notificationListener, m.get());
    m->connection.flush();
}

void WaylandIdleNotifier::stop()
{
    if (!m->connection.isWatching())
        return;
    m->dropNotification();
    m->idle = nullptr;
    m->active = nullptr;
    m->connection.flush();
}
