#pragma once

#include <QObject>
#include <QString>

// Counts of the program's own insides, for the soak test that locks and unlocks a thousand times
// and must see nothing pile up. Qt offers no outside view of its objects and timers, so the
// program counts them itself, and only when asked: with TESSARINE_DIAGNOSTICS=1 in its
// environment it follows every QObject made and destroyed (through the hooks Qt keeps for
// debugging tools) and answers Counts() on the session bus, at /org/tessarine/Tessarine/
// Diagnostics. Without the variable nothing is followed and nothing is exported.
class Diagnostics : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.tessarine.Diagnostics")
public:
    static constexpr const char* objectPath = "/org/tessarine/Tessarine/Diagnostics";

    static bool requested();
    // Before the application object, so that every object of the program is seen made.
    static void startFollowingObjects();

    using QObject::QObject;

public slots:
    // "objects N timers N widgets N windows N heap N": the live QObjects, the timers registered
    // with the main thread's event dispatcher, the QWidgets, the QWindows and the bytes of the
    // heap in use (malloc's own count).
    QString Counts() const;
};
