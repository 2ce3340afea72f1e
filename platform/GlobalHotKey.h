#pragma once

#include <QObject>
#include <QString>

// A key combination that reaches the program from any application. The combination is given as
// it is stored: a US-layout virtual key code and a sum of modifier masks (256 command, 512 shift,
// 1024 caps lock, 2048 option, 4096 control; 8192, 16384 and 32768 the right-hand shift, option
// and control).
class GlobalHotKey : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    // Returns false when the combination cannot be had (another program holds it, or the key
    // has no place on this keyboard).
    virtual bool registerKey(int keyCode, int modifierMask) = 0;
    virtual void unregisterKey() = 0;
    // Why no combination can be had at all on this display server; empty where one can.
    virtual QString unavailableReason() const { return {}; }

signals:
    void pressed();
};
