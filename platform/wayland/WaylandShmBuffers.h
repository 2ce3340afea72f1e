#pragma once

#include <QImage>
#include <QSize>

#include <memory>
#include <vector>

struct wl_buffer;
struct wl_shm;

// The shared-memory buffers of one lock surface, made once and drawn into again whenever the
// compositor has let go of one. A buffer made for every frame costs a fresh mapping whose pages
// the kernel must fault in and clear one by one (900 pages for 1280 x 720): more time than the
// drawing itself. Two are enough: the compositor reads the one shown while the next is drawn.
class WaylandShmBuffers
{
public:
    struct Buffer
    {
        wl_buffer* buffer = nullptr;
        // The buffer's pixels (XRGB8888, QImage's RGB32 on a little-endian machine); drawn into
        // in place.
        QImage image;
        void* pixels = nullptr;
        size_t bytes = 0;
        // Attached and not yet released by the compositor: not to be drawn into.
        bool busy = false;
    };

    WaylandShmBuffers() = default;
    ~WaylandShmBuffers();
    WaylandShmBuffers(const WaylandShmBuffers&) = delete;
    WaylandShmBuffers& operator=(const WaylandShmBuffers&) = delete;

    // A buffer of these pixels the compositor is not reading from, made when none is free;
    // nullptr when no memory can be had. Buffers of another size are let go of.
    Buffer* next(wl_shm* shm, QSize pixels);
    // Lets go of every buffer (the lock surface is gone), the memory with them.
    void clear();
    int count() const { return int(m_buffers.size()); }

private:
    std::vector<std::unique_ptr<Buffer>> m_buffers;
};
