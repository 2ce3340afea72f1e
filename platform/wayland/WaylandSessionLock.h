#pragma once

#include <QImage>
#include <QObject>
#include <QSize>
#include <QString>

#include <functional>
#include <memory>

// A lock of a Wayland session through the compositor (the ext-session-lock-v1 protocol), on a
// Wayland connection of its own: the compositor hides every output the moment the lock is asked
// for and keeps the session locked, blanked, until unlock() after the password, even when this
// program dies (a restarted Tessarine may then take the lock over).
//
// Each output gets a lock surface; when the compositor gives it a size, the painter is asked for
// a picture of that size, which is shown there. Keys reach only the lock surfaces: each pressed
// key is reported with the text it types, read through xkbcommon with the compositor's keymap.
class WaylandSessionLock : public QObject
{
    Q_OBJECT
public:
    // A picture for one output of the given size in pixels.
    using Painter = std::function<QImage(QSize)>;

    explicit WaylandSessionLock(QObject* parent = nullptr);
    ~WaylandSessionLock() override;

    // Connects to the session's compositor (WAYLAND_DISPLAY); false when there is none, or it
    // does not offer the protocol. With keepRecord, a lock the compositor holds is noted in
    // $XDG_RUNTIME_DIR until it ends (WaylandLockRecord), for a Tessarine started after this one
    // died while locked.
    bool connectToCompositor(bool keepRecord = false);
    bool isConnected() const;
    void setPainter(Painter painter);
    // Asks the compositor to lock; locked() or finished() follows.
    void lock();
    // Only after the password: the compositor shows the session again.
    void unlock();
    bool isLocked() const;
    // Paints every output again (the picture changed).
    void repaint();
    int outputCount() const;
    // The compositor still holds the lock of an earlier Tessarine that died while locked.
    bool earlierLockLeftStanding() const;

signals:
    // Every output is hidden; the compositor holds the session locked from now on.
    void locked();
    // The compositor refused the lock (another locker holds it) or ended it.
    void finished();
    // A key pressed on a lock surface: the text it types (composing is the receiver's), its
    // keysym and X key code, and whether Caps Lock is on.
    void keyPressed(const QString& text, quint32 keysym, quint32 keycode, bool capsLock);

private:
    struct State;
    std::unique_ptr<State> m;
};
