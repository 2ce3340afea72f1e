#include "platform/wayland/WaylandConnection.h"

#include <QTimer>

#include <poll.h>

#include <wayland-client.h>

WaylandConnection::~WaylandConnection()
{
    m_events.reset();
    if (m_registry)
        wl_registry_destroy(m_registry);
    if (m_inputQueue)
        wl_event_queue_destroy(m_inputQueue);
    if (m_display)
        wl_display_disconnect(m_display);
}

bool WaylandConnection::open(const wl_registry_listener* listener, void* data)
{
    if (m_display)
        return true;
    m_display = wl_display_connect(nullptr);
    if (!m_display)
        return false;
    m_inputQueue = wl_display_create_queue(m_display);
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, listener, data);
    wl_display_roundtrip(m_display);
    return true;
}

void WaylandConnection::watch(std::function<void()> ended)
{
    if (!m_display || m_events)
        return;
    m_ended = std::move(ended);
    m_events = std::make_unique<QSocketNotifier>(fd(), QSocketNotifier::Read);
    QObject::connect(m_events.get(), &QSocketNotifier::activated, m_events.get(),
                     [this] { dispatch(); });
}

int WaylandConnection::fd() const
{
    return m_display ? wl_display_get_fd(m_display) : -1;
}

void WaylandConnection::flush() const
{
    if (m_display)
        wl_display_flush(m_display);
}

void WaylandConnection::dispatch()
{
    while (wl_display_prepare_read(m_display) != 0)
        wl_display_dispatch_pending(m_display);
    wl_display_read_events(m_display);
    wl_display_dispatch_pending(m_display);
    if (!m_inputHeld && m_inputQueue)
        wl_display_dispatch_queue_pending(m_display, m_inputQueue);
    wl_display_flush(m_display);
    if (wl_display_get_error(m_display) != 0 && m_events && m_events->isEnabled()) {
        // Nothing more will be read: the notifier is only switched off, since this runs inside
        // its own signal.
        m_events->setEnabled(false);
        if (m_ended)
            m_ended();
    }
}

void WaylandConnection::holdInput(bool held, std::function<void()> afterwards)
{
    if (held == m_inputHeld)
        return;
    m_inputHeld = held;
    if (held)
        return;
    if (!m_events) {
        if (afterwards)
            afterwards();
        return;
    }
    QTimer::singleShot(0, m_events.get(), [this, afterwards = std::move(afterwards)] {
        // Held again meanwhile: the events wait on, and so does what comes after them.
        if (m_inputHeld)
            return;
        dispatchInput();
        if (afterwards)
            afterwards();
    });
}

void WaylandConnection::dispatchInput()
{
    if (m_display && m_inputQueue && isWatching())
        wl_display_dispatch_queue_pending(m_display, m_inputQueue);
}

bool WaylandConnection::dispatchUntil(std::chrono::milliseconds limit,
                                      const std::function<bool()>& done)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0 || !isWatching())
            return false;
        wl_display_flush(m_display);
        pollfd events{fd(), POLLIN, 0};
        if (poll(&events, 1, int(left.count()) + 1) > 0)
            dispatch();
    }
    return true;
}
