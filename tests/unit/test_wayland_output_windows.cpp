// What each Wayland output shows and where its clicks go, without a compositor: the output is
// described as WaylandSessionLock would describe it, and the lock screen's windows are real
// widgets on Qt's offscreen screen.
#include "platform/wayland/WaylandOutputWindows.h"

#include <QGraphicsOpacityEffect>
#include <QGuiApplication>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QTest>

namespace {

using Action = WaylandSessionLock::PointerAction;

// A window that draws a circle: its edge, drawn with anti-aliasing, shows whether it was drawn
// at the picture's own resolution or drawn smaller and scaled up.
class CircleWindow : public QWidget
{
protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.fillRect(rect(), Qt::white);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(Qt::black);
        painter.drawEllipse(QPointF(200.5, 150.25), 61.3, 47.7);
    }
};

WaylandOutputView primaryView(int scale)
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    WaylandOutputView view;
    view.id = 7;
    view.name = screen->name();
    view.size = screen->geometry().size();
    view.scale = scale;
    return view;
}

} // namespace

class TestWaylandOutputWindows : public QObject
{
    Q_OBJECT
private slots:
    void screensAreMatchedByName()
    {
        const QList<std::pair<QString, QRect>> screens{{"DP-2", QRect(0, 0, 1280, 800)},
                                                       {"HEADLESS-1", QRect(1280, 0, 1024, 768)}};
        WaylandOutputView view;
        view.name = "HEADLESS-1";
        // wlroots puts every output at 0,0 in wl_output's geometry: the name wins.
        view.position = QPoint(0, 0);
        QCOMPARE(WaylandOutputWindows::matchingScreen(view, screens), 1);
        view.name = "DP-2";
        QCOMPARE(WaylandOutputWindows::matchingScreen(view, screens), 0);
        view.name = "HDMI-1";
        QCOMPARE(WaylandOutputWindows::matchingScreen(view, screens), -1);
    }

    void unnamedOutputsAreMatchedByPosition()
    {
        const QList<std::pair<QString, QRect>> screens{{"XWAYLAND0", QRect(0, 0, 1280, 800)},
                                                       {"XWAYLAND1", QRect(1280, 0, 1024, 768)}};
        WaylandOutputView view;
        view.position = QPoint(1280, 0);
        QCOMPARE(WaylandOutputWindows::matchingScreen(view, screens), 1);
        view.position = QPoint(5, 5);
        QCOMPARE(WaylandOutputWindows::matchingScreen(view, screens), -1);
    }

    void theTopmostWindowOverTheScreenIsDrawnAtTheOutputsScale()
    {
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QWidget below;
        below.setGeometry(screen);
        below.show();
        CircleWindow window;
        window.setGeometry(screen);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        WaylandOutputWindows windows;
        windows.setWindows({&below, &window});

        const QImage single = windows.picture(primaryView(1));
        const QImage doubled = windows.picture(primaryView(2));
        QCOMPARE(single.size(), screen.size());
        QCOMPARE(doubled.size(), screen.size() * 2);
        // The circle's window, not the one below it (which Qt fills with its palette's grey).
        QCOMPARE(QColor(single.pixel(5, 5)), QColor(Qt::white));
        QCOMPARE(QColor(single.pixel(200, 150)), QColor(Qt::black));
        // Drawn at twice the pixels, not the single picture scaled up: the circle's edge differs.
        const QImage scaledUp = single.scaled(doubled.size());
        QVERIFY(doubled.convertToFormat(QImage::Format_RGB32) !=
                scaledUp.convertToFormat(QImage::Format_RGB32));
        QCOMPARE(QColor(doubled.pixel(400, 300)), QColor(Qt::black));

        // Once the circle's window is hidden, the window below shows.
        window.hide();
        QVERIFY(QColor(windows.picture(primaryView(1)).pixel(5, 5)) != QColor(Qt::white));
    }

    void aFadedInFieldIsDrawnInItsPlace()
    {
        // The password field once faded in: its opacity effect at 1.
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QWidget window;
        window.setGeometry(screen);
        window.setStyleSheet(QStringLiteral("background: white;"));
        auto* field = new QWidget(&window);
        field->setGeometry(100, 100, 200, 28);
        field->setStyleSheet(QStringLiteral("background: black;"));
        field->setAttribute(Qt::WA_StyledBackground);
        auto* opacity = new QGraphicsOpacityEffect(field);
        opacity->setOpacity(1.0);
        field->setGraphicsEffect(opacity);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        WaylandOutputWindows windows;
        windows.setWindows({&window});

        const QImage picture = windows.picture(primaryView(2));
        QCOMPARE(QColor(picture.pixel(2 * 150, 2 * 110)), QColor(Qt::black));
        QCOMPARE(QColor(picture.pixel(2 * 150, 2 * 200)), QColor(Qt::white));
        QCOMPARE(QColor(picture.pixel(2 * 250, 2 * 210)), QColor(Qt::white));
        QVERIFY(opacity->isEnabled());
        // Half faded: drawn in its place, half dark.
        opacity->setOpacity(0.5);
        const int grey = qGray(windows.picture(primaryView(2)).pixel(2 * 150, 2 * 110));
        QVERIFY2(grey > 100 && grey < 155, qPrintable(QString::number(grey)));
    }

