#pragma once

#include <QObject>

class AppDelegate;
class QDBusConnection;
class QDBusMessage;
class QVariant;

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
//
// The bus's requests reach it through ScriptingBusObject, which answers the property calls
// itself: only `mail` and `lock` exist there, whatever else this QObject has.
class ScriptingInterface : public QObject
{
    Q_OBJECT
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

    // `tessarine lock`: locks like a write of 1 to `lock`, and answers the call with an error
    // when the screen is covered but another program holds the keyboard or the pointer.
    void lockScreen(const QDBusConnection& bus, const QDBusMessage& call);
    void waitUntilShown(const QDBusConnection& bus, const QDBusMessage& call);

    // A value sent for a property, as a number in a script is read through its integer value:
    // integers as they are (beyond 32 bits held at the nearest end), a real cut toward zero, a
    // string read as far as it is a decimal integer ("3 mails" is 3, "one" is 0), a boolean as
    // 1 or 0, a variant for what it holds, anything else 0.
    static int intValue(const QVariant& value);

signals:
    // An unread-mail count reported from outside, for the mail badge.
    void mailReported(int count);

private:
    AppDelegate& m_delegate;
};
