#include "platform/wayland/WaylandScreenShield.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPainter>

#include <xkbcommon/xkbcommon-keysyms.h>

namespace {

// The Qt key of a keysym, for the keys the lock window looks at by their Qt name (modifiers,
// Return, Caps Lock); any other key is told by its text and keysym.
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
    default:
        return text.size() == 1 ? int(text.at(0).toUpper().unicode()) : int(Qt::Key_unknown);
    }
}

} // namespace

WaylandScreenShield::WaylandScreenShield(QObject* parent) : QObject(parent)
{
    m_lock.setPainter([this](QSize size) { return picture(size); });
    connect(&m_lock, &WaylandSessionLock::keyPressed, this, &WaylandScreenShield::deliverKey);
    // `locked` comes after makeKey has returned, and the caller's retries only ask whether the
    // lock holds: the repainting starts here, or the lock surfaces would keep their first picture.
    connect(&m_lock, &WaylandSessionLock::locked, this, [this] {
        if (m_keyWindow && !m_repaint.isActive()) {
            m_lock.repaint();
            m_repaint.start();
        }
    });
    connect(&m_lock, &WaylandSessionLock::finished, this, [this] {
        m_repaint.stop();
        if (m_holdLost)
            m_holdLost();
    });
    // The clock, the battery and the password field change while locked: the lock surfaces show
    // the window as it is now, a few times a second.
    m_repaint.setInterval(100);
    connect(&m_repaint, &QTimer::timeout, this, [this] {
        // More often while the opening fades in (0.4 s), so that the fade is seen as one.
        m_repaint.setInterval(m_keyWindow && m_keyWindow->windowOpacity() < 1 ? 40 : 100);
        m_lock.repaint();
    });
}

bool WaylandScreenShield::makeKey(QWidget* window)
{
    m_keyWindow = window;
    // Asked once; until the compositor says `locked` the caller's retries find it not held yet.
    m_lock.lock();
    if (m_lock.isLocked() && !m_repaint.isActive()) {
        m_lock.repaint();
        m_repaint.start();
    }
    return m_lock.isLocked();
}

bool WaylandScreenShield::grabPointer(QWidget*)
{
    return m_lock.isLocked();
}

void WaylandScreenShield::releaseGrabs()
{
    m_repaint.stop();
    m_lock.unlock();
}

void WaylandScreenShield::keepAbove(const QList<QWidget*>&)
{
    // Nothing can be above a lock surface.
}

QImage WaylandScreenShield::picture(QSize size) const
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::black);
    if (m_keyWindow) {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        // The opening fades the lock screen in over the blank outputs.
        painter.setOpacity(m_keyWindow->windowOpacity());
        painter.drawPixmap(image.rect(), m_keyWindow->grab());
    }
    return image;
}

void WaylandScreenShield::deliverKey(const QString& text, quint32 keysym, quint32 keycode,
                                     bool capsLock)
{
    if (!m_keyWindow)
        return;
    // X's Lock modifier bit, as the key translation reads it from an X key event.
    const quint32 modifiers = capsLock ? 0x2 : 0;
    const int key = qtKeyOf(keysym, text);
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier, keycode, keysym, modifiers, text);
    QCoreApplication::sendEvent(m_keyWindow, &press);
    QKeyEvent release(QEvent::KeyRelease, key, Qt::NoModifier, keycode, keysym, modifiers, text);
    QCoreApplication::sendEvent(m_keyWindow, &release);
}
