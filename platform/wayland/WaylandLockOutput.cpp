#include "platform/wayland/WaylandLockOutput.h"

#include "ext-session-lock-v1-client-protocol.h"
#include "fractional-scale-v1-client-protocol.h"
#include "viewporter-client-protocol.h"

#include <wayland-client.h>

#include <algorithm>
#include <climits>

WaylandLockOutput::WaylandLockOutput(uint32_t name, wl_output* output,
                                     const WaylandSessionLock::Painter* painter)
    : m_painter(painter), m_name(name), m_output(output)
{
    static const wl_output_listener listener{geometry, mode, done, scaleChanged, named, described};
    wl_output_add_listener(m_output, &listener, this);
}

WaylandLockOutput::~WaylandLockOutput()
{
    destroySurface();
    if (m_output)
        wl_output_release(m_output);
}

void WaylandLockOutput::addLockSurface(wl_compositor* compositor, ext_session_lock_v1* lock,
                                       Extras extras)
{
    if (!lock || m_lockSurface)
        return;
    // Nothing is drawn on the new surface before its own configure: the size of an earlier
    // lock's surface would have a buffer attached too early, which the compositor takes as a
    // protocol error.
    m_size = QSize();
    m_wholeShown = false;
    m_shown = false;
    m_surface = wl_compositor_create_surface(compositor);
    m_lockSurface = ext_session_lock_v1_get_lock_surface(lock, m_surface, m_output);
    static const ext_session_lock_surface_v1_listener lockSurfaceListener{configure};
    ext_session_lock_surface_v1_add_listener(m_lockSurface, &lockSurfaceListener, this);
    // Fractional scales need both: the scale to draw at, and the viewport to show it.
    if (extras.fractionalScales && extras.viewporter) {
        m_fractionalScale =
            wp_fractional_scale_manager_v1_get_fractional_scale(extras.fractionalScales, m_surface);
        static const wp_fractional_scale_v1_listener scaleListener{preferredScale};
        wp_fractional_scale_v1_add_listener(m_fractionalScale, &scaleListener, this);
        m_viewport = wp_viewporter_get_viewport(extras.viewporter, m_surface);
    }
}

void WaylandLockOutput::destroySurface()
{
    // The surface's add-ons go first: they name the surface.
    if (m_firstFrame)
        wl_callback_destroy(m_firstFrame);
    m_firstFrame = nullptr;
    m_shown = false;
    if (m_fractionalScale)
        wp_fractional_scale_v1_destroy(m_fractionalScale);
    m_fractionalScale = nullptr;
    if (m_viewport)
        wp_viewport_destroy(m_viewport);
    m_viewport = nullptr;
    if (m_lockSurface)
        ext_session_lock_surface_v1_destroy(m_lockSurface);
    m_lockSurface = nullptr;
    if (m_surface)
        wl_surface_destroy(m_surface);
    m_surface = nullptr;
    // The buffers' memory is only wanted while locked.
    m_buffers.clear();
    m_plainBuffers.clear();
    m_wholeShown = false;
    m_owed = false;
}

qreal WaylandLockOutput::drawnScale() const
{
    if (!m_viewport)
        return m_scale;
    // Until the compositor prefers a scale, wl_output's whole one; Qt draws nothing finer than
    // one pixel a logical pixel, so a scale below 1 is left to the compositor.
    return m_preferredScale ? std::max(1.0, m_preferredScale / 120.0) : qreal(m_scale);
}

WaylandOutputView WaylandLockOutput::view() const
{
    return {m_name, m_outputName, m_position, m_size, drawnScale()};
}

