#include "input/KeyListener.h"

KeyListener::KeyListener(int& argc, char** argv) : QApplication(argc, argv)
{
    setApplicationName(QStringLiteral("tessarine"));
    setApplicationDisplayName(QStringLiteral("Tessarine"));
    setOrganizationName(QStringLiteral("Tessarine"));
    setDesktopFileName(QStringLiteral("tessarine"));
    // A tray program: closing its last window (the first-password window, say) does not quit.
    setQuitOnLastWindowClosed(false);
}