    void onlyAChangedWindowIsDrawnAgain()
    {
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QWidget window;
        window.setGeometry(screen);
        auto* field = new QWidget(&window);
        field->setGeometry(100, 100, 200, 28);
        field->setGraphicsEffect(new QGraphicsOpacityEffect(field));
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        WaylandOutputWindows windows;
        windows.setWindows({&window});
        QVERIFY(windows.takeChanged());
        windows.picture(primaryView(2));
        QCoreApplication::processEvents();
        // Drawing (which switches the field's idle effect off and on) is no change.
        QVERIFY(!windows.takeChanged());
        field->update();
        QCoreApplication::processEvents();
        QVERIFY(windows.takeChanged());
        QVERIFY(!windows.takeChanged());
        field->hide();
        QCoreApplication::processEvents();
        QVERIFY(windows.takeChanged());
    }

    void aMovedWindowIsDrawnMovedOverTheWindowBeneath()
    {
        // The wrong-key nudge: the lock window 40 points down, the circuit picture beneath it.
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QWidget beneath;
        beneath.setGeometry(screen);
        beneath.setStyleSheet(QStringLiteral("background: blue;"));
        beneath.show();
        CircleWindow window;
        window.setGeometry(screen);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        WaylandOutputWindows windows;
        windows.setWindows({&beneath, &window});
        QCOMPARE(QColor(windows.picture(primaryView(2)).pixel(2 * 200, 2 * 150)),
                 QColor(Qt::black));
        QCoreApplication::processEvents();
        windows.takeMoved();

        window.move(screen.topLeft() + QPoint(0, 40));
        QCoreApplication::processEvents();
        QVERIFY(windows.takeMoved());
        QVERIFY(!windows.takeMoved());
        const QImage moved = windows.picture(primaryView(2));
        // The circle's centre, 40 points lower; the strip uncovered at the top shows the window
        // beneath, not black.
        QCOMPARE(QColor(moved.pixel(2 * 200, 2 * 190)), QColor(Qt::black));
        QCOMPARE(QColor(moved.pixel(2 * 200, 2 * 105)), QColor(Qt::white));
        QCOMPARE(QColor(moved.pixel(2 * 200, 2 * 20)), QColor(Qt::blue));
        QCOMPARE(QColor(moved.pixel(2 * 200, 2 * 45)), QColor(Qt::white));

        window.move(screen.topLeft());
        QCoreApplication::processEvents();
        QVERIFY(windows.takeMoved());
        const QImage back = windows.picture(primaryView(2));
        QCOMPARE(QColor(back.pixel(2 * 200, 2 * 150)), QColor(Qt::black));
        QCOMPARE(QColor(back.pixel(2 * 200, 2 * 20)), QColor(Qt::white));
    }

    void aClickReachesTheButtonUnderThePoint()
    {
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QWidget window;
        window.setGeometry(screen);
        auto* button = new QPushButton(QStringLiteral("Do not disturb"), &window);
        button->setGeometry(100, 100, 80, 30);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        int clicks = 0;
        connect(button, &QPushButton::clicked, this, [&clicks] { ++clicks; });
        WaylandOutputWindows windows;
        windows.setWindows({&window});
        // The lock surface is at scale 2, but its points are logical, as the screen's are.
        const WaylandOutputView view = primaryView(2);
        auto click = [&](QPointF at) {
            windows.pointer(Action::Motion, view, at, Qt::NoButton);
            windows.pointer(Action::Press, view, at, Qt::LeftButton);
            windows.pointer(Action::Release, view, at, Qt::LeftButton);
        };

        click(QPointF(120, 110));
        QCOMPARE(clicks, 1);
        QVERIFY(button->underMouse());
        click(QPointF(20, 20));
        QCOMPARE(clicks, 1);
        QVERIFY(!button->underMouse());
        // Pressed on the button and let go elsewhere: no click, as with a real pointer.
        windows.pointer(Action::Motion, view, QPointF(120, 110), Qt::NoButton);
        windows.pointer(Action::Press, view, QPointF(120, 110), Qt::LeftButton);
        windows.pointer(Action::Motion, view, QPointF(300, 300), Qt::NoButton);
        windows.pointer(Action::Release, view, QPointF(300, 300), Qt::LeftButton);
        QCOMPARE(clicks, 1);
        // The right button does not click.
        windows.pointer(Action::Press, view, QPointF(120, 110), Qt::RightButton);
        windows.pointer(Action::Release, view, QPointF(120, 110), Qt::RightButton);
        QCOMPARE(clicks, 1);
        windows.pointer(Action::Leave, view, QPointF(120, 110), Qt::NoButton);
        QVERIFY(!button->underMouse());
    }
};

QTEST_MAIN(TestWaylandOutputWindows)
#include "test_wayland_output_windows.moc"
