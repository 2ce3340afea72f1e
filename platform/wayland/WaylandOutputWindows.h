#pragma once

#include "platform/wayland/WaylandSessionLock.h"

#include <QColor>
#include <QEvent>
#include <QImage>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QWidget>

#include <optional>
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
    // What shows until the lock screen's windows are drawn, and beneath them while they fade in:
    // the colour of the picture behind them, as X11's cover.
    void setCoverColour(const QColor& colour) { m_coverColour = colour; }
    // Draws the output's view into `picture` (view.pixelSize() pixels, the scale whole or not);
    // true when it shows the lock screen whole, not the cover colour or a step of the fade.
    bool draw(const WaylandOutputView& view, QImage& picture);
    // The cover colour, where the output's view is that and nothing else now: no window of the
    // lock screen is there to draw yet, or the opening's fade has not begun.
    std::optional<QColor> plainColour(const WaylandOutputView& view) const;
    // The output's view as a picture of its own.
    QImage picture(const WaylandOutputView& view);
    // Qt paints each shown window into a backing store of its own, though these windows are
    // never on screen (WA_DontShowOnScreen): the whole lock window at the opening, which takes
    // longer than the compositor takes to configure the lock surfaces. Held, those paints wait
    // (the requests are kept, and posted again once let go), so that the cover is shown first.
    void holdBackingStorePaints(bool hold);
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
    QList<QPointer<QWidget>> m_heldPaints;
    bool m_holdingPaints = false;
    QPointer<QWidget> m_hovered;
    QPointer<QWidget> m_pressed;
    Qt::MouseButtons m_buttons;
    QColor m_coverColour = Qt::black;
    // Where a fading view is drawn before it is laid over the cover, kept from one frame to the
    // next (a new one would cost its pages again).
    QImage m_fading;
    qreal m_drawnOpacity = -1;
    bool m_changed = true;
    bool m_moved = false;
    bool m_drawing = false;
};
