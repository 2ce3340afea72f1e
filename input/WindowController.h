#pragma once

#include "platform/ComposeSequence.h"
#include "platform/KeyTranslation.h"

#include <QObject>

class AppDelegate;

// The lock screen's key controller: it sits behind the lock window and receives every key typed
// on it. Keys go to the key sequence and the password matcher until an unlock is under way; no
// key has a meaning of its own (Return, Delete and the arrows are keys like any other).
class WindowController : public QObject
{
    Q_OBJECT
public:
    WindowController(AppDelegate& delegate, QObject* parent = nullptr);

    void keyDown(const TranslatedKey& key);
    // The Caps Lock key changed the modifiers.
    void flagsChanged(bool capsLockNowOn);
    // A dead key or Compose sequence begun before the lock is not finished on it.
    void forgetComposing() { m_compose.reset(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppDelegate& m_delegate;
    ComposeSequence m_compose;
};
