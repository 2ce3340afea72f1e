#include "platform/wayland/WaylandLockCursor.h"

#include <QPainter>
#include <QPainterPath>

#include <wayland-client.h>
#include <wayland-cursor.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int defaultSize = 24;

// An ARGB8888 buffer (premultiplied, which is QImage's ARGB32_Premultiplied on a little-endian
// machine) holding the image; kept for as long as the cursor lives.
wl_buffer* bufferOf(wl_shm* shm, const QImage& picture)
{
    const QImage image = picture.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const int stride = image.width() * 4;
    const size_t size = size_t(stride) * size_t(image.height());
    const int fd = memfd_create("tessarine-cursor", MFD_CLOEXEC);
    if (fd < 0 || ftruncate(fd, off_t(size)) != 0) {
        if (fd >= 0)
            close(fd);
        return nullptr;
    }
    void* pixels = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (pixels == MAP_FAILED) {
        close(fd);
        return nullptr;
    }
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(static_cast<char*>(pixels) + size_t(y) * size_t(stride), image.constScanLine(y),
                    size_t(stride));
    munmap(pixels, size);
    wl_shm_pool* pool = wl_shm_create_pool(shm, fd, int32_t(size));
    wl_buffer* buffer = wl_shm_pool_create_buffer(pool, 0, image.width(), image.height(), stride,
                                                  WL_SHM_FORMAT_ARGB8888);
    wl_shm_pool_destroy(pool);
    close(fd);
    return buffer;
}

} // namespace

WaylandLockCursor::WaylandLockCursor(wl_compositor* compositor, wl_shm* shm)
    : m_shm(shm), m_surface(compositor && shm ? wl_compositor_create_surface(compositor) : nullptr)
{
}

WaylandLockCursor::~WaylandLockCursor()
{
    if (m_surface)
        wl_surface_destroy(m_surface);
    for (const auto& [scale, theme] : m_themes) {
        if (theme)
            wl_cursor_theme_destroy(theme);
    }
    for (const auto& [scale, picture] : m_drawn) {
        if (picture.buffer)
            wl_buffer_destroy(picture.buffer);
    }
}

int WaylandLockCursor::themeSize()
{
    const char* text = std::getenv("XCURSOR_SIZE");
    const int size = text ? std::atoi(text) : 0;
    return size > 0 && size <= 256 ? size : defaultSize;
}

QImage WaylandLockCursor::drawnArrow(int pixels)
{
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    // The classic arrow in a 24-unit square: its tip at the top-left, where the hotspot is.
    painter.scale(pixels / 24.0, pixels / 24.0);
    QPainterPath arrow;
    arrow.moveTo(1, 1);
    arrow.lineTo(1, 19);
    arrow.lineTo(5.5, 14.5);
    arrow.lineTo(9, 22);
    arrow.lineTo(12, 20.5);
    arrow.lineTo(8.5, 13.5);
    arrow.lineTo(15, 13.5);
    arrow.closeSubpath();
    painter.setPen(QPen(Qt::white, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::black);
    painter.drawPath(arrow);
    return image;
}

WaylandLockCursor::Picture WaylandLockCursor::themed(int scale)
{
    auto found = m_themes.find(scale);
    if (found == m_themes.end()) {
        // Loaded once per scale, at the size a client of that scale asks for.
        const char* name = std::getenv("XCURSOR_THEME");
        found = m_themes
                    .emplace(scale, wl_cursor_theme_load(name && *name ? name : nullptr,
                                                         themeSize() * scale, m_shm))
                    .first;
    }
    wl_cursor_theme* theme = found->second;
    if (!theme)
        return {};
    wl_cursor* cursor = wl_cursor_theme_get_cursor(theme, "default");
    if (!cursor)
        cursor = wl_cursor_theme_get_cursor(theme, "left_ptr");
    if (!cursor || cursor->image_count == 0)
        return {};
    wl_cursor_image* image = cursor->images[0];
    // The theme owns the buffer.
    wl_buffer* buffer = wl_cursor_image_get_buffer(image);
    if (!buffer)
        return {};
    return {buffer, int(image->width), int(image->height), int(image->hotspot_x),
            int(image->hotspot_y)};
}

WaylandLockCursor::Picture WaylandLockCursor::drawn(int scale)
{
    auto found = m_drawn.find(scale);
    if (found != m_drawn.end())
        return found->second;
    const int pixels = themeSize() * scale;
    Picture picture{bufferOf(m_shm, drawnArrow(pixels)), pixels, pixels, 0, 0};
    m_drawn.emplace(scale, picture);
    return picture;
}

void WaylandLockCursor::show(wl_pointer* pointer, uint32_t serial, int scale)
{
    if (!m_surface)
        return;
    scale = std::max(scale, 1);
    Picture picture = themed(scale);
    if (!picture.buffer)
        picture = drawn(scale);
    if (!picture.buffer)
        return;
    // A buffer scale must divide the buffer's size; a theme without a picture of the size asked
    // for gives another, which is then shown at one pixel a point rather than refused.
    const bool scalable =
        wl_surface_get_version(m_surface) >= WL_SURFACE_SET_BUFFER_SCALE_SINCE_VERSION;
    const int bufferScale =
        scalable && picture.width % scale == 0 && picture.height % scale == 0 ? scale : 1;
    wl_pointer_set_cursor(pointer, serial, m_surface, picture.hotspotX / bufferScale,
                          picture.hotspotY / bufferScale);
    if (scalable)
        wl_surface_set_buffer_scale(m_surface, bufferScale);
    wl_surface_attach(m_surface, picture.buffer, 0, 0);
    if (wl_surface_get_version(m_surface) >= WL_SURFACE_DAMAGE_BUFFER_SINCE_VERSION)
        wl_surface_damage_buffer(m_surface, 0, 0, picture.width, picture.height);
    else
        wl_surface_damage(m_surface, 0, 0, picture.width, picture.height);
    wl_surface_commit(m_surface);
}
