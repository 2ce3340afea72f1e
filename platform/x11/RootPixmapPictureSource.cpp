#include "platform/x11/RootPixmapPictureSource.h"

#include "platform/x11/QtXcb.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImage>
#include <QImageWriter>
#include <QUrlQuery>

#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>

namespace {

using QtXcb::Reply;

xcb_connection_t* qtConnection()
{
    return QtXcb::connection();
}

xcb_screen_t* firstScreen(xcb_connection_t* connection)
{
    return xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

xcb_atom_t atom(xcb_connection_t* connection, const char* name)
{
    Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 1, std::strlen(name), name), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

// The root's background pixmap as the setters announce it; 0 when there is none.
xcb_pixmap_t rootPixmap(xcb_connection_t* connection)
{
    const xcb_window_t root = firstScreen(connection)->root;
    for (const char* name : {"_XROOTPMAP_ID", "ESETROOT_PMAP_ID"}) {
        const xcb_atom_t property = atom(connection, name);
        if (property == XCB_ATOM_NONE)
            continue;
        Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            connection, xcb_get_property(connection, 0, root, property, XCB_ATOM_PIXMAP, 0, 1),
            nullptr));
        if (reply && reply->type == XCB_ATOM_PIXMAP && reply->format == 32 &&
            xcb_get_property_value_length(reply.get()) == 4) {
            const auto pixmap =
                *static_cast<const xcb_pixmap_t*>(xcb_get_property_value(reply.get()));
            if (pixmap != XCB_NONE)
                return pixmap;
        }
    }
    return XCB_NONE;
}

struct PixmapShape
{
    QRect rect;
    int depth = 0;
};

// A pixmap left behind by a setter that has gone may have been freed since: asking its geometry
// tells.
std::optional<PixmapShape> shapeOf(xcb_connection_t* connection, xcb_pixmap_t pixmap)
{
    xcb_generic_error_t* error = nullptr;
    Reply<xcb_get_geometry_reply_t> reply(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, pixmap), &error));
    std::free(error);
    if (!reply)
        return std::nullopt;
    return PixmapShape{QRect(0, 0, reply->width, reply->height), reply->depth};
}

// Pixels of 24 or 32 bits in 32-bit units with red, green and blue in the low three bytes, in
// the server's byte order: the only layout read here.
bool isReadableLayout(xcb_connection_t* connection, int depth)
{
    if (depth != 24 && depth != 32)
        return false;
    const xcb_setup_t* setup = xcb_get_setup(connection);
    bool thirtyTwoBits = false;
    for (auto it = xcb_setup_pixmap_formats_iterator(setup); it.rem; xcb_format_next(&it)) {
        if (it.data->depth == depth)
            thirtyTwoBits = it.data->bits_per_pixel == 32;
    }
    if (!thirtyTwoBits)
        return false;
    // The channels are those of the screen's visuals of that depth; without one, the usual.
    for (auto d = xcb_screen_allowed_depths_iterator(firstScreen(connection)); d.rem;
         xcb_depth_next(&d)) {
        if (d.data->depth != depth)
            continue;
        for (auto v = xcb_depth_visuals_iterator(d.data); v.rem; xcb_visualtype_next(&v)) {
            if (v.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR)
                return v.data->red_mask == 0xff0000 && v.data->green_mask == 0xff00 &&
                       v.data->blue_mask == 0xff;
        }
    }
    return true;
}

QImage fetch(xcb_connection_t* connection, xcb_pixmap_t pixmap, const QRect& rect)
{
    QImage image(rect.size(), QImage::Format_RGB32);
    if (image.isNull())
        return {};
    const bool lsbFirst = xcb_get_setup(connection)->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    // In bands of about 8 MiB: one reply for a whole large screen would be as large as its
    // picture.
    const int bandRows = std::max(1, (8 << 20) / (rect.width() * 4));
    for (int top = 0; top < rect.height(); top += bandRows) {
        const int rows = std::min(bandRows, rect.height() - top);
        xcb_generic_error_t* error = nullptr;
        Reply<xcb_get_image_reply_t> reply(
            xcb_get_image_reply(connection,
                                xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap,
                                              rect.x(), rect.y() + top, rect.width(), rows, ~0u),
                                &error));
        std::free(error);
        if (!reply)
            return {};
        const int length = xcb_get_image_data_length(reply.get());
        const int stride = length / rows;
        if (stride < rect.width() * 4)
            return {};
        const uint8_t* data = xcb_get_image_data(reply.get());
        for (int row = 0; row < rows; ++row) {
            const uint8_t* in = data + row * stride;
            auto* out = reinterpret_cast<QRgb*>(image.scanLine(top + row));
            for (int x = 0; x < rect.width(); ++x, in += 4) {
                const uint32_t pixel =
                    lsbFirst ? in[0] | in[1] << 8 | in[2] << 16 | uint32_t(in[3]) << 24
                             : uint32_t(in[0]) << 24 | in[1] << 16 | in[2] << 8 | in[3];
                // A background is opaque, whatever a 32-bit pixmap holds in its top byte.
                out[x] = 0xff000000u | (pixel & 0xffffffu);
            }
        }
    }
    return image;
}

QByteArray png(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    // Decoded again at once: fast beats small.
    writer.setQuality(90);
    if (!writer.write(image))
        return {};
    return bytes;
}

} // namespace

const QString RootPixmapPictureSource::scheme = QStringLiteral("x-root-pixmap");

QString RootPixmapPictureSource::urlForScreen(const PictureScreen& screen)
{
    xcb_connection_t* connection = qtConnection();
    if (!connection || screen.nativeGeometry.isEmpty())
        return {};
    const xcb_pixmap_t pixmap = rootPixmap(connection);
    if (pixmap == XCB_NONE || !shapeOf(connection, pixmap))
        return {};
    const QRect& r = screen.nativeGeometry;
    return QStringLiteral("%1:0x%2?x=%3&y=%4&width=%5&height=%6")
        .arg(scheme)
        .arg(pixmap, 8, 16, QChar('0'))
        .arg(r.x())
        .arg(r.y())
        .arg(r.width())
        .arg(r.height());
}

QByteArray RootPixmapPictureSource::read(const QUrl& url)
{
    xcb_connection_t* connection = qtConnection();
    if (!connection || !names(url))
        return {};
    bool ok = url.path().startsWith("0x");
    const uint pixmap = ok ? url.path().mid(2).toUInt(&ok, 16) : 0;
    const QUrlQuery query(url);
    bool okX = false, okY = false, okWidth = false, okHeight = false;
    const QRect wanted(query.queryItemValue("x").toInt(&okX), query.queryItemValue("y").toInt(&okY),
                       query.queryItemValue("width").toInt(&okWidth),
                       query.queryItemValue("height").toInt(&okHeight));
    if (!ok || !okX || !okY || !okWidth || !okHeight || wanted.isEmpty())
        return {};
    // Only the background itself is read, not whatever other pixmap a URL might name.
    if (pixmap == XCB_NONE || pixmap != rootPixmap(connection))
        return {};
    const auto shape = shapeOf(connection, pixmap);
    if (!shape || !isReadableLayout(connection, shape->depth))
        return {};
    const QRect rect = wanted.intersected(shape->rect);
    if (rect.isEmpty())
        return {};
    const QImage image = fetch(connection, pixmap, rect);
    return image.isNull() ? QByteArray() : png(image);
}
