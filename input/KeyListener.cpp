#include "input/KeyListener.h"

#include "app/AppDelegate.h"

#include <QKeyEvent>

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

int KeyListener::mediaKeyType(int qtKey)
{
    switch (qtKey) {
    case Qt::Key_MediaPlay:
    case Qt::Key_MediaPause:
    case Qt::Key_MediaTogglePlayPause:
        return playKeyType;
    case Qt::Key_MediaNext:
        return nextKeyType;
    case Qt::Key_MediaPrevious:
        return previousKeyType;
    default:
        return 0;
    }
}

bool KeyListener::preDispatch(AppDelegate& delegate, QEvent* event)
{
    // The lock screen lost the application's activation to another window: it takes it back.
    if (delegate.getLocked() && event->type() == QEvent::ApplicationDeactivate) {
        delegate.simulateClick();
        return true;
    }
    if (delegate.isLockActive() && event->type() == QEvent::KeyPress) {
        const int type = mediaKeyType(static_cast<QKeyEvent*>(event)->key());
        if (type != 0 && !static_cast<QKeyEvent*>(event)->isAutoRepeat()) {
            if (auto* listener = qobject_cast<KeyListener*>(QCoreApplication::instance()))
                emit listener->mediaKeyPressed(type);
            return true;
        }
    }
    return false;
}

bool KeyListener::notify(QObject* receiver, QEvent* event)
{
    // Every event is dispatched as usual afterwards, whatever the hook did.
    if (m_delegate &&
        (event->type() == QEvent::KeyPress || event->type() == QEvent::ApplicationDeactivate)) {
        // Application-wide events are seen once, at the application object; keys once, at the
        // window they were sent to.
        if (receiver == this || receiver->isWindowType())
            preDispatch(*m_delegate, event);
    }
    return QApplication::notify(receiver, event);
}
