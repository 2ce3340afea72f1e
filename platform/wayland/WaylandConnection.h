#pragma once

#include <QSocketNotifier>

#include <chrono>
#include <functional>
#include <memory>

struct wl_display;
struct wl_event_queue;
struct wl_registry;
struct wl_registry_listener;

// A Wayland connection of its own, read from Qt's event loop: the globals are announced to the
// listener given (one round trip, so they are all known when `open` returns), and afterwards
// every wake-up of the connection's descriptor reads what came and dispatches it. A connection
// the compositor ended, or closed for a protocol error, calls `ended` once and reads no more.
// The owner frees its own proxies first; the connection is closed last, by the destructor.
//
// The input devices' events may go to a queue of their own (`inputQueue`), which can be held:
// its events are read with the rest and handled, in their order, only once it is let go.
class WaylandConnection
{
public:
    WaylandConnection() = default;
    ~WaylandConnection();
    WaylandConnection(const WaylandConnection&) = delete;
    WaylandConnection& operator=(const WaylandConnection&) = delete;

    // Connects to the compositor of WAYLAND_DISPLAY; false when there is none.
    bool open(const wl_registry_listener* listener, void* data);
    // Starts reading events (after `open`, once the owner has what it needs).
    void watch(std::function<void()> ended);
    // Stops reading, before the owner frees its proxies.
    void stopWatching() { m_events.reset(); }
    // Open, read and not ended.
    bool isWatching() const { return m_events != nullptr && m_events->isEnabled(); }

    wl_display* display() const { return m_display; }
    wl_registry* registry() const { return m_registry; }
    int fd() const;
    void flush() const;
    // Reads and handles events here and now, without the event loop, until `done` holds or
    // `limit` has passed; false when it did not come to hold.
    bool dispatchUntil(std::chrono::milliseconds limit, const std::function<bool()>& done);

    // The queue for proxies whose events may be held (wl_proxy_set_queue).
    wl_event_queue* inputQueue() const { return m_inputQueue; }
    // While held, the input queue's events wait; let go, those that waited are handled at the
    // event loop's next turn (not inside the caller), then `afterwards` runs, and the rest are
    // handled as they come.
    void holdInput(bool held, std::function<void()> afterwards = {});
    bool holdsInput() const { return m_inputHeld; }
    // Handles the input queue's events read so far, held or not.
    void dispatchInput();

private:
    void dispatch();

    wl_display* m_display = nullptr;
    wl_registry* m_registry = nullptr;
    wl_event_queue* m_inputQueue = nullptr;
    bool m_inputHeld = false;
    std::unique_ptr<QSocketNotifier> m_events;
    std::function<void()> m_ended;
};
