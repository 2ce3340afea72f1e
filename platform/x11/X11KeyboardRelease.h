#pragma once

#include <QAbstractNativeEventFilter>
#include <QTimer>

#include <xcb/xcb.h>

// Lets go of the lock's keyboard grab only once no key is held down any more.
//
// Security: the key that completes the password is still down when the lock ends, and so may be
// a modifier typed with it. Were the grab let go at once, their releases would go to the window
// that has the focus on the desktop, telling that program which key ended the password. The grab
// is moved to the root window instead, where Qt delivers nothing, and let go when the last key
// comes up; after a second at most all the same, so that a stuck key cannot keep the keyboard.
class X11KeyboardRelease final : public QAbstractNativeEventFilter
{
public:
    static constexpr int longestWaitMs = 1000;

    explicit X11KeyboardRelease(xcb_connection_t* connection);
    ~X11KeyboardRelease() override;

    // Called while this connection holds the keyboard: lets go of it now or once the keys are up.
    void release();
    // A new grab of this connection replaces the grab still waiting for keys to come up.
    void cancel();
    bool waiting() const { return m_waiting; }

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    bool anyKeyDown() const;
    void finish();
    void stopWaiting();

    xcb_connection_t* m_connection;
    xcb_window_t m_root = XCB_NONE;
    bool m_waiting = false;
    QTimer m_longestWait;
};
