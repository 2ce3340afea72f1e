#pragma once

#include "platform/wayland/WaylandSessionLock.h"

#include <QEvent>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QWidget>

#include <utility>

// Which of the lock screen's windows each Wayland output shows, drawn at that output's scale,
// and the pointer's events on a lock surface handed to the widget under the point.
//
// Qt runs on XWayland, whose screens are the compositor's outputs: XWayland names each of its
// RandR outputs (and so each QScreen) after the Wayland output's name (wl_output version 4),
// which is the rule here; a compositor that names no output is matched by position, and failing
// both the primary screen stands in. The window shown on an output is, as on X11, the topmost of
// the lock screen's windows that covers the centre of that screen: the primary lock window on
// the primary screen, each further display's cover on its own.
//
// Security: pointer events reach only the lock screen's own widgets, as synthetic mouse events;
// nothing here types or submits a password, so no click can end the lock. Keys stay with the
// lock surfaces' keyboard.
class WaylandOutputWindows : public QObject
{
public:
    void setKeyWindow(QWidget* window);
    // The lock screen's windows, bottom to top (ScreenShield::keepAbove's list).
    void setWindows(const QList<QWidget*>& windows);
    // The output's view: size × scale pixels.
    QImage picture(const WaylandOutputView& view);
    // Whether any of the windows changed since the last call: the views need drawing again.
    bool takeChanged();
    // Whether any of the windows moved since the last call: it may still be moving.
    bool takeMoved();
    void pointer(WaylandSessionLock::PointerAction action, const WaylandOutputView& view,
                 QPointF position, int button);
    // The lock has ended: no widget is under a pointer of ours any more.
    void reset();

    // The rule above: the index of the output's screen among screens given by name and
    // geometry, or -1 where none matches (the primary screen then stands in).
    static int matchingScreen(const WaylandOutputView& view,
                              const QList<std::pair<QString, QRect>>& screens);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QRect screenGeometry(const WaylandOutputView& view) const;
    // The topmost visible window over the screen's centre; with above, the topmost beneath it.
    QWidget* windowFor(const QRect& screen, const QWidget* above = nullptr) const;
    void drawWindow(QImage& part, QWidget* window, const QRect& screen);
    QWidget* widgetAt(const QRect& screen, QPointF global) const;
    void send(QWidget* target, QEvent::Type type, QPointF global, int button);
    void hover(QWidget* widget, QPointF global);

    QPointer<QWidget> m_keyWindow;
    QList<QPointer<QWidget>> m_windows;
    QPointer<QWidget> m_hovered;
    QPointer<QWidget> m_pressed;
    Qt::MouseButtons m_buttons;
    bool m_changed = true;
    bool m_moved = false;
    bool m_drawing = false;
};
