#include "platform/wayland/WaylandShmBuffers.h"

#include <wayland-client.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

namespace {

void bufferReleased(void* data, wl_buffer*)
{
    static_cast<WaylandShmBuffers::Buffer*>(data)->busy = false;
}
const wl_buffer_listener bufferListener{bufferReleased};

void destroy(WaylandShmBuffers::Buffer& buffer)
{
    // The compositor keeps its own mapping of what it still shows; ours goes.
    if (buffer.buffer)
        wl_buffer_destroy(buffer.buffer);
    buffer.image = QImage();
    if (buffer.pixels)
        munmap(buffer.pixels, buffer.bytes);
}

std::unique_ptr<WaylandShmBuffers::Buffer> makeBuffer(wl_shm* shm, QSize pixels)
{
    const int stride = pixels.width() * 4;
    const size_t bytes = size_t(stride) * size_t(pixels.height());
    const int fd = memfd_create("tessarine-lock", MFD_CLOEXEC);
    if (fd < 0)
        return nullptr;
    if (ftruncate(fd, off_t(bytes)) != 0) {
        close(fd);
        return nullptr;
    }
    // Populated at once: one call faults in every page, instead of one fault a page as the
    // first picture is drawn.
    void* mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, fd, 0);
    if (mapped == MAP_FAILED) {
        close(fd);
        return nullptr;
    }
    auto buffer = std::make_unique<WaylandShmBuffers::Buffer>();
    buffer->pixels = mapped;
    buffer->bytes = bytes;
    wl_shm_pool* pool = wl_shm_create_pool(shm, fd, int32_t(bytes));
    buffer->buffer = wl_shm_pool_create_buffer(pool, 0, pixels.width(), pixels.height(), stride,
                                               WL_SHM_FORMAT_XRGB8888);
    wl_shm_pool_destroy(pool);
    close(fd);
    wl_buffer_add_listener(buffer->buffer, &bufferListener, buffer.get());
    buffer->image = QImage(static_cast<uchar*>(mapped), pixels.width(), pixels.height(), stride,
                           QImage::Format_RGB32);
    return buffer;
}

} // namespace

WaylandShmBuffers::~WaylandShmBuffers()
{
    clear();
}

WaylandShmBuffers::Buffer* WaylandShmBuffers::next(wl_shm* shm, QSize pixels)
{
    if (!shm || pixels.isEmpty())
        return nullptr;
    std::erase_if(m_buffers, [pixels](const std::unique_ptr<Buffer>& buffer) {
        if (buffer->image.size() == pixels)
            return false;
        destroy(*buffer);
        return true;
    });
    const auto free =
        std::find_if(m_buffers.begin(), m_buffers.end(),
                     [](const std::unique_ptr<Buffer>& buffer) { return !buffer->busy; });
    if (free != m_buffers.end())
        return free->get();
    // A compositor that keeps every buffer (stalled, or slow to show them) is not followed with
    // ever more memory: the picture waits for one to come back.
    constexpr size_t most = 3;
    if (m_buffers.size() >= most)
        return nullptr;
    auto made = makeBuffer(shm, pixels);
    if (!made)
        return nullptr;
    m_buffers.push_back(std::move(made));
    return m_buffers.back().get();
}

void WaylandShmBuffers::clear()
{
    for (const auto& buffer : m_buffers)
        destroy(*buffer);
    m_buffers.clear();
}
