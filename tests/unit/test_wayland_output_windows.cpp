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

// A widget that counts the times Qt has it paint itself.
class CountedPaints : public QWidget
{
public:
    using QWidget::QWidget;
    int paints = 0;

protected:
    void paintEvent(QPaintEvent*) override { ++paints; }
};

WaylandOutputView primaryView(qreal scale)
{
    const QScreen* screen = QGuiApplication::primaryScreen();
    WaylandOutputView view;
    view.id = 7;
    view.name = screen->name();
    view.size = screen->geometry().size();
    view.scale = scale;
    return view;
}

// A widget filled with one colour, placed in logical pixels on its window; without a parent, a
// window without a frame, as the lock screen's are.
QWidget* filledBox(QWidget* parent, const QRect& place, const QColor& colour)
{
    auto* box = new QWidget(parent, parent ? Qt::WindowFlags() : Qt::FramelessWindowHint);
    box->setGeometry(place);
    QPalette palette = box->palette();
    palette.setColor(QPalette::Window, colour);
    box->setPalette(palette);
    box->setAutoFillBackground(true);
    return box;
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

    void aFractionalScaleIsDrawnAtTheOutputsOwnPixels()
    {
        // An output shown at 150 %: a white window with a black field and a black box in its
        // bottom-right corner, both on whole logical pixels, and a black line one logical pixel
        // wide at an odd place, which falls on half a pixel at 1.5.
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QWidget* window = filledBox(nullptr, screen, Qt::white);
        const QScopedPointer<QWidget> owner(window);
        const QRect field(100, 100, 200, 28);
        filledBox(window, field, Qt::black);
        const QRect corner(screen.width() - 40, screen.height() - 20, 40, 20);
        filledBox(window, corner, Qt::black);
        const QRect line(501, 200, 1, 300);
        filledBox(window, line, Qt::black);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        WaylandOutputWindows windows;
        windows.setWindows({window});

        const QImage picture = windows.picture(primaryView(1.5));
        // The output's own pixels, one and a half for every logical one.
        QCOMPARE(picture.size(), QSize(screen.width() * 3 / 2, screen.height() * 3 / 2));
        // Laid out at the logical size: each edge lands where 1.5 × its logical place falls,
        // the corner box on the picture's last pixels.
        const auto colourAt = [&picture](int x, int y) { return QColor(picture.pixel(x, y)); };
        const QRect fieldPixels(field.topLeft() * 3 / 2, field.size() * 3 / 2);
        QCOMPARE(colourAt(fieldPixels.left(), fieldPixels.top()), QColor(Qt::black));
        QCOMPARE(colourAt(fieldPixels.right(), fieldPixels.bottom()), QColor(Qt::black));
        QCOMPARE(colourAt(fieldPixels.left() - 1, fieldPixels.top()), QColor(Qt::white));
        QCOMPARE(colourAt(fieldPixels.left(), fieldPixels.top() - 1), QColor(Qt::white));
        QCOMPARE(colourAt(fieldPixels.right() + 1, fieldPixels.bottom()), QColor(Qt::white));
        QCOMPARE(colourAt(fieldPixels.right(), fieldPixels.bottom() + 1), QColor(Qt::white));
        QCOMPARE(colourAt(picture.width() - 1, picture.height() - 1), QColor(Qt::black));
        QCOMPARE(colourAt(picture.width() - 60, picture.height() - 30), QColor(Qt::black));
        QCOMPARE(colourAt(picture.width() - 61, picture.height() - 31), QColor(Qt::white));
        // Drawn at that scale, not drawn at another and resampled: the line is one or two black
        // pixels wide, and every edge is sharp, with no colour between black and white anywhere.
        int lineWidth = 0;
        for (int x = 0; x < picture.width(); ++x)
            lineWidth += colourAt(x, line.center().y() * 3 / 2) == QColor(Qt::black);
        QVERIFY2(lineWidth >= 1 && lineWidth <= 2, qPrintable(QString::number(lineWidth)));
        const QImage pixels = picture.convertToFormat(QImage::Format_RGB32);
        int between = 0;
        for (int y = 0; y < pixels.height(); ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(pixels.constScanLine(y));
            for (int x = 0; x < pixels.width(); ++x)
                between += qGray(line[x]) != 0 && qGray(line[x]) != 255;
        }
        QCOMPARE(between, 0);

        // A size that is not whole at 1.5 is rounded half up, as the compositor rounds it.
        WaylandOutputView odd = primaryView(1.5);
        odd.size = QSize(1365, 767);
        QCOMPARE(windows.picture(odd).size(), QSize(2048, 1151));
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

    void theOpeningShowsTheCoverThenFadesTheLockScreenInOverIt()
    {
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QWidget* window = filledBox(nullptr, screen, Qt::white);
        const QScopedPointer<QWidget> owner(window);
        window->setWindowOpacity(0);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        WaylandOutputWindows windows;
        const QColor cover(0x33, 0x66, 0x99);
        windows.setCoverColour(cover);
        windows.setKeyWindow(window);
        windows.setWindows({window});
        const WaylandOutputView view = primaryView(1);

        // Before the fade starts: the cover's colour alone, which needs no drawing.
        QCOMPARE(windows.plainColour(view), std::optional<QColor>(cover));
        QImage picture(view.pixelSize(), QImage::Format_RGB32);
        QVERIFY(!windows.draw(view, picture));
        QCOMPARE(QColor(picture.pixel(5, 5)), cover);

        // Half way: the lock screen over the cover, neither one nor the other.
        window->setWindowOpacity(0.5);
        QVERIFY(windows.takeChanged());
        QCOMPARE(windows.plainColour(view), std::nullopt);
        QVERIFY(!windows.draw(view, picture));
        const QColor half(picture.pixel(5, 5));
        QVERIFY2(half.red() > cover.red() + 40 && half.red() < 255 - 40, qPrintable(half.name()));
        QVERIFY(half.blue() > cover.blue() && half.blue() < 255);

        // Opaque: the lock screen whole. The fade's last step is a change, though the window
        // hears of it no more than of the others.
        window->setWindowOpacity(1);
        QVERIFY(windows.takeChanged());
        QVERIFY(windows.draw(view, picture));
        QCOMPARE(QColor(picture.pixel(5, 5)), QColor(Qt::white));
        QVERIFY(!windows.takeChanged());
        // A further display's window fades with the primary one.
        QWidget* further = filledBox(nullptr, screen, Qt::black);
        const QScopedPointer<QWidget> furtherOwner(further);
        further->show();
        windows.setWindows({window, further});
        window->setWindowOpacity(0);
        QCOMPARE(windows.plainColour(view), std::optional<QColor>(cover));
    }

    void paintsHeldBackHappenOnceLetGo()
    {
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        QWidget window;
        window.setAttribute(Qt::WA_DontShowOnScreen);
        window.setGeometry(screen);
        auto* part = new CountedPaints(&window);
        part->setGeometry(10, 10, 100, 30);
        window.show();
        QCoreApplication::processEvents();
        WaylandOutputWindows windows;
        windows.setWindows({&window});
        const int before = part->paints;

        windows.holdBackingStorePaints(true);
        part->update();
        QCoreApplication::processEvents();
        QCOMPARE(part->paints, before);
        // Held back from Qt's own painting, not from the lock surfaces: the view is drawn anew.
        QVERIFY(windows.takeChanged());

        windows.holdBackingStorePaints(false);
        QCoreApplication::processEvents();
        QCOMPARE(part->paints, before + 1);
        // And Qt goes on painting the window as before.
        part->update();
        QCoreApplication::processEvents();
        QCOMPARE(part->paints, before + 2);
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
