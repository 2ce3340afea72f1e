#pragma once

#include <QList>

class QWidget;

// What keeps a lock screen in front: the keyboard and pointer grabs, raising, and watching for
// windows that appear above it.
//
// Security: while the keyboard is grabbed no other client receives a key, so no shortcut of the
// window manager or of another program can act; while the pointer is grabbed no click reaches
// another window. The grabs are held by the connection that draws the lock windows, so its keys
// arrive as ordinary key events.
class ScreenShield
{
public:
    virtual ~ScreenShield() = default;
    // Raises the window above every other, gives it the input focus and grabs the keyboard for it.
    // Returns false when another client holds the keyboard.
    virtual bool makeKey(QWidget* window) = 0;
    virtual bool grabPointer(QWidget* window) = 0;
    virtual void releaseGrabs() = 0;
    virtual bool holdsKeyboard() const = 0;
    virtual bool holdsPointer() const = 0;
    // While the list is not empty, these windows are raised again whenever another window is
    // mapped or restacked above them. An empty list stops watching.
    virtual void keepAbove(const QList<QWidget*>& windows) = 0;
};

// Synthetic pointer input.
class PointerInjector
{
public:
    virtual ~PointerInjector() = default;
    // A left-button press at the top-left corner of the primary display, then the pointer moved
    // back where it was. The press is remembered so that it can be let go.
    virtual void clickTopLeftAndMoveBack() = 0;
    // Lets go of a button pressed by clickTopLeftAndMoveBack, so that no button stays logically
    // pressed once the lock has ended.
    virtual void releasePressedButton() = 0;
};
