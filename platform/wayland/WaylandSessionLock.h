#pragma once

#include <QColor>
#include <QImage>
#include <QObject>
#include <QPoint>
#include <QPointF>
#include <QSize>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

// A lock of a Wayland session through the compositor (the ext-session-lock-v1 protocol), on a
// Wayland connection of its own: the compositor hides every output the moment the lock is asked
// for and keeps the session locked, blanked, until unlock() after the password, even when this
// program dies (a restarted Tessarine may then take the lock over).
//
// One output as the compositor describes it: enough to tell which of the program's screens it
// is and how to draw for it.
struct WaylandOutputView
{
    // The registry's name of the wl_output global: the same output while it stays.
    quint32 id = 0;
    // wl_output's name (version 4: "HEADLESS-1", "DP-2"); empty from older compositors.
    QString name;
    // Its top-left corner in the compositor's global space.
    QPoint position;
    // The lock surface's size as configured, in the compositor's logical pixels.
    QSize size;
    // The scale the picture is drawn at: wl_output's whole one, or the fractional one the
    // compositor prefers for the lock surface (1.5 on a laptop shown at 150 %).
    qreal scale = 1;

    // The picture's pixels: size × scale, halves rounded up, as the compositor rounds them.
    QSize pixelSize() const { return pixelsOf(size, scale); }
    static QSize pixelsOf(QSize logical, qreal scale)
    {
        // Counted in 120ths, as the compositor gives fractional scales, so that a half pixel
        // (1365 × 1.5) is not lost to the floating point.
        const qint64 parts = qRound64(scale * 120);
        const auto pixels = [parts](int length) { return int((length * parts + 60) / 120); };
        return logical.isEmpty() ? QSize()
                                 : QSize(pixels(logical.width()), pixels(logical.height()));
    }
};

// Each output gets a lock surface; when the compositor gives it a size, the painter is asked for
// a picture of that output, size × scale pixels, which is shown there at the output's scale:
// where the compositor offers fractional scales (wp-fractional-scale-v1 with wp-viewporter), at
// the scale it prefers for that surface, else at wl_output's whole scale.
// Keys reach only the lock surfaces: each pressed key is reported with the text it types, read
// through xkbcommon with the compositor's keymap. Pointer events on a lock surface are reported
// with its output and the point in the surface's logical coordinates.
class WaylandSessionLock : public QObject
{
    Q_OBJECT
public:
    struct Painter
    {
        // The one colour an output shows now, when it shows nothing else (the cover, before the
        // lock screen is drawn): a single pixel the compositor stretches over the output, with
        // nothing to draw. Empty when there is a picture to draw, or no function.
        std::function<std::optional<QColor>(const WaylandOutputView& view)> plainColour;
        // Draws the picture of one output into `picture` (view.pixelSize() pixels, in the buffer
        // the compositor will read); true when it shows the lock screen whole, not a cover
        // colour or a step of the opening's fade.
        std::function<bool(const WaylandOutputView& view, QImage& picture)> draw;
    };
    enum class PointerAction
    {
        Motion,
        Press,
        Release,
        Leave
    };

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
    // Right after lock(): handles the compositor's answer here and now, for at most `limit`,
    // until it has said `locked`, configured every lock surface (each answered with the cover)
    // and shown each one's first picture, or refused. False when that did not come in time; the
    // event loop reads the rest.
    bool awaitCover(std::chrono::milliseconds limit);
    // While held, the keys typed on the lock surfaces wait, in their order, and are reported once
    // let go (at the event loop's next turn): nobody loses a key typed before the lock window
    // takes them.
    void holdKeys(bool held);
    // Only after the password: the compositor shows the session again.
    void unlock();
    bool isLocked() const;
    // Paints every output again (the picture changed).
    void repaint();
    // A picture was left undrawn while the compositor still read every buffer of its output.
    bool owesPictures() const;
    // Locked, and every output shows the lock screen drawn whole.
    bool showsLockScreen() const;
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
    // The pointer on the lock surface of that output: moved (or come in), a button pressed or
    // released (Qt's button), or gone from the surface.
    void pointerEvent(WaylandSessionLock::PointerAction action, const WaylandOutputView& view,
                      QPointF position, int button);

private:
    struct State;
    std::unique_ptr<State> m;
};
