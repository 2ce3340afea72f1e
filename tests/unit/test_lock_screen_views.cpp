#include "lockscreen/BackgroundView.h"
#include "lockscreen/BottomLeftFrame.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"

#include <QFontMetricsF>
#include <QGraphicsDropShadowEffect>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

class TestLockScreenViews : public QObject
{
    Q_OBJECT
private slots:
    void theContactLineIsCentredOnThePixelWidth()
    {
        LockWindow window;
        window.resize(1280, 800);
        LockScreenViews views(window);
        views.placeContact(2560);
        const QFontMetricsF metrics(LockScreenViews::lockScreenFont(15));
        const int textWidth = int(metrics.horizontalAdvance("If found please call"));
        QCOMPARE(views.contactFrame(), QRectF(1280 - textWidth / 2, 200, 400, metrics.height()));
        // 200 points above the bottom edge, whatever size the window takes later.
        QCOMPARE(views.contact()->geometry().bottom() + 1, 800 - 200);
        window.resize(1920, 1080);
        window.show(); // a hidden window hears of its new size when it is shown
        QCOMPARE(views.contact()->geometry().bottom() + 1, 1080 - 200);
        QCOMPARE(views.contact()->text(), QString("If found please call"));
    }

    void theTextViewsHaveTheirFontsAndTexts()
    {
        LockWindow window;
        LockScreenViews views(window);
        QCOMPARE(views.capslockText()->text(), QString("Caps Lock Is On."));
        QCOMPARE(views.capslockText()->font().pixelSize(), 15);
        QCOMPARE(views.musicText()->font().pixelSize(), 15);
        QCOMPARE(views.realPercentText()->font().pixelSize(), 8);
        QCOMPARE(views.realPercentText()->alignment(), Qt::AlignCenter);
        // Asked for by name, with the sans-serif face wherever that font is not installed.
        QCOMPARE(views.contact()->font().family(), QString("Lucida Grande"));
        QCOMPARE(views.contact()->font().styleHint(), QFont::SansSerif);
        QCOMPARE(views.contact()->textInteractionFlags(), Qt::NoTextInteraction);
    }

    void theImageViewsHaveTheirSizes()
    {
        LockWindow window;
        LockScreenViews views(window);
        QCOMPARE(views.albumCover()->size(), QSize(50, 50));
        QCOMPARE(views.playPauseImage()->geometry(), QRect(0, window.height() - 25, 25, 25));
        QCOMPARE(views.capslockText()->size(), QSize(0, 0));
        QCOMPARE(views.background()->geometry(), QRect(0, 0, 0, 0));
        QVERIFY(views.lockImage()->hasScaledContents());
        QVERIFY(views.doNotDisturb()->isFlat());
        QCOMPARE(views.enterPassword()->echoMode(), QLineEdit::Password);
        QVERIFY(views.enterPassword()->isHidden());
    }

    void theBackgroundAndTheLockImageCastShadows()
    {
        LockWindow window;
        LockScreenViews views(window);
        // The background draws its own shadow, where the picture leaves linen around it.
        const std::optional<ShadowStyle> background = views.background()->shadow();
        QVERIFY(background);
        QCOMPARE(background->blur, 4.0);
        QCOMPARE(background->offset, QPointF(0, -2));
        QCOMPARE(background->colour.alphaF(), 0.8f);
        auto* lock = qobject_cast<QGraphicsDropShadowEffect*>(views.lockImage()->graphicsEffect());
        QVERIFY(lock);
        QCOMPARE(lock->blurRadius(), 20.0);
        QCOMPARE(lock->offset(), QPointF(0, 10));
        QCOMPARE(lock->color().alphaF(), 0.6f);
    }

    void thePasswordFieldLiesAboveTheBackgroundAndTheLockImageAboveAll()
    {
        LockWindow window;
        LockScreenViews views(window);
        const QObjectList children = window.children();
        const auto index = [&](QObject* o) { return children.indexOf(o); };
        QVERIFY(index(views.background()) < index(views.time()));
        QVERIFY(index(views.time()) < index(views.enterPassword()));
        QVERIFY(index(views.enterPassword()) < index(views.lockImage()));
    }

    void framesAreFlippedFromTheBottomLeft()
    {
        QCOMPARE(BottomLeftFrame::toWidgetGeometry(QRectF(10, 0, 100, 20), 600),
                 QRect(10, 580, 100, 20));
        QCOMPARE(BottomLeftFrame::toWidgetGeometry(QRectF(0, 200, 400, 18), 1080),
                 QRect(0, 862, 400, 18));
    }

    void theLockWindowStaysAboveAndBypassesTheWindowManager()
    {
        LockWindow window;
        QVERIFY(window.windowFlags() & Qt::X11BypassWindowManagerHint);
        QVERIFY(window.windowFlags() & Qt::WindowStaysOnTopHint);
        QVERIFY(window.windowFlags() & Qt::FramelessWindowHint);
    }
};

QTEST_MAIN(TestLockScreenViews)
#include "test_lock_screen_views.moc"
