#pragma once

#include <QImage>

#include <cstdint>
#include <map>

struct wl_buffer;
struct wl_compositor;
struct wl_cursor_theme;
struct wl_pointer;
struct wl_shm;
struct wl_surface;

// The arrow shown where the pointer is over a lock surface. A lock surface that sets no cursor
// leaves the compositor to show whatever it had, often nothing, and the user would click the
// lock screen's buttons blind. The arrow is the cursor theme's (XCURSOR_THEME, XCURSOR_SIZE,
// 24 pixels by default, as every client reads them), "default" or else "left_ptr", loaded at
// the output's integer scale; where the theme has neither, an arrow drawn here stands in.
class WaylandLockCursor
{
public:
    // Either may be null: the compositor's cursor is then left as it is.
    WaylandLockCursor(wl_compositor* compositor, wl_shm* shm);
    ~WaylandLockCursor();
    WaylandLockCursor(const WaylandLockCursor&) = delete;
    WaylandLockCursor& operator=(const WaylandLockCursor&) = delete;

    // The pointer has just entered a surface (the serial of that enter) on an output of that
    // integer scale.
    void show(wl_pointer* pointer, uint32_t serial, int scale);

    // The arrow drawn here, pixels × pixels, its hotspot at the top-left pixel: black with a
    // white edge, so that it shows on any lock screen.
    static QImage drawnArrow(int pixels);
    // XCURSOR_SIZE when it is a sensible size, else 24.
    static int themeSize();

private:
    struct Picture
    {
        wl_buffer* buffer = nullptr;
        int width = 0;
        int height = 0;
        int hotspotX = 0;
        int hotspotY = 0;
    };
    Picture themed(int scale);
    Picture drawn(int scale);

    wl_shm* m_shm = nullptr;
    wl_surface* m_surface = nullptr;
    // Per scale: the theme loaded at that size (null where it could not be), and our own arrow.
    std::map<int, wl_cursor_theme*> m_themes;
    std::map<int, Picture> m_drawn;
};
