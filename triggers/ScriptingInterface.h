#pragma once

#include <QDBusContext>
#include <QObject>

class AppDelegate;

// What other programs may ask of Tessarine, on the session bus: set `lock` to 1 to lock, set
// `mail` to report the unread-mail count. Reading either answers 1; reading `mail` also marks the
// display brightness as touched from outside.
//
// Security: anything that can talk to the user's session bus can lock the screen this way, as
// the user's own scripts and an ssh login of the same user are meant to; nothing in this
// interface unlocks, and mail and lock are the only properties on the bus. Of the two methods,
// lockScreen locks as a write of `lock` does and says whether the lock holds the input, and
// WaitUntilShown only answers late: once the lock screen shows on every display (at once when
// no lock is active), for a caller that holds the machine's sleep back until then (xss-lock's
// --transfer-sleep-lock hands its sleep inhibitor to `tessarine lock`).
class ScriptingInterface : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.tessarine.Tessarine")
    Q_PROPERTY(int mail READ mail WRITE setMail)
    Q_PROPERTY(int lock READ lock WRITE setLock)
    // QtDBus finds a property by name up the class chain, so QObject's objectName could be read
    // and written over the bus as well: shadowed here, read-only and not scriptable, it is left
    // out of what is exported (only the scriptable properties are).
    Q_PROPERTY(QString objectName READ objectName SCRIPTABLE false)
public:
    static constexpr const char* serviceName = "org.tessarine.Tessarine";
    static constexpr const char* objectPath = "/org/tessarine/Tessarine";
    static constexpr const char* interfaceName = "org.tessarine.Tessarine";
    static constexpr const char* inputHeldElsewhereError = "org.tessarine.Tessarine.InputHeld";
    static constexpr const char* inputHeldElsewhereMessage =
        "the screen is covered, but another program holds the keyboard or the pointer; the lock "
        "takes them as soon as that program lets go";

    explicit ScriptingInterface(AppDelegate& delegate, QObject* parent = nullptr);

    int mail();
    void setMail(int count);
    int lock() const { return 1; }
    void setLock(int value);

public slots:
    // `tessarine lock`: locks like a write of 1 to `lock`, and answers with an error when the
    // screen is covered but another program holds the keyboard or the pointer.
    Q_SCRIPTABLE void lockScreen();
    Q_SCRIPTABLE void WaitUntilShown();

signals:
    // An unread-mail count reported from outside, for the mail badge.
    void mailReported(int count);

private:
    AppDelegate& m_delegate;
};
