#include "guard/Cover.h"

#include <xcb/randr.h>

#include <array>
#include <cstdlib>
#include <memory>

namespace {

struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// Every mix of Shift, Lock, Mod2 (Num Lock) and Mod5 (AltGr, ISO level 3).
constexpr std::array<uint16_t, 16> typingModifiers = [] {
    constexpr uint16_t bits[] = {XCB_MOD_MASK_SHIFT, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                 XCB_MOD_MASK_5};
    std::array<uint16_t, 16> mixes{};
    for (unsigned mix = 0; mix < 16; ++mix) {
        for (unsigned bit = 0; bit < 4; ++bit) {
            if (mix & (1u << bit))
                mixes[mix] |= bits[bit];
        }
    }
    return mixes;
}();

constexpr uint16_t pointerEvents =
    XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION;

} // namespace

Cover::Cover(xcb_connection_t* connection, xcb_screen_t* screen, std::string message)
    : m_connection(connection), m_screen(screen), m_message(std::move(message))
{
    // Made now and mapped only on taking over, so that taking over is a few requests.
    m_window = xcb_generate_id(m_connection);
    const uint32_t values[] = {m_screen->black_pixel, 1,
                               XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_KEY_PRESS};
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, m_screen->root, 0, 0,
                      m_screen->width_in_pixels, m_screen->height_in_pixels, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, m_screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    const char name[] = "tessarine-guard";
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, sizeof(name) - 1, name);
    const char wmClass[] = "tessarine-guard\0tessarine-guard";
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_CLASS,
                        XCB_ATOM_STRING, 8, sizeof(wmClass), wmClass);

    // The server's own fixed font: no font files, no image decoding.
    m_font = xcb_generate_id(m_connection);
    const char fontName[] = "fixed";
    xcb_generic_error_t* error = xcb_request_check(
        m_connection, xcb_open_font_checked(m_connection, m_font, sizeof(fontName) - 1, fontName));
    if (error) {
        std::free(error);
        m_font = XCB_NONE;
    } else if (Reply<xcb_query_font_reply_t> font{xcb_query_font_reply(
                   m_connection, xcb_query_font(m_connection, m_font), nullptr)}) {
        m_characterWidth = uint16_t(font->max_bounds.character_width);
        m_ascent = uint16_t(font->font_ascent);
    }
    m_gc = xcb_generate_id(m_connection);
    const uint32_t gcValues[] = {m_screen->white_pixel, m_screen->black_pixel, m_font};
    xcb_create_gc(m_connection, m_gc, m_window,
                  XCB_GC_FOREGROUND | XCB_GC_BACKGROUND | (m_font ? XCB_GC_FONT : 0), gcValues);
}

void Cover::holdPassiveGrabs()
{
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    std::vector<std::pair<xcb_keycode_t, xcb_void_cookie_t>> requests;
    for (int code = setup->min_keycode; code <= setup->max_keycode; ++code) {
        const auto keycode = xcb_keycode_t(code);
        requests.emplace_back(
            keycode, xcb_grab_key_checked(m_connection, 0, m_screen->root, XCB_MOD_MASK_ANY,
                                          keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC));
    }
    for (const auto& [keycode, cookie] : requests) {
        xcb_generic_error_t* error = xcb_request_check(m_connection, cookie);
        if (!error)
            continue;
        std::free(error);
        // Some combination of this key is another client's (a shortcut of the window manager,
        // the lock's own hot key): the combinations that type text are taken one by one (Shift,
        // Caps Lock, Num Lock and AltGr in any mix), the errors of those another client holds
        // let go. All 256 would cost the server a scan of its grab list for each.
        for (uint16_t modifiers : typingModifiers)
            xcb_grab_key(m_connection, 0, m_screen->root, modifiers, keycode, XCB_GRAB_MODE_ASYNC,
                         XCB_GRAB_MODE_SYNC);
    }
    xcb_grab_button(m_connection, 0, m_screen->root, pointerEvents, XCB_GRAB_MODE_SYNC,
                    XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_BUTTON_INDEX_ANY,
                    XCB_MOD_MASK_ANY);
    xcb_flush(m_connection);
}

void Cover::dropPassiveGrabs()
{
    xcb_ungrab_key(m_connection, XCB_GRAB_ANY, m_screen->root, XCB_MOD_MASK_ANY);
    xcb_ungrab_button(m_connection, XCB_BUTTON_INDEX_ANY, m_screen->root, XCB_MOD_MASK_ANY);
    xcb_flush(m_connection);
}

