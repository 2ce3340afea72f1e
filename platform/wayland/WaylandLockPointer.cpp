#include "platform/wayland/WaylandLockPointer.h"

#include <Qt>

#include <wayland-client.h>

namespace {

// Linux's button codes (linux/input-event-codes.h), which wl_pointer.button reports.
constexpr uint32_t buttonLeft = 0x110;
constexpr uint32_t buttonRight = 0x111;
constexpr uint32_t buttonMiddle = 0x112;

int qtButtonOf(uint32_t button)
{
    switch (button) {
    case buttonLeft:
        return Qt::LeftButton;
    case buttonRight:
        return Qt::RightButton;
    case buttonMiddle:
        return Qt::MiddleButton;
    default:
        return Qt::NoButton;
    }
}

QPointF pointOf(int32_t x, int32_t y)
{
    return QPointF(wl_fixed_to_double(x), wl_fixed_to_double(y));
}

// Scrolling and the frames that group events mean nothing to the lock screen.
void axis(void*, wl_pointer*, uint32_t, uint32_t, wl_fixed_t) {}
void frame(void*, wl_pointer*) {}
void axisSource(void*, wl_pointer*, uint32_t) {}
void axisStop(void*, wl_pointer*, uint32_t, uint32_t) {}
void axisDiscrete(void*, wl_pointer*, uint32_t, int32_t) {}

} // namespace

WaylandLockPointer::WaylandLockPointer(wl_seat* seat, wl_compositor* compositor, wl_shm* shm,
                                       Handler handler, ScaleOf scaleOf)
    : m_pointer(wl_seat_get_pointer(seat)), m_handler(std::move(handler)),
      m_scaleOf(std::move(scaleOf)), m_cursor(compositor, shm)
{
    // The seat is bound at version 5 at most: later events (value120, relative direction)
    // never come.
    static constexpr wl_pointer_listener listener{
        enter, leave, motion, button, axis, frame, axisSource, axisStop, axisDiscrete, nullptr};
    wl_pointer_add_listener(m_pointer, &listener, this);
}

WaylandLockPointer::~WaylandLockPointer()
{
    if (wl_pointer_get_version(m_pointer) >= WL_POINTER_RELEASE_SINCE_VERSION)
        wl_pointer_release(m_pointer);
    else
        wl_pointer_destroy(m_pointer);
}

void WaylandLockPointer::enter(void* data, wl_pointer* pointer, uint32_t serial,
                               wl_surface* surface, int32_t x, int32_t y)
{
    auto* self = static_cast<WaylandLockPointer*>(data);
    self->m_surface = surface;
    self->m_position = pointOf(x, y);
    // The compositor shows only the cursor a client sets on entering, so the user sees where
    // the pointer is over the lock screen's buttons.
    self->m_cursor.show(pointer, serial, self->m_scaleOf ? self->m_scaleOf(surface) : 1);
    self->m_handler(Action::Motion, surface, self->m_position, Qt::NoButton);
}

void WaylandLockPointer::leave(void* data, wl_pointer*, uint32_t, wl_surface* surface)
{
    auto* self = static_cast<WaylandLockPointer*>(data);
    self->m_surface = nullptr;
    self->m_handler(Action::Leave, surface, self->m_position, Qt::NoButton);
}

void WaylandLockPointer::motion(void* data, wl_pointer*, uint32_t, int32_t x, int32_t y)
{
    auto* self = static_cast<WaylandLockPointer*>(data);
    self->m_position = pointOf(x, y);
    if (self->m_surface)
        self->m_handler(Action::Motion, self->m_surface, self->m_position, Qt::NoButton);
}

void WaylandLockPointer::button(void* data, wl_pointer*, uint32_t, uint32_t, uint32_t button,
                                uint32_t state)
{
    auto* self = static_cast<WaylandLockPointer*>(data);
    const int qtButton = qtButtonOf(button);
    if (!self->m_surface || qtButton == Qt::NoButton)
        return;
    self->m_handler(state == WL_POINTER_BUTTON_STATE_PRESSED ? Action::Press : Action::Release,
                    self->m_surface, self->m_position, qtButton);
}
