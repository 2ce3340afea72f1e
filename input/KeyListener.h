#pragma once

#include <QApplication>

// The application object. Every event of the program passes through it, which is where the lock
// screen's keys will be looked at before any widget sees them.
class KeyListener : public QApplication
{
    Q_OBJECT
public:
    KeyListener(int& argc, char** argv);
};
