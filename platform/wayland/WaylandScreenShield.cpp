#include "platform/wayland/WaylandScreenShield.h"

#include "platform/KeyTranslation.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWindow>

#include <xkbcommon/xkbcommon-keysyms.h>

namespace {

// The Qt key of a keysym, for the keys the lock window looks at by their Qt name (modifiers,
// Return, Caps Lock, the media keys the player obeys while locked); any other key is told by its
// text and keysym.
int qtKeyOf(quint32 keysym, const QString& text)
{
    switch (keysym) {
    case XKB_KEY_Shift_L:
    case XKB_KEY_Shift_R:
        return Qt::Key_Shift;
    case XKB_KEY_Control_L:
    case XKB_KEY_Control_R:
        return Qt::Key_Control;
    case XKB_KEY_Alt_L:
    case XKB_KEY_Alt_R:
        return Qt::Key_Alt;
    case XKB_KEY_Super_L:
        return Qt::Key_Super_L;
    case XKB_KEY_Super_R:
        return Qt::Key_Super_R;
    case XKB_KEY_Caps_Lock:
        return Qt::Key_CapsLock;
    case XKB_KEY_ISO_Level3_Shift:
        return Qt::Key_AltGr;
    case XKB_KEY_Return:
    case XKB_KEY_KP_Enter:
        return Qt::Key_Return;
    case XKB_KEY_BackSpace:
        return Qt::Key_Backspace;
    case XKB_KEY_Escape:
        return Qt::Key_Escape;
    case XKB_KEY_XF86AudioPlay:
        return Qt::Key_MediaPlay;
    case XKB_KEY_XF86AudioPause:
        return Qt::Key_MediaPause;
    case XKB_KEY_XF86AudioNext:
        return Qt::Key_MediaNext;
    case XKB_KEY_XF86AudioPrev:
        return Qt::Key_MediaPrevious;
    default:
        return text.size() == 1 ? int(text.at(0).toUpper().unicode()) : int(Qt::Key_unknown);
    }
}

} // namespace

WaylandScreenShield::WaylandScreenShield(QObject* parent) : QObject(parent)
{
    m_lock.setPainter(
        {[this](const WaylandOutputView& view) { return m_windows.plainColour(view); },
         [this](const WaylandOutputView& view, QImage& picture) {
             return m_windows.draw(view, picture);
         }});
    connect(&m_lock, &WaylandSessionLock::keyPressed, this, &WaylandScreenShield::deliverKey);
    connect(&m_lock, &WaylandSessionLock::pointerEvent, this,
            [this](WaylandSessionLock::PointerAction action, const WaylandOutputView& view,
                   QPointF position,
                   int button) { m_windows.pointer(action, view, position, button); });
    connect(&m_lock, &WaylandSessionLock::finished, this, [this] {
        m_lock.holdKeys(false);
        m_windows.holdBackingStorePaints(false);
        m_repaint.stop();
        m_windows.reset();
        if (m_holdLost)
            m_holdLost();
    });
    // The clock, the battery and the password field change while locked: the lock surfaces show
    // the windows as they are now, up to ten times a second, drawn again only when one of them
    // changed (drawing every output at scale 2 takes the better part of 100 ms on a slow
    // machine, and keys wait meanwhile), and every five seconds all the same.
    m_repaint.setInterval(100);
    connect(&m_repaint, &QTimer::timeout, this, [this] {
        // More often, and every time, while the opening fades in (0.4 s) and while a window
        // moves (the wrong-key nudge, 0.2 s), so that either is seen as a movement; the tick
        // after the last step draws the window back in its place.
        const bool fading = m_keyWindow && m_keyWindow->windowOpacity() < 1;
        const bool moving = m_windows.takeMoved();
        m_repaint.setInterval(fading || moving ? 40 : 100);
        if (fading || moving || m_windows.takeChanged() || m_lock.owesPictures() ||
            ++m_quietTicks >= 50) {
            m_quietTicks = 0;
            m_lock.repaint();
        }
    });
    // The lock holds a moment after it is asked for, when no caller may ask again (the lock
    // screen's retry finds it held and asks nothing more): the refreshing starts then.
    connect(&m_lock, &WaylandSessionLock::locked, this, [this] {
        // The compositor has configured the lock surfaces (they show the cover): Qt's own
        // painting of the windows may go on.
        m_windows.holdBackingStorePaints(false);
        if (!m_repaint.isActive()) {
            m_lock.repaint();
            startRepainting();
        }
    });
}

