#pragma once

#include "platform/wayland/WaylandLockCursor.h"

#include <QPointF>

#include <functional>

struct wl_compositor;
struct wl_pointer;
struct wl_shm;
struct wl_seat;
struct wl_surface;

// The seat's pointer on the lock's own Wayland connection. The compositor sends pointer events
// only for the surface under the pointer, and while locked only lock surfaces are shown, so
// every event here is one on a lock surface; each is reported with that surface and the point in
// its coordinates (the surface's size as configured, not buffer pixels). Over a lock surface the
// pointer shows an arrow of ours (WaylandLockCursor).
class WaylandLockPointer
{
public:
    enum class Action
    {
        Motion,
        Press,
        Release,
        Leave
    };
    // The button is Qt's for Press and Release (Qt::LeftButton, ...), else Qt::NoButton.
    using Handler = std::function<void(Action, wl_surface*, QPointF, int button)>;
    // The integer scale of the output a surface is on.
    using ScaleOf = std::function<int(wl_surface*)>;

    WaylandLockPointer(wl_seat* seat, wl_compositor* compositor, wl_shm* shm, Handler handler,
                       ScaleOf scaleOf);
    ~WaylandLockPointer();
    WaylandLockPointer(const WaylandLockPointer&) = delete;
    WaylandLockPointer& operator=(const WaylandLockPointer&) = delete;

private:
    static void enter(void* data, wl_pointer*, uint32_t serial, wl_surface* surface, int32_t x,
                      int32_t y);
    static void leave(void* data, wl_pointer*, uint32_t serial, wl_surface* surface);
    static void motion(void* data, wl_pointer*, uint32_t time, int32_t x, int32_t y);
    static void button(void* data, wl_pointer*, uint32_t serial, uint32_t time, uint32_t button,
                       uint32_t state);

    wl_pointer* m_pointer = nullptr;
    wl_surface* m_surface = nullptr;
    QPointF m_position;
    Handler m_handler;
    ScaleOf m_scaleOf;
    WaylandLockCursor m_cursor;
};
