#pragma once

#include "platform/wayland/WaylandSessionLock.h"
#include "platform/wayland/WaylandShmBuffers.h"

#include <QPoint>
#include <QSize>
#include <QString>

#include <cstdint>

struct ext_session_lock_surface_v1;
struct ext_session_lock_v1;
struct wl_callback;
struct wl_compositor;
struct wl_output;
struct wl_shm;
struct wl_surface;
struct wp_fractional_scale_manager_v1;
struct wp_fractional_scale_v1;
struct wp_viewport;
struct wp_viewporter;

// One output of the compositor and, while the session is locked, its lock surface: what the
// output is (its name, place and scale), the size the compositor gave the surface, and the
// buffers its pictures are drawn in.
class WaylandLockOutput
{
public:
    WaylandLockOutput(uint32_t name, wl_output* output, const WaylandSessionLock::Painter* painter);
    ~WaylandLockOutput();
    WaylandLockOutput(const WaylandLockOutput&) = delete;
    WaylandLockOutput& operator=(const WaylandLockOutput&) = delete;

    // The registry's name of the wl_output global.
    uint32_t name() const { return m_name; }
    void setShm(wl_shm* shm) { m_shm = shm; }
    // Where the compositor offers fractional scales, the surface gets the scale it prefers and a
    // viewport (both protocols are needed).
    struct Extras
    {
        wp_fractional_scale_manager_v1* fractionalScales = nullptr;
        wp_viewporter* viewporter = nullptr;
    };
    // A lock surface on this output for the lock; nothing is drawn on it before its configure.
    void addLockSurface(wl_compositor* compositor, ext_session_lock_v1* lock, Extras extras);
    bool hasLockSurface() const { return m_lockSurface != nullptr; }
    // The compositor gave the lock surface its size; its first picture went with the answer.
    bool isConfigured() const { return m_lockSurface != nullptr && m_size.isValid(); }
    // The compositor has shown a picture of this lock surface (its frame callback for the first
    // picture committed came).
    bool hasShownPicture() const { return m_lockSurface != nullptr && m_shown; }
    wl_surface* surface() const { return m_surface; }
    // The lock surface and its buffers go (the lock ended).
    void destroySurface();

    // Draws the picture (a buffer of the output's pixels, given to the painter) and commits it.
    void paint();
    WaylandOutputView view() const;
    // wl_output's whole scale (the cursor's size follows it).
    int outputScale() const { return m_scale; }
    // The last picture committed showed the lock screen whole (not the cover colour, nor a
    // step of the opening's fade).
    bool showsWholePicture() const { return m_surface && m_wholeShown; }
    // A picture was wanted while the compositor held every buffer: to be drawn at the next turn.
    bool owesPicture() const { return m_owed; }

private:
    static void configure(void* data, ext_session_lock_surface_v1* surface, uint32_t serial,
                          uint32_t width, uint32_t height);
    static void geometry(void* data, wl_output*, int32_t x, int32_t y, int32_t, int32_t, int32_t,
                         const char*, const char*, int32_t);
    static void mode(void*, wl_output*, uint32_t, int32_t, int32_t, int32_t) {}
    static void done(void* data, wl_output*);
    static void scaleChanged(void* data, wl_output*, int32_t factor);
    static void named(void* data, wl_output*, const char* name);
    static void described(void*, wl_output*, const char*) {}
    static void frameShown(void* data, wl_callback* callback, uint32_t);
    static void preferredScale(void* data, wp_fractional_scale_v1*, uint32_t scale);
    // The scale the picture is drawn at.
    qreal drawnScale() const;

    const WaylandSessionLock::Painter* m_painter = nullptr;
    wl_shm* m_shm = nullptr;
    uint32_t m_name = 0;
    wl_output* m_output = nullptr;
    wl_surface* m_surface = nullptr;
    ext_session_lock_surface_v1* m_lockSurface = nullptr;
    wp_fractional_scale_v1* m_fractionalScale = nullptr;
    wp_viewport* m_viewport = nullptr;
    wl_callback* m_firstFrame = nullptr;
    WaylandShmBuffers m_buffers;
    WaylandShmBuffers m_plainBuffers;
    QSize m_size;
    // What wl_output said; the pending scale counts from its `done`.
    QString m_outputName;
    QPoint m_position;
    int m_scale = 1;
    int m_pendingScale = 1;
    // The compositor's preferred scale for the lock surface in 120ths; 0 until it says. Kept
    // from one lock to the next: the next surface is on the same output.
    uint32_t m_preferredScale = 0;
    bool m_wholeShown = false;
    bool m_shown = false;
    bool m_owed = false;
};
