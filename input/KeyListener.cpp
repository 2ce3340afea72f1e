#include "input/KeyListener.h"

#include <clocale>

KeyListener::KeyListener(int& argc, char** argv) : QApplication(argc, argv)
{
    setApplicationName(QStringLiteral("tessarine"));
    setApplicationDisplayName(QStringLiteral("Tessarine"));
    setOrganizationName(QStringLiteral("Tessarine"));
    setDesktopFileName(QStringLiteral("tessarine"));
    // A tray program: closing its last window (the first-password window, say) does not quit.
    setQuitOnLastWindowClosed(false);
    // Qt adopts the user's locale for the C library; libplist reads and writes reals with the C
    // library, and under a decimal-comma locale would read 0.25 as 0 and write that back.
    std::setlocale(LC_NUMERIC, "C");
}