void WaylandLockOutput::paint()
{
    if (!m_surface || m_size.isEmpty() || !m_painter || !m_painter->draw)
        return;
    // The buffer has the output's own pixels (size × scale) so that text is as sharp as the
    // output can show it; the compositor then scales nothing. A fractional scale goes through
    // the viewport (the buffer's pixels shown at the logical size), a whole one through the
    // buffer scale.
    const bool scalable =
        wl_surface_get_version(m_surface) >= WL_SURFACE_SET_BUFFER_SCALE_SINCE_VERSION;
    WaylandOutputView view = this->view();
    if (!m_viewport && !scalable)
        view.scale = 1;
    // Only the cover's colour to show (the lock screen is still being built): one pixel,
    // stretched over the output by the compositor, is shown at once, where a whole output's
    // buffer would first have to be made and filled.
    const std::optional<QColor> plain =
        m_viewport && m_painter->plainColour ? m_painter->plainColour(view) : std::nullopt;
    WaylandShmBuffers::Buffer* buffer =
        plain ? m_plainBuffers.next(m_shm, QSize(1, 1)) : m_buffers.next(m_shm, view.pixelSize());
    // Every buffer still read by the compositor (or no memory): drawn when one comes back. A
    // lock surface without a buffer gets no keys, but the first picture always finds one.
    m_owed = buffer == nullptr;
    if (!buffer)
        return;
    if (plain)
        buffer->image.fill(*plain);
    m_wholeShown = !plain && m_painter->draw(view, buffer->image);
    if (m_viewport)
        wp_viewport_set_destination(m_viewport, m_size.width(), m_size.height());
    else if (scalable)
        wl_surface_set_buffer_scale(m_surface, int(view.scale));
    wl_surface_attach(m_surface, buffer->buffer, 0, 0);
    wl_surface_damage_buffer(m_surface, 0, 0, INT32_MAX, INT32_MAX);
    // The first picture's frame callback: the compositor has shown it (the lock screen is built
    // only then, WaylandScreenShield::coverDisplays).
    if (!m_shown && !m_firstFrame) {
        static const wl_callback_listener shownListener{frameShown};
        m_firstFrame = wl_surface_frame(m_surface);
        wl_callback_add_listener(m_firstFrame, &shownListener, this);
    }
    wl_surface_commit(m_surface);
    buffer->busy = true;
}

void WaylandLockOutput::configure(void* data, ext_session_lock_surface_v1* surface, uint32_t serial,
                                  uint32_t width, uint32_t height)
{
    auto* output = static_cast<WaylandLockOutput*>(data);
    output->m_size = QSize(int(width), int(height));
    ext_session_lock_surface_v1_ack_configure(surface, serial);
    output->paint();
}

void WaylandLockOutput::frameShown(void* data, wl_callback* callback, uint32_t)
{
    auto* output = static_cast<WaylandLockOutput*>(data);
    wl_callback_destroy(callback);
    output->m_firstFrame = nullptr;
    output->m_shown = true;
}

// What tells the program's screens apart (the name, the position) and the scale to draw at.
void WaylandLockOutput::geometry(void* data, wl_output*, int32_t x, int32_t y, int32_t, int32_t,
                                 int32_t, const char*, const char*, int32_t)
{
    static_cast<WaylandLockOutput*>(data)->m_position = QPoint(x, y);
}

void WaylandLockOutput::done(void* data, wl_output*)
{
    auto* output = static_cast<WaylandLockOutput*>(data);
    const qreal drawn = output->drawnScale();
    output->m_scale = output->m_pendingScale;
    // A new scale: the picture is drawn again at once with the output's new pixels (where the
    // compositor prefers a fractional scale, that one counts, and it says when it changes).
    if (output->drawnScale() != drawn)
        output->paint();
}

void WaylandLockOutput::scaleChanged(void* data, wl_output*, int32_t factor)
{
    static_cast<WaylandLockOutput*>(data)->m_pendingScale = std::max(1, int(factor));
}

void WaylandLockOutput::named(void* data, wl_output*, const char* name)
{
    static_cast<WaylandLockOutput*>(data)->m_outputName = QString::fromUtf8(name);
}

void WaylandLockOutput::preferredScale(void* data, wp_fractional_scale_v1*, uint32_t scale)
{
    auto* output = static_cast<WaylandLockOutput*>(data);
    const qreal drawn = output->drawnScale();
    output->m_preferredScale = scale;
    // The output's scale changed, or the surface has entered its output: drawn again at once.
    if (output->drawnScale() != drawn)
        output->paint();
}
