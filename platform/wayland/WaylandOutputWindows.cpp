#include "platform/wayland/WaylandOutputWindows.h"

#include <QCoreApplication>
#include <QEnterEvent>
#include <QGraphicsOpacityEffect>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

#include <algorithm>
#include <utility>

namespace {

// The widget and its parents up to its window, innermost first.
QList<QWidget*> chainOf(QWidget* widget)
{
    QList<QWidget*> chain;
    for (QWidget* w = widget; w; w = w->isWindow() ? nullptr : w->parentWidget())
        chain.append(w);
    return chain;
}

// Qt 6.4's QWidget::render draws a child whose opacity effect is fully opaque at twice its
// offset (the password field once faded in lands far from its place). Such an effect changes
// nothing, so it is off while a view is drawn: with enabled false, the effects found idle are
// switched off and returned; with true, the given ones are switched on again.
QList<QGraphicsEffect*> setIdleEffectsEnabled(QWidget* window,
                                              const QList<QGraphicsEffect*>& effects, bool enabled)
{
    if (enabled) {
        for (QGraphicsEffect* effect : effects)
            effect->setEnabled(true);
        return {};
    }
    QList<QGraphicsEffect*> idle;
    for (QWidget* child : window->findChildren<QWidget*>()) {
        auto* opacity = qobject_cast<QGraphicsOpacityEffect*>(child->graphicsEffect());
        if (opacity && opacity->isEnabled() && qFuzzyCompare(opacity->opacity(), 1.0) &&
            opacity->opacityMask().style() == Qt::NoBrush) {
            opacity->setEnabled(false);
            idle.append(opacity);
        }
    }
    return idle;
}

} // namespace

void WaylandOutputWindows::setKeyWindow(QWidget* window)
{
    if (m_keyWindow)
        m_keyWindow->removeEventFilter(this);
    m_keyWindow = window;
    if (window)
        window->installEventFilter(this);
    m_changed = true;
}

void WaylandOutputWindows::setWindows(const QList<QWidget*>& windows)
{
    for (const auto& window : std::as_const(m_windows)) {
        if (window && window != m_keyWindow)
            window->removeEventFilter(this);
    }
    m_windows.clear();
    for (QWidget* window : windows) {
        m_windows.append(window);
        window->installEventFilter(this);
    }
    m_changed = true;
}

bool WaylandOutputWindows::takeChanged()
{
    // A window's opacity changes without an event to it (the fade's last step among them).
    const bool faded = m_keyWindow && m_keyWindow->windowOpacity() != m_drawnOpacity;
    return std::exchange(m_changed, false) || faded;
}

bool WaylandOutputWindows::takeMoved()
{
    return std::exchange(m_moved, false);
}

bool WaylandOutputWindows::eventFilter(QObject* watched, QEvent* event)
{
    // Whatever changes in a window (a widget updated, shown, hidden, moved) asks Qt to paint
    // the window again, with one UpdateRequest to it; the views follow those and nothing else,
    // so an unchanged lock screen costs no drawing at all.
    if (m_holdingPaints && event->type() == QEvent::UpdateRequest) {
        auto* window = qobject_cast<QWidget*>(watched);
        if (window && window->isWindow() && window->testAttribute(Qt::WA_DontShowOnScreen)) {
            if (!m_heldPaints.contains(window))
                m_heldPaints.append(window);
            m_changed = true;
            return true;
        }
    }
    if (!m_drawing && (event->type() == QEvent::UpdateRequest || event->type() == QEvent::Show ||
                       event->type() == QEvent::Hide || event->type() == QEvent::Move ||
                       event->type() == QEvent::Resize))
        m_changed = true;
    // A window moving (the wrong-key nudge) is a picture that changes on every step.
    if (event->type() == QEvent::Move)
        m_moved = true;
    return QObject::eventFilter(watched, event);
}

void WaylandOutputWindows::holdBackingStorePaints(bool hold)
{
    if (hold == m_holdingPaints)
        return;
    m_holdingPaints = hold;
    // Every window's requests, those of windows not yet listed too (a further display's cover
    // is made while the lock screen is built).
    if (hold) {
        QCoreApplication::instance()->installEventFilter(this);
        return;
    }
    QCoreApplication::instance()->removeEventFilter(this);
    for (const auto& window : std::as_const(m_heldPaints)) {
        if (window)
            QCoreApplication::postEvent(window, new QEvent(QEvent::UpdateRequest),
                                        Qt::LowEventPriority);
    }
    m_heldPaints.clear();
}

