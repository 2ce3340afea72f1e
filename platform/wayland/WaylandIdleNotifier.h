#pragma once

#include "platform/IdleWatch.h"

#include <memory>

// The idle watch of a Wayland session: the compositor's ext-idle-notify-v1, on a Wayland
// connection of its own, for the first seat. The compositor counts the seat's input, whichever
// client it goes to (XWayland's idle time sees only X clients' input), and holds `idle` back
// itself while one of its own idle inhibitors is active (a video player's, say).
class WaylandIdleNotifier final : public IdleWatch
{
public:
    WaylandIdleNotifier();
    ~WaylandIdleNotifier() override;

    // Connects to the session's compositor (WAYLAND_DISPLAY); false when there is none, or it
    // offers no idle notifier or no seat.
    bool connectToCompositor();

    void watch(std::chrono::milliseconds limit, Callback idle, Callback active) override;
    void stop() override;

private:
    struct State;
    std::unique_ptr<State> m;
};
