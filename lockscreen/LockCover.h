#pragma once

#include <QColor>
#include <QList>
#include <QRect>

#include <memory>
#include <vector>

class QWidget;

// A plain cover over every display, up the moment a lock is asked for, while the lock screen is
// still being built (a large picture decoded, the music player asked). The lock windows open
// above it: the part of a display a sliding window has not reached yet, or a window still fading
// in, shows the cover, never the desktop.
//
// Security: each cover is an override-redirect window whose colour is the X server's own window
// background, painted by the server as the window is mapped. No paint of this program has to
// happen before the desktop is hidden, so nothing slow on the way can delay it. The covers have
// no backing store of their own and cost no memory beyond the server's window.
class LockCover
{
public:
    LockCover();
    ~LockCover();

    // Covers each of the screens with the colour, and sends the requests to the server at once.
    void show(const QList<QRect>& screens, const QColor& colour);
    void hide();
    bool isShown() const { return !m_windows.empty(); }
    QList<QWidget*> windows() const;

    // Whether every window is on the screen with its final pixels: each one shown and exposed is
    // painted now and the X server has drawn it by the time this returns true.
    static bool drawn(const QList<QWidget*>& windows);

private:
    std::vector<std::unique_ptr<QWidget>> m_windows;
};
