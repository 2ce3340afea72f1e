#pragma once

#include <QList>

#include <functional>

class QColor;
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
    // What the X server answered to the last grab request: a grab that was taken away (the
    // window unmapped by another client, say) reads false once it has been noticed.
    virtual bool holdsKeyboard() const = 0;
    virtual bool holdsPointer() const = 0;
    // Asks the server again for every grab that is wanted and puts the windows back on top;
    // true when every wanted grab is held. Called on a slow timer while locked, since nothing
    // announces a grab that was lost to a window made unviewable behind our back.
    virtual bool refreshGrabs() = 0;
    // Called when a wanted grab was lost and could not be taken back at once.
    virtual void onHoldLost(std::function<void()> callback) = 0;
    // While the list is not empty, these windows, listed bottom to top, stay mapped and above
    // every other window: they are mapped and raised again whenever another client maps,
    // restacks, unmaps or destroys a window. An empty list stops watching.
    virtual void keepAbove(const QList<QWidget*>& windows) = 0;
    // Whether the lock window's place on the screen shows: false where its picture is shown
    // through something else (a Wayland compositor's lock surfaces), so that no slide can be
    // seen; its opacity shows either way.
    virtual bool showsWindowPlace() const { return true; }
    // Hides every display at once, in the colour given, before the lock screen is built; false
    // where the shield cannot, and the caller covers them itself (X11: windows of its own, see
    // LockCover).
    virtual bool coverDisplays(const QColor&) { return false; }
    // Called for each lock-screen window before it is first shown: a shield that shows the
    // windows' pictures itself keeps them off the display server.
    virtual void prepareWindow(QWidget*) {}
    // Where the shield shows the windows' pictures itself (showsWindowPlace() false): whether
    // every display shows the lock screen drawn whole now.
    virtual bool showsLockScreen() const { return false; }
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
