#pragma once

#include <xcb/xcb.h>

#include <string>
#include <vector>

// The guard's hold on the display: passive grabs that catch the first key or click once the
// lock screen's grabs are gone, and, on taking over, a black window over every monitor with the
// keyboard and the pointer grabbed for it.
class Cover
{
public:
    Cover(xcb_connection_t* connection, xcb_screen_t* screen, std::string message);
    Cover(const Cover&) = delete;
    Cover& operator=(const Cover&) = delete;

    // Every key with any modifiers, and every button, grabbed on the root window in synchronous
    // mode: while another client holds the keyboard they never fire; once it is gone the next
    // press comes to the guard and the device waits for its decision. Of a key another program
    // has grabbed on the root window in some combination, only the combinations that type text
    // are taken.
    void holdPassiveGrabs();
    void dropPassiveGrabs();
    // Hands a press caught by a passive grab on as if the grab had not been there.
    void replay(uint8_t responseType, xcb_timestamp_t time);

    // Maps the cover and asks for both grabs; the answers are read by grabsHeld.
    void takeOver();
    // Asks again for a grab that is not held; true once both are.
    bool tryGrabs();
    bool grabsHeld() const { return m_keyboard && m_pointer; }
    bool isMapped() const { return m_mapped; }

    xcb_window_t window() const { return m_window; }
    void raise();
    void fitRoot(uint16_t width, uint16_t height);
    void draw();

    // Gives the keyboard and the pointer up and takes the cover away, once the X server has
    // carried that out.
    void release();

private:
    std::vector<xcb_rectangle_t> monitors() const;

    xcb_connection_t* m_connection;
    xcb_screen_t* m_screen;
    std::string m_message;
    xcb_window_t m_window = XCB_NONE;
    xcb_gcontext_t m_gc = XCB_NONE;
    xcb_font_t m_font = XCB_NONE;
    uint16_t m_characterWidth = 6;
    uint16_t m_ascent = 10;
    bool m_keyboard = false;
    bool m_pointer = false;
    bool m_mapped = false;
};
