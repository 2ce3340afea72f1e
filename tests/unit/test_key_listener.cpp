#include "StartedProgram.h"

#include "input/KeyListener.h"
#include "input/PasswordFile.h"
#include "lockscreen/LockWindow.h"

#include <QKeyEvent>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

using namespace std::chrono_literals;

class TestKeyListener : public QObject
{
    Q_OBJECT
private slots:
    void mediaKeysHaveTheirTypes()
    {
        QCOMPARE(KeyListener::mediaKeyType(Qt::Key_MediaPlay), 16);
        QCOMPARE(KeyListener::mediaKeyType(Qt::Key_MediaTogglePlayPause), 16);
        QCOMPARE(KeyListener::mediaKeyType(Qt::Key_MediaNext), 19);
        QCOMPARE(KeyListener::mediaKeyType(Qt::Key_MediaPrevious), 20);
        QCOMPARE(KeyListener::mediaKeyType(Qt::Key_A), 0);
    }

    void mediaKeysWhileLockedReachTheMusicAndNotThePassword()
    {
        // No password file: any key that reached the matcher would unlock.
        TestLibrary library;
        library.writeProperties("");
        StartedProgram program(library.folder());
        auto* app = qobject_cast<KeyListener*>(QCoreApplication::instance());
        app->setDelegate(program.delegate.get());
        QSignalSpy media(app, &KeyListener::mediaKeyPressed);

        QWindow* window = program.delegate->window()->windowHandle();
        QKeyEvent idle(QEvent::KeyPress, Qt::Key_MediaNext, Qt::NoModifier);
        QCoreApplication::sendEvent(program.delegate->window(), &idle);
        QCOMPARE(media.size(), 0); // not locked

        program.delegate->lock();
        program.scheduler.advance(1s);
        window = program.delegate->window()->windowHandle();
        QVERIFY(window);
        for (int key : {Qt::Key_MediaTogglePlayPause, Qt::Key_MediaNext, Qt::Key_MediaPrevious}) {
            QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
            QCoreApplication::sendEvent(window, &press);
        }
        QCOMPARE(media.size(), 3);
        QCOMPARE(media.at(0).at(0).toInt(), 16);
        QCOMPARE(media.at(1).at(0).toInt(), 19);
        QCOMPARE(media.at(2).at(0).toInt(), 20);
        QVERIFY(program.delegate->isLockActive()); // no media key counted as a password key
        QKeyEvent typed(QEvent::KeyPress, Qt::Key_X, Qt::NoModifier, "x");
        QCoreApplication::sendEvent(window, &typed);
        QVERIFY(!program.delegate->isLockActive()); // while a typed key does
        app->setDelegate(nullptr);
    }

    void losingTheActivationWhileLockedClicksAgain()
    {
        TestLibrary library;
        library.writeProperties("");
        PasswordFile::write(library.passwordPath(), {"a"});
        StartedProgram program(library.folder());
        auto* app = qobject_cast<KeyListener*>(QCoreApplication::instance());
        app->setDelegate(program.delegate.get());
        program.delegate->lock();
        program.scheduler.advance(1s);
        const int clicks = program.pointer.clicks;
        QEvent deactivate(QEvent::ApplicationDeactivate);
        QCoreApplication::sendEvent(app, &deactivate);
        QCOMPARE(program.pointer.clicks, clicks + 1);
        app->setDelegate(nullptr);
    }
};

int main(int argc, char** argv)
{
    KeyListener app(argc, argv);
    TestKeyListener test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_key_listener.moc"
