#include "input/WindowController.h"

#include "app/AppDelegate.h"
#include "input/KeyListener.h"
#include "input/KeySequence.h"

#include <QKeyEvent>

WindowController::WindowController(AppDelegate& delegate, QObject* parent)
    : QObject(parent), m_delegate(delegate)
{
}

void WindowController::keyDown(const TranslatedKey& key)
{
    if (m_delegate.getUnlocking())
        return;
    if (KeySequence::isSequenceKey(key.keyCode))
        m_delegate.konami(key.keyCode);
    m_delegate.keyPressed(key.characters);
    if (key.capsLock)
        m_delegate.capslockOn();
    else
        m_delegate.capslockOff();
}

void WindowController::flagsChanged(bool capsLockNowOn)
{
    if (capsLockNowOn)
        m_delegate.capslockOn();
    else
        m_delegate.capslockOff();
}

bool WindowController::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress) {
        const auto* press = static_cast<QKeyEvent*>(event);
        // Modifier keys alone are not keys of the password.
        TranslatedKey key = KeyTranslation::fromEvent(*press);
        const bool modifierOnly = press->key() == Qt::Key_Shift ||
                                  press->key() == Qt::Key_Control || press->key() == Qt::Key_Alt ||
                                  press->key() == Qt::Key_Meta || press->key() == Qt::Key_Super_L ||
                                  press->key() == Qt::Key_Super_R ||
                                  press->key() == Qt::Key_CapsLock || press->key() == Qt::Key_AltGr;
        // A dead key types nothing yet; the key that completes its sequence types the composed
        // character, as in the password windows.
        if (!modifierOnly && !press->isAutoRepeat()) {
            const ComposeSequence::Outcome composed = m_compose.feed(press->nativeVirtualKey());
            if (composed.step == ComposeSequence::Step::InProgress)
                return true;
            if (composed.step == ComposeSequence::Step::Composed) {
                key.characters = QString::fromStdString(composed.text);
                key.keyCode = KeyTranslation::keyCodeForCharacter(key.characters.at(0));
            }
        }
        // Media keys are not typing: the application's hook passes them to the music controls.
        // Keys that type nothing (volume, brightness, Num Lock, a dead key) are no keys of the
        // password either, and neither is the hot key's combination.
        const bool typesSomething = !key.characters.isEmpty();
        const bool hotKey = m_delegate.isHotKeyPress(key.keyCode, press->nativeModifiers());
        if (!modifierOnly && typesSomething && !hotKey &&
            KeyListener::mediaKeyType(press->key()) == 0)
            keyDown(key);
        // The translation already gives the Caps Lock key the state it sets.
        if (press->key() == Qt::Key_CapsLock && !press->isAutoRepeat())
            flagsChanged(key.capsLock);
        return true;
    }
    if (event->type() == QEvent::KeyRelease || event->type() == QEvent::ShortcutOverride)
        return true;
    if (event->type() == QEvent::MouseMove)
        m_delegate.pointerMoved();
    return QObject::eventFilter(watched, event);
}
