#pragma once

#include "platform/ScreenShield.h"
#include "platform/wayland/WaylandOutputWindows.h"
#include "platform/wayland/WaylandSessionLock.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

// The lock screen held by a Wayland compositor (ext-session-lock-v1) instead of X grabs.
//
// Security: from the moment the compositor says `locked`, no other client gets a key or a click
// and no output shows anything but the lock surfaces; should this program die, the compositor
// keeps the session locked. "Holding the keyboard" here means the compositor's lock holds; the
// lock window's keys come from the lock surfaces and are delivered to it as key events, so the
// password path is the one X11 uses. The windows themselves are drawn off screen, each output's
// own at that output's scale, and shown through the lock surfaces; clicks on a lock surface reach
// the widget under the point of that output's window (WaylandOutputWindows).
class WaylandScreenShield final : public QObject, public ScreenShield
{
    Q_OBJECT
public:
    explicit WaylandScreenShield(QObject* parent = nullptr);

    // Locks held are noted, so that a Tessarine started after this one died takes them over.
    bool connectToCompositor() { return m_lock.connectToCompositor(true); }
    bool earlierLockLeftStanding() const { return m_lock.earlierLockLeftStanding(); }

    bool coverDisplays(const QColor& colour) override;
    void prepareWindow(QWidget* window) override;
    bool showsLockScreen() const override;
    bool makeKey(QWidget* window) override;
    bool grabPointer(QWidget* window) override;
    void releaseGrabs() override;
    // Held once the compositor has locked and the lock window is known to take the keys: the
    // compositor may say `locked` before the window is made key, which must happen all the same.
    bool holdsKeyboard() const override { return m_lock.isLocked() && m_keyWindow; }
    bool holdsPointer() const override { return m_lock.isLocked(); }
    bool refreshGrabs() override { return m_lock.isLocked(); }
    void onHoldLost(std::function<void()> callback) override { m_holdLost = std::move(callback); }
    void keepAbove(const QList<QWidget*>& windows) override;
    // The lock surfaces show the window's picture wherever the window is.
    bool showsWindowPlace() const override { return false; }

private:
    void startRepainting();
    void deliverKey(const QString& text, quint32 keysym, quint32 keycode, bool capsLock);

    WaylandSessionLock m_lock;
    WaylandOutputWindows m_windows;
    QPointer<QWidget> m_keyWindow;
    QTimer m_repaint;
    int m_quietTicks = 0;
    std::function<void()> m_holdLost;
};