void Cover::replay(uint8_t responseType, xcb_timestamp_t time)
{
    const bool key = responseType == XCB_KEY_PRESS || responseType == XCB_KEY_RELEASE;
    xcb_allow_events(m_connection, key ? XCB_ALLOW_REPLAY_KEYBOARD : XCB_ALLOW_REPLAY_POINTER,
                     time);
    xcb_flush(m_connection);
}

void Cover::takeOver()
{
    // The keyboard first, on the root window, which is always viewable: no wait for the map.
    // A grab by the press that woke us is turned into this one, and the device let go on.
    auto keyboard = xcb_grab_keyboard(m_connection, 0, m_screen->root, XCB_CURRENT_TIME,
                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_allow_events(m_connection, XCB_ALLOW_ASYNC_KEYBOARD, XCB_CURRENT_TIME);
    xcb_map_window(m_connection, m_window);
    raise();
    auto pointer = xcb_grab_pointer(m_connection, 0, m_window, pointerEvents, XCB_GRAB_MODE_ASYNC,
                                    XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
    xcb_allow_events(m_connection, XCB_ALLOW_ASYNC_POINTER, XCB_CURRENT_TIME);
    xcb_flush(m_connection);
    m_mapped = true;
    Reply<xcb_grab_keyboard_reply_t> keyboardReply{
        xcb_grab_keyboard_reply(m_connection, keyboard, nullptr)};
    m_keyboard = keyboardReply && keyboardReply->status == XCB_GRAB_STATUS_SUCCESS;
    Reply<xcb_grab_pointer_reply_t> pointerReply{
        xcb_grab_pointer_reply(m_connection, pointer, nullptr)};
    m_pointer = pointerReply && pointerReply->status == XCB_GRAB_STATUS_SUCCESS;
}

bool Cover::tryGrabs()
{
    if (!m_keyboard) {
        Reply<xcb_grab_keyboard_reply_t> reply{xcb_grab_keyboard_reply(
            m_connection,
            xcb_grab_keyboard(m_connection, 0, m_screen->root, XCB_CURRENT_TIME,
                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
            nullptr)};
        m_keyboard = reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    }
    if (!m_pointer) {
        Reply<xcb_grab_pointer_reply_t> reply{xcb_grab_pointer_reply(
            m_connection,
            xcb_grab_pointer(m_connection, 0, m_window, pointerEvents, XCB_GRAB_MODE_ASYNC,
                             XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
            nullptr)};
        m_pointer = reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
    }
    return grabsHeld();
}

void Cover::raise()
{
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(m_connection, m_window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(m_connection);
}

void Cover::fitRoot(uint16_t width, uint16_t height)
{
    const uint32_t size[] = {0, 0, width, height};
    xcb_configure_window(m_connection, m_window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         size);
    xcb_clear_area(m_connection, 1, m_window, 0, 0, 0, 0);
    xcb_flush(m_connection);
}

std::vector<xcb_rectangle_t> Cover::monitors() const
{
    std::vector<xcb_rectangle_t> rectangles;
    const xcb_query_extension_reply_t* randr = xcb_get_extension_data(m_connection, &xcb_randr_id);
    if (randr && randr->present) {
        Reply<xcb_randr_get_monitors_reply_t> reply{xcb_randr_get_monitors_reply(
            m_connection, xcb_randr_get_monitors(m_connection, m_screen->root, 1), nullptr)};
        if (reply) {
            for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
                 xcb_randr_monitor_info_next(&it))
                rectangles.push_back({it.data->x, it.data->y, it.data->width, it.data->height});
        }
    }
    if (rectangles.empty())
        rectangles.push_back({0, 0, m_screen->width_in_pixels, m_screen->height_in_pixels});
    return rectangles;
}

void Cover::draw()
{
    if (!m_font || !m_mapped)
        return;
    // One line in the middle of each monitor.
    const auto length = uint8_t(m_message.size() > 255 ? 255 : m_message.size());
    for (const xcb_rectangle_t& monitor : monitors()) {
        const int x = monitor.x + (monitor.width - length * m_characterWidth) / 2;
        const int y = monitor.y + monitor.height / 2 + m_ascent / 2;
        xcb_image_text_8(m_connection, length, m_window, m_gc, int16_t(x), int16_t(y),
                         m_message.c_str());
    }
    xcb_flush(m_connection);
}

void Cover::release()
{
    xcb_ungrab_pointer(m_connection, XCB_CURRENT_TIME);
    xcb_ungrab_keyboard(m_connection, XCB_CURRENT_TIME);
    xcb_unmap_window(m_connection, m_window);
    m_keyboard = m_pointer = m_mapped = false;
    // A round trip: everything above has been carried out when its answer comes.
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}