bool WaylandScreenShield::coverDisplays(const QColor& colour)
{
    // Security: the compositor hides every output the moment it reads the request, before the
    // lock screen is built; the lock surfaces show the cover's colour until it is.
    m_windows.setCoverColour(colour);
    if (!m_lock.isConnected())
        return false;
    // Security: the last lock's windows are forgotten, so that nothing of them (the password
    // field as it was left) is drawn before this lock's windows are given: the cover until then.
    m_windows.setKeyWindow(nullptr);
    m_windows.setWindows({});
    // Qt's paints of the windows wait until the compositor answers (a compositor that does not,
    // or refuses, holds nothing back for longer than a moment).
    m_windows.holdBackingStorePaints(true);
    QTimer::singleShot(250, this, [this] { m_windows.holdBackingStorePaints(false); });
    // Keys typed from here on wait for the lock window (makeKey).
    m_lock.holdKeys(true);
    m_lock.lock();
    // The answer is read at once rather than after the lock screen is built, so that each
    // output shows the cover at the compositor's next frame; and the lock screen is built only
    // once the compositor has shown it (a frame or two), so that building it, the better part of
    // a core for 10 to 20 ms, does not hold the compositor back from that frame.
    m_lock.awaitCover(std::chrono::milliseconds(50));
    return true;
}

void WaylandScreenShield::prepareWindow(QWidget* window)
{
    // Shown only through the lock surfaces: on XWayland it would be drawn for nobody, and the
    // compositor shows nothing of XWayland while locked.
    window->setAttribute(Qt::WA_DontShowOnScreen);
}

bool WaylandScreenShield::showsLockScreen() const
{
    return m_lock.showsLockScreen();
}

bool WaylandScreenShield::makeKey(QWidget* window)
{
    m_keyWindow = window;
    m_windows.setKeyWindow(window);
    // The keys typed while the lock screen was built come now, in their order.
    m_lock.holdKeys(false);
    // Asked once; until the compositor says `locked` the caller's retries find it not held yet.
    m_lock.lock();
    if (m_lock.isLocked() && !m_repaint.isActive()) {
        m_lock.repaint();
        startRepainting();
    }
    return m_lock.isLocked();
}

void WaylandScreenShield::startRepainting()
{
    // The opening's first steps come at the fade's pace from the start.
    const bool fading = m_keyWindow && m_keyWindow->windowOpacity() < 1;
    m_repaint.start(fading ? 40 : 100);
}

bool WaylandScreenShield::grabPointer(QWidget*)
{
    return m_lock.isLocked();
}

void WaylandScreenShield::releaseGrabs()
{
    m_keyWindow = nullptr;
    m_lock.holdKeys(false);
    m_windows.holdBackingStorePaints(false);
    m_repaint.stop();
    m_windows.reset();
    m_lock.unlock();
}

void WaylandScreenShield::keepAbove(const QList<QWidget*>& windows)
{
    // Nothing can be above a lock surface; the list tells which window each output shows.
    m_windows.setWindows(windows);
}

void WaylandScreenShield::deliverKey(const QString& text, quint32 keysym, quint32 keycode,
                                     bool capsLock)
{
    // The press may end the lock (the password's last key), which lets the window go.
    const QPointer<QWidget> window = m_keyWindow;
    if (!window)
        return;
    // Caps Lock from the seat's xkb state, where the key translation reads it in every key event.
    const quint32 modifiers = capsLock ? KeyTranslation::capsLockNativeModifier : 0;
    const int key = qtKeyOf(keysym, text);
    // To the window's platform window, as the X server's keys come: the application's own look
    // at every key (the media keys) happens there, and the window's focus widget gets the key.
    const auto receiver = [&window]() -> QObject* {
        return window->windowHandle() ? static_cast<QObject*>(window->windowHandle())
                                      : static_cast<QObject*>(window.data());
    };
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, keycode, keysym, modifiers, text);
    QCoreApplication::sendEvent(receiver(), &press);
    if (!window)
        return;
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, keycode, keysym, modifiers, text);
    QCoreApplication::sendEvent(receiver(), &release);
}
