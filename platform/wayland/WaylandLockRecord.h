#pragma once

#include <QByteArray>
#include <QString>

// The note, in $XDG_RUNTIME_DIR, that a lock of this program's is held by the session's
// compositor: written when the compositor says `locked`, removed after the password (or when the
// compositor ends the lock). Should Tessarine die while locked, the compositor keeps the session
// locked and blank; a Tessarine started again reads the note and takes the lock over at once, so
// that the user sees the lock screen and can type the password.
//
// Security: the note can only make a starting Tessarine lock, which any program of the user's
// may ask for anyway; a note removed or changed by another program only costs the restarted
// Tessarine its lock at start, while the compositor still holds the session locked (the way out
// then is `tessarine lock`). It is believed only for the very compositor it names (its process
// id and start time, from the connection's socket), and only when the Tessarine it names no
// longer runs, so a note left by a compositor that has since ended, or by a Tessarine that
// still runs, locks nothing. $XDG_RUNTIME_DIR is emptied at every boot.
class WaylandLockRecord
{
public:
    // For the compositor at the other end of a Wayland connection's socket.
    explicit WaylandLockRecord(int displaySocket);

    // The compositor holds our lock.
    void writeHeld() const;
    // The lock ended: nothing is left standing.
    void remove() const;
    // A lock of an earlier Tessarine that no longer runs is held by this compositor.
    bool leftStanding() const;

    // $XDG_RUNTIME_DIR/tessarine-wayland-lock-<display>, the display's name with anything but
    // letters, digits, '.' and '-' made '_'; empty without XDG_RUNTIME_DIR.
    static QString path();

private:
    QString m_path;
    // "<pid>@<start time>" of the compositor; empty when it cannot be known (no note is then kept).
    QByteArray m_compositor;
};