int WaylandOutputWindows::matchingScreen(const WaylandOutputView& view,
                                         const QList<std::pair<QString, QRect>>& screens)
{
    if (!view.name.isEmpty()) {
        for (int index = 0; index < screens.size(); ++index) {
            if (screens.at(index).first == view.name)
                return index;
        }
        // wlroots compositors name every output and put each at 0,0 in wl_output's geometry:
        // where there is a name, the position says nothing.
        return -1;
    }
    for (int index = 0; index < screens.size(); ++index) {
        if (screens.at(index).second.topLeft() == view.position)
            return index;
    }
    return -1;
}

QRect WaylandOutputWindows::screenGeometry(const WaylandOutputView& view) const
{
    QList<std::pair<QString, QRect>> screens;
    for (const QScreen* screen : QGuiApplication::screens())
        screens.append({screen->name(), screen->geometry()});
    const int index = matchingScreen(view, screens);
    if (index >= 0)
        return screens.at(index).second;
    const QScreen* primary = QGuiApplication::primaryScreen();
    return primary ? primary->geometry() : QRect(QPoint(0, 0), view.size);
}

QWidget* WaylandOutputWindows::windowFor(const QRect& screen, const QWidget* above) const
{
    const QPoint centre = screen.center();
    auto window = m_windows.crbegin();
    if (above) {
        while (window != m_windows.crend() && *window != above)
            ++window;
        if (window == m_windows.crend())
            return nullptr;
        ++window;
    }
    for (; window != m_windows.crend(); ++window) {
        if (*window && (*window)->isVisible() && (*window)->geometry().contains(centre))
            return *window;
    }
    if (above)
        return nullptr;
    // Before the list is known (or once it is cleared) the primary lock window is all there is.
    if (m_keyWindow && m_keyWindow->geometry().contains(centre))
        return m_keyWindow;
    return nullptr;
}

QImage WaylandOutputWindows::picture(const WaylandOutputView& view)
{
    QImage image(view.pixelSize(), QImage::Format_RGB32);
    draw(view, image);
    return image;
}

std::optional<QColor> WaylandOutputWindows::plainColour(const WaylandOutputView& view) const
{
    const QRect screen = screenGeometry(view);
    const QWidget* window = windowFor(screen);
    const bool unseen = !window || screen.isEmpty() || window->windowOpacity() <= 0 ||
                        (m_keyWindow && m_keyWindow->windowOpacity() <= 0);
    return unseen ? std::optional<QColor>(m_coverColour) : std::nullopt;
}

bool WaylandOutputWindows::draw(const WaylandOutputView& view, QImage& picture)
{
    picture.fill(m_coverColour);
    const QRect screen = screenGeometry(view);
    QWidget* window = windowFor(screen);
    if (!window || screen.isEmpty())
        return false;
    // The opening fades the whole lock screen in over the cover, every output alike, as the
    // primary lock window fades; before it starts, the cover is all there is to draw.
    qreal opacity = window->windowOpacity();
    if (m_keyWindow) {
        m_drawnOpacity = m_keyWindow->windowOpacity();
        opacity = std::min(opacity, m_drawnOpacity);
    }
    if (opacity <= 0)
        return false;
    // Drawn, not grabbed and scaled: the widgets paint themselves onto an image of the output's
    // own pixels (device pixel ratio = scale, 1.5 as well as 2), so text and lines are as sharp
    // as the output shows, laid out at the logical size as the window is. Straight into the
    // picture where it has the screen's pixels and is opaque; else into an image of the
    // screen's pixels, then fitted and faded into the picture.
    const QSize pixels = WaylandOutputView::pixelsOf(screen.size(), view.scale);
    const bool straight = pixels == picture.size() && opacity >= 1;
    if (!straight && m_fading.size() != pixels)
        m_fading = QImage(pixels, QImage::Format_RGB32);
    QImage& part = straight ? picture : m_fading;
    if (!straight)
        part.fill(m_coverColour);
    part.setDevicePixelRatio(view.scale);
    // A window moved off its place (the wrong-key nudge) uncovers the window beneath it, as the
    // X server would show it: on the primary output the circuit picture, else a cover.
    if (!window->geometry().contains(screen)) {
        if (QWidget* beneath = windowFor(screen, window))
            drawWindow(part, beneath, screen);
    }
    drawWindow(part, window, screen);
    part.setDevicePixelRatio(1);
    if (straight)
        return true;
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, pixels != picture.size());
    painter.setOpacity(opacity);
    painter.drawImage(picture.rect(), part);
    return opacity >= 1;
}

