#pragma once

#include <QApplication>
#include <QPointer>

class AppDelegate;

// The application object. Every event of the program passes through it before any widget sees
// it: while a lock is up, the media keys are picked out here, and a lock that loses the
// application's activation takes it back.
class KeyListener : public QApplication
{
    Q_OBJECT
public:
    // The media keys' types: play or pause, next, previous.
    static constexpr int playKeyType = 16;
    static constexpr int nextKeyType = 19;
    static constexpr int previousKeyType = 20;

    KeyListener(int& argc, char** argv);

    void setDelegate(AppDelegate* delegate) { m_delegate = delegate; }
    bool notify(QObject* receiver, QEvent* event) override;

    // The media key type of a key, 0 for any other key.
    static int mediaKeyType(int qtKey);

    // What the pre-dispatch hook does for one event; true when it acted.
    static bool preDispatch(AppDelegate& delegate, QEvent* event);

signals:
    // A media key typed while a lock is up, with its type.
    void mediaKeyPressed(int keyType);

private:
    QPointer<AppDelegate> m_delegate;
};
