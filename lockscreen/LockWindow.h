#pragma once

#include <QWidget>

// A window of the lock screen. Built at start-up and shown only while locked.
//
// Security: it bypasses the window manager (override-redirect) and stays on top, so that no
// managed window, panel or window-manager shortcut can place anything above it; the lock session
// adds the keyboard and pointer grabs.
class LockWindow : public QWidget
{
    Q_OBJECT
public:
    explicit LockWindow(QWidget* parent = nullptr);
    // An alpha channel, so that the clear background lets the desktop show under a compositing
    // manager; without one, the window is opaque again. The visual is chosen as the native
    // window is made, so this takes effect at the next lock (the native window is made anew at
    // every lock). Only for that background: such a window takes a few milliseconds longer to
    // map, which the grab would wait for.
    void setSeeThrough(bool seeThrough);
    // Gives the window's native window and its backing store (a whole screen of pixels, 33 MB at
    // 3840 x 2160) back while no lock is up; the next show makes them anew, under the cover.
    void releaseNativeWindow();
    // The view the lock screen's elements are placed in.
    QWidget* contentView() { return this; }

signals:
    // Elements placed from the bottom edge follow it when the window changes size.
    void resized();

protected:
    void resizeEvent(QResizeEvent* event) override;
};