void WaylandOutputWindows::drawWindow(QImage& part, QWidget* window, const QRect& screen)
{
    // The window's part of the screen, where the window is now: a window moved is drawn moved.
    const QRect shown = screen.intersected(window->geometry());
    const QPoint windowOrigin = window->geometry().topLeft();
    const QList<QGraphicsEffect*> idle = setIdleEffectsEnabled(window, {}, false);
    window->render(&part, shown.topLeft() - screen.topLeft(),
                   QRegion(shown.translated(-windowOrigin)));
    setIdleEffectsEnabled(window, idle, true);
    // Switching the effects asked for the window to be painted again, which is no change of
    // the view: the request is served now, unheard.
    m_drawing = true;
    QCoreApplication::sendPostedEvents(window, QEvent::UpdateRequest);
    m_drawing = false;
}

QWidget* WaylandOutputWindows::widgetAt(const QRect& screen, QPointF global) const
{
    QWidget* window = windowFor(screen);
    if (!window || !window->geometry().contains(global.toPoint()))
        return nullptr;
    QWidget* child = window->childAt(global.toPoint() - window->geometry().topLeft());
    return child ? child : window;
}

void WaylandOutputWindows::send(QWidget* target, QEvent::Type type, QPointF global, int button)
{
    QWidget* window = target->window();
    const QPointF inWindow = global - QPointF(window->geometry().topLeft());
    const QPointF local = target->mapFrom(window, inWindow);
    QMouseEvent event(type, local, inWindow, global, Qt::MouseButton(button), m_buttons,
                      Qt::NoModifier);
    // Qt hands the event on to the parents that want it, as it does with the server's clicks.
    QCoreApplication::sendEvent(target, &event);
}

void WaylandOutputWindows::hover(QWidget* widget, QPointF global)
{
    if (widget == m_hovered)
        return;
    const QList<QWidget*> left = chainOf(m_hovered);
    const QList<QWidget*> entered = chainOf(widget);
    for (QWidget* w : left) {
        if (entered.contains(w))
            continue;
        w->setAttribute(Qt::WA_UnderMouse, false);
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(w, &leave);
        if (w->testAttribute(Qt::WA_Hover)) {
            QHoverEvent hoverLeave(QEvent::HoverLeave, QPointF(-1, -1), global, QPointF());
            QCoreApplication::sendEvent(w, &hoverLeave);
        }
    }
    for (auto w = entered.crbegin(); w != entered.crend(); ++w) {
        if (left.contains(*w))
            continue;
        (*w)->setAttribute(Qt::WA_UnderMouse, true);
        const QPointF local = (*w)->mapFromGlobal(global);
        QEnterEvent enter(local, local, global);
        QCoreApplication::sendEvent(*w, &enter);
        if ((*w)->testAttribute(Qt::WA_Hover)) {
            QHoverEvent hoverEnter(QEvent::HoverEnter, local, global, QPointF(-1, -1));
            QCoreApplication::sendEvent(*w, &hoverEnter);
        }
        (*w)->update();
    }
    for (QWidget* w : left)
        w->update();
    m_hovered = widget;
}

void WaylandOutputWindows::pointer(WaylandSessionLock::PointerAction action,
                                   const WaylandOutputView& view, QPointF position, int button)
{
    using Action = WaylandSessionLock::PointerAction;
    if (action == Action::Leave) {
        if (!m_pressed)
            hover(nullptr, {});
        return;
    }
    const QRect screen = screenGeometry(view);
    if (view.size.isEmpty() || screen.isEmpty())
        return;
    // The lock surface's logical point on the matching screen (both normally the same size).
    const QPointF global(screen.x() + position.x() * screen.width() / view.size.width(),
                         screen.y() + position.y() * screen.height() / view.size.height());
    QWidget* under = widgetAt(screen, global);
    switch (action) {
    case Action::Motion:
        // While a button is held the widget it was pressed on follows the pointer, as under an
        // implicit grab.
        if (m_pressed) {
            send(m_pressed, QEvent::MouseMove, global, Qt::NoButton);
            return;
        }
        hover(under, global);
        if (under)
            send(under, QEvent::MouseMove, global, Qt::NoButton);
        return;
    case Action::Press:
        if (!m_pressed) {
            hover(under, global);
            m_pressed = under;
        }
        if (!m_pressed)
            return;
        m_buttons |= Qt::MouseButton(button);
        send(m_pressed, QEvent::MouseButtonPress, global, button);
        return;
    case Action::Release:
        m_buttons &= ~Qt::MouseButtons(Qt::MouseButton(button));
        if (m_pressed)
            send(m_pressed, QEvent::MouseButtonRelease, global, button);
        if (m_buttons == Qt::NoButton) {
            m_pressed = nullptr;
            hover(widgetAt(screen, global), global);
        }
        return;
    case Action::Leave:
        break;
    }
}

void WaylandOutputWindows::reset()
{
    m_pressed = nullptr;
    m_buttons = Qt::NoButton;
    hover(nullptr, {});
}
