#include "StartedProgram.h"

#include "app/LockSession.h"
#include "lockscreen/BackgroundBuilder.h"
#include "lockscreen/BackgroundView.h"
#include "lockscreen/IconRow.h"
#include "lockscreen/IconRowPlacement.h"
#include "lockscreen/LockControls.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"
#include "lockscreen/PictureFit.h"
#include "lockscreen/TextColour.h"
#include "ui/PreferencesWindow.h"

#include <QBuffer>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <cstdlib>

using namespace std::chrono_literals;

namespace {

// A picture of one colour, encoded as PNG.
QByteArray solidPicture(QSize size, QColor colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QImage solidImage(QSize size, QColor colour)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

// A picture is kept compressed between paints, so a solid colour may come back a step off.
bool looksLike(const QColor& seen, const QColor& expected)
{
    return std::abs(seen.red() - expected.red()) <= 3 &&
           std::abs(seen.green() - expected.green()) <= 3 &&
           std::abs(seen.blue() - expected.blue()) <= 3;
}

bool showsLinen(const QWidget* window)
{
    return !window->palette().brush(QPalette::Window).texture().isNull();
}

// Locks and lets the opening and the kiosk step run.
void lockAndOpen(StartedProgram& program)
{
    program.delegate->lock();
    program.scheduler.advance(500ms);
}

void unlockAndClose(StartedProgram& program)
{
    program.delegate->unlock();
    program.scheduler.advance(1s);
}

} // namespace

class TestLockScreenLook : public QObject
{
    Q_OBJECT
private slots:
    // --- Picture sizes -------------------------------------------------------------------

    void aWidePictureIsFittedOnLinenWhenFillingWouldCutTooMuch()
    {
        // rh = 0.9, rw = 0.36: filling would be 3600 wide, 2160 over the limit.
        const PictureFit fit = PictureFit::choose(1440, 900, 4000, 1000);
        QCOMPARE(fit.size, QSizeF(1440, 360));
        QVERIFY(fit.onLinen);
    }

    void equalRatiosFillTheScreen()
    {
        const PictureFit fit = PictureFit::choose(1680, 1050, 1920, 1200);
        QCOMPARE(fit.size, QSizeF(1680, 1050));
        QVERIFY(!fit.onLinen);
    }

    void aSquarePictureIsAlwaysFitted()
    {
        const PictureFit landscape = PictureFit::choose(1440, 900, 1000, 1000);
        QCOMPARE(landscape.size, QSizeF(900, 900));
        QVERIFY(landscape.onLinen);
        const PictureFit portrait = PictureFit::choose(900, 1440, 1000, 1000);
        QCOMPARE(portrait.size, QSizeF(900, 900));
        QVERIFY(portrait.onLinen);
    }

    void aPictureCroppedWithinTheLimitFillsTheScreen()
    {
        // 2000 x 1000 on 1440 x 900: rh = 0.9 > rw = 0.72; 1800 wide, 360 over: filled.
        const PictureFit fit = PictureFit::choose(1440, 900, 2000, 1000);
        QCOMPARE(fit.size, QSizeF(1800, 900));
        QVERIFY(!fit.onLinen);
    }

    void aPictureThatDidNotDecodeIsDrawnAtNoSize()
    {
        const PictureFit fit = PictureFit::choose(1920, 1080, 0, 0);
        QCOMPARE(fit.size, QSizeF(0, 0));
        QVERIFY(fit.onLinen);
    }

    // --- Building the background ---------------------------------------------------------

    void theDesktopPictureIsShownFilledAndDecidesTheTextColour()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>0</integer>"
                          "<key>textColor</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.pictures.setPicture(0, "file:///pictures/snow.png",
                                    solidPicture({1920, 1080}, Qt::white));
        lockAndOpen(program);
        const BackgroundView* background = program.delegate->views()->background();
        QVERIFY(background->hasPicture());
        QCOMPARE(background->pictureRect(), QRect(0, 0, 1920, 1080));
        QVERIFY(looksLike(background->picture().toImage().pixelColor(960, 700), Qt::white));
        // Snow white below the centre: black text, on disk too.
        QCOMPARE(program.delegate->preferences().textIsBlack, 1);
        QCOMPARE(library.properties()->value("textColor"), QString("integer:1"));
        QCOMPARE(program.delegate->views()->time()->palette().color(QPalette::WindowText),
                 QColor(Qt::black));
        QCOMPARE(program.delegate->backgroundBuilder()->cachedDesktopImageURL(),
                 QString("file:///pictures/snow.png"));
    }

    void theKeyboardIsHeldBeforeThePictureIsFetched()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>0</integer>"
                          "<key>startAnimation</key><integer>2</integer>");
        StartedProgram program(library.folder());
        std::optional<bool> heldWhenAsked;
        program.pictures.onAsk = [&] {
            if (!heldWhenAsked)
                heldWhenAsked = program.shield.keyboard;
        };
        program.delegate->lock();
        QCOMPARE(heldWhenAsked, std::optional<bool>(true));
    }

    void theSameDesktopPictureIsNotBuiltAgainButCoverWindowsAre()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.displays.others = {QRect(1920, 0, 1280, 1024)};
        program.pictures.setPicture(0, "file:///a.png", solidPicture({1920, 1080}, Qt::white));
        lockAndOpen(program);
        QCOMPARE(program.pictures.urlsRead.count("file:///a.png"), 1);
        const QPointer<QWidget> firstCover =
            program.delegate->backgroundBuilder()->coverWindows().value(0);
        QVERIFY(firstCover);
        unlockAndClose(program);
        // The end of the lock frees it, and the display's worth of backing store with it.
        QVERIFY(firstCover.isNull());
        // The text colour is decided only when the picture is built: a choice made in between
        // stays.
        program.delegate->colorChanged("White");
        lockAndOpen(program);
        QCOMPARE(program.pictures.urlsRead.count("file:///a.png"), 1);
        QCOMPARE(program.delegate->preferences().textIsBlack, 0);
        const QList<QWidget*> covers = program.delegate->backgroundBuilder()->coverWindows();
        QCOMPARE(covers.size(), 1);
        QVERIFY(covers.first() != firstCover); // made anew
        QVERIFY(covers.first()->isVisible());
        QCOMPARE(covers.first()->geometry(), QRect(1920, 0, 1280, 1024));
        QCOMPARE(program.delegate->session()->windows().size(), 2);
    }

    void aNewDesktopPictureIsBuiltAtTheNextLock()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.pictures.setPicture(0, "file:///a.png", solidPicture({1920, 1080}, Qt::white));
        lockAndOpen(program);
        unlockAndClose(program);
        program.pictures.setPicture(0, "file:///b.png", solidPicture({1920, 1080}, Qt::black));
        lockAndOpen(program);
        QCOMPARE(program.pictures.urlsRead.count("file:///b.png"), 1);
        QCOMPARE(program.delegate->preferences().textIsBlack, 0);
    }

    void aResolutionChangeOfOneDimensionAloneIsNotReported()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>1</integer>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        program.displays.geometry = QRect(0, 0, 2560, 1080);
        QVERIFY(!program.delegate->didResolutionChange());
        program.displays.geometry = QRect(0, 0, 2560, 1440);
        QVERIFY(program.delegate->didResolutionChange());
    }

    void aClearBackgroundLeavesThePrimaryTransparentAndCoversWithLinen()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>3</integer>");
        StartedProgram program(library.folder());
        program.displays.others = {QRect(1920, 0, 1920, 1080)};
        lockAndOpen(program);
        LockWindow* window = program.delegate->window();
        QVERIFY(window->testAttribute(Qt::WA_TranslucentBackground));
        QCOMPARE(window->palette().color(QPalette::Window).alpha(), 0);
        QVERIFY(!program.delegate->views()->background()->hasPicture());
        QVERIFY(showsLinen(program.delegate->backgroundBuilder()->coverWindows().first()));
    }

    void onlyTheClearBackgroundMakesTheWindowTranslucent()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>1</integer>");
        StartedProgram program(library.folder());
        QVERIFY(!program.delegate->window()->testAttribute(Qt::WA_TranslucentBackground));
    }

    void linenChosenAfterAPictureLeavesThePictureOnThePrimaryOnly()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.displays.others = {QRect(1920, 0, 1920, 1080)};
        program.pictures.setPicture(0, "file:///a.png", solidPicture({1920, 1080}, Qt::red));
        program.pictures.setPicture(1, "file:///b.png", solidPicture({1920, 1080}, Qt::red));
        lockAndOpen(program);
        unlockAndClose(program);
        // Brushed metal chosen in the same run (as the preference does it).
        library.configure("<key>desktopImageType</key><integer>1</integer>");
        const_cast<Preferences&>(program.delegate->preferences()).backgroundType = 1;
        program.delegate->backgroundBuilder()->setBackgroundReady(false);
        lockAndOpen(program);
        QVERIFY(program.delegate->views()->background()->hasPicture());
        QVERIFY(showsLinen(program.delegate->window()));
        QVERIFY(showsLinen(program.delegate->backgroundBuilder()->coverWindows().first()));
    }

    void aFurtherDisplayKeepsItsPictureAcrossLocksAndFollowsAChangeOnDisk()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>2</integer>"
                          "<key>desktopImageURL</key><string>file:///c.png</string>"
                          "<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.displays.others = {QRect(1920, 0, 1920, 1080)};
        const auto coverPicture = [&] {
            QWidget* cover = program.delegate->backgroundBuilder()->coverWindows().first();
            return cover->findChild<BackgroundView*>()->picture().toImage();
        };
        // Too wide to fill: shown whole, on linen.
        program.pictures.bytes.insert("file:///c.png", solidPicture({4000, 1000}, Qt::red));
        lockAndOpen(program);
        unlockAndClose(program);
        lockAndOpen(program);
        QWidget* cover = program.delegate->backgroundBuilder()->coverWindows().first();
        QVERIFY(showsLinen(cover));
        QCOMPARE(coverPicture().size(), QSize(1920, 480));
        QVERIFY(looksLike(coverPicture().pixelColor(960, 240), Qt::red));
        unlockAndClose(program);
        // The same name, another picture.
        program.pictures.bytes.insert("file:///c.png", solidPicture({1920, 1080}, Qt::blue));
        lockAndOpen(program);
        QCOMPARE(coverPicture().size(), QSize(1920, 1080));
        QVERIFY(looksLike(coverPicture().pixelColor(960, 540), Qt::blue));
    }

    void aLargePictureIsDecodedStraightToTheSizeItIsShownAt()
    {
        const QImage big = solidImage({4000, 3000}, Qt::darkGreen);
        QByteArray jpeg;
        QBuffer out(&jpeg);
        out.open(QIODevice::WriteOnly);
        big.save(&out, "JPEG");
        QSize own;
        QSize asked;
        const QImage shown = BackgroundBuilder::decode(jpeg, &own, [&](QSize size) {
            asked = size;
            return QSize(1000, 750);
        });
        QCOMPARE(asked, QSize(4000, 3000));
        QCOMPARE(own, QSize(4000, 3000));
        QCOMPARE(shown.size(), QSize(1000, 750));
        // Shown larger than its own size: decoded whole, scaled up later.
        QCOMPARE(BackgroundBuilder::decode(jpeg, nullptr, [](QSize) { return QSize(8000, 6000); })
                     .size(),
                 QSize(4000, 3000));
    }

    void aWidePictureIsCentredOnLinen()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>2</integer>"
                          "<key>desktopImageURL</key><string>file:///wide.png</string>");
        StartedProgram program(library.folder());
        program.displays.geometry = QRect(0, 0, 1440, 900);
        program.pictures.bytes.insert("file:///wide.png", solidPicture({4000, 1000}, Qt::blue));
        lockAndOpen(program);
        const BackgroundView* background = program.delegate->views()->background();
        QCOMPARE(background->pictureRect(), QRect(0, 270, 1440, 360));
        QVERIFY(showsLinen(program.delegate->window()));
    }

    void aCustomPictureThatCannotBeReadIsReportedAfterTheUnlock()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>2</integer>"
                          "<key>desktopImageURL</key><string>file:///gone.png</string>"
                          "<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        QVERIFY(showsLinen(program.delegate->window()));
        QVERIFY(program.delegate->backgroundBuilder()->customImageLoadFailed());
        QVERIFY(program.dialogs.alerts.isEmpty()); // nothing while locked
        unlockAndClose(program);
        QCOMPARE(program.dialogs.alerts,
                 QStringList({"Your background image could not be loaded, please make sure it "
                              "is in your pictures folder."}));
        QVERIFY(!program.delegate->backgroundBuilder()->customImageLoadFailed());
        // On the preferences, opened on their Appearance pane.
        PreferencesWindow* preferences = program.delegate->preferencesWindow();
        QVERIFY(preferences && preferences->isVisible());
        QCOMPARE(preferences->selectedItemIdentifier(), QString("Appearance"));
        QCOMPARE(program.dialogs.alertWindows, QList<QWidget*>({preferences}));
    }

    void aDesktopWithoutAPictureShowsLinenWithoutAnAlert()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>0</integer>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        unlockAndClose(program);
        QVERIFY(showsLinen(program.delegate->window()));
        QVERIFY(program.dialogs.alerts.isEmpty());
    }

    void badPicturesNeverCrashAndShowLinen_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not a picture") << QByteArray("plain text, not a picture");
        QByteArray truncated = solidPicture({800, 600}, Qt::green);
        truncated.truncate(truncated.size() / 3);
        QTest::newRow("truncated") << truncated;
        QTest::newRow("svg") << QByteArray("<svg xmlns='http://www.w3.org/2000/svg' "
                                           "width='400' height='300'><rect width='400' "
                                           "height='300' fill='red'/></svg>");
    }

    void badPicturesNeverCrashAndShowLinen()
    {
        QFETCH(QByteArray, bytes);
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>2</integer>"
                          "<key>desktopImageURL</key><string>file:///bad</string>");
        StartedProgram program(library.folder());
        program.pictures.bytes.insert("file:///bad", bytes);
        lockAndOpen(program);
        QVERIFY(program.delegate->isLockActive());
        const BackgroundView* background = program.delegate->views()->background();
        if (QTest::currentDataTag() == QByteArray("svg")) {
            QVERIFY(background->hasPicture()); // an SVG is a picture like any other
            return;
        }
        QVERIFY(!background->hasPicture());
        QVERIFY(showsLinen(program.delegate->window()));
    }

    void aHugePictureIsDecodedWithinItsBound()
    {
        // Beyond the bound a JPEG decodes scaled down; a PNG too large for Qt's readers to decode
        // whole does not decode at all.
        QImage huge(30000, 30000, QImage::Format_Mono);
        huge.fill(1);
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        huge.save(&buffer, "PNG");
        QSize own;
        QVERIFY(BackgroundBuilder::decode(png, &own).isNull());
        QCOMPARE(own, QSize(0, 0));
        const QImage big = solidImage({9000, 6000}, Qt::gray);
        QByteArray jpeg;
        QBuffer out(&jpeg);
        out.open(QIODevice::WriteOnly);
        big.save(&out, "JPEG");
        const QImage scaled = BackgroundBuilder::decode(jpeg, &own);
        QCOMPARE(own, QSize(9000, 6000));
        QVERIFY(!scaled.isNull());
        QVERIFY(qint64(scaled.width()) * scaled.height() <= BackgroundBuilder::maxDecodedPixels);
        // Shown on a display larger than the bound, it is decoded at the size shown.
        const QImage shown =
            BackgroundBuilder::decode(jpeg, nullptr, [](QSize) { return QSize(7680, 5120); });
        QCOMPARE(shown.size(), QSize(7680, 5120));
    }

    void aDisplayAddedWhileLockedIsCoveredAndTheWindowFollowsTheNewSize()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>1</integer>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        QCOMPARE(program.delegate->session()->windows().size(), 1);
        program.displays.geometry = QRect(0, 0, 2560, 1440);
        program.displays.others = {QRect(2560, 0, 1920, 1080)};
        program.delegate->applicationDidChangeScreenParameters();
        QCOMPARE(program.delegate->window()->geometry(), QRect(0, 0, 2560, 1440));
        const QList<QWidget*> windows = program.delegate->session()->windows();
        QCOMPARE(windows.size(), 2);
        QVERIFY(windows.at(1)->isVisible());
        QCOMPARE(windows.at(1)->geometry(), QRect(2560, 0, 1920, 1080));
        // Kept above everything with the primary window, over the cover shown as it locked; the
        // primary window is on top, should the displays overlap.
        const QList<QWidget*> primaryLast{windows.at(1), windows.at(0)};
        QCOMPARE(program.shield.above, program.delegate->session()->coverWindows() + primaryLast);
        QCOMPARE(program.delegate->views()->lockImage()->geometry(), QRect(1227, 641, 107, 159));
    }

    void aDisplayChangeAsTheLockClosesCoversNothing()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>2</integer>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        program.delegate->unlock();
        program.scheduler.advance(250ms); // the windows are gone, the lock not yet over
        QVERIFY(program.delegate->isLockActive());
        program.displays.others = {QRect(1920, 0, 1920, 1080)};
        program.delegate->applicationDidChangeScreenParameters();
        for (QWidget* cover : program.delegate->backgroundBuilder()->coverWindows())
            QVERIFY(!cover->isVisible());
    }

    void aPictureShownSmallerThanItsOwnSizeIsSampledOverTheSameScreenArea()
    {
        // A 2000 x 1600 picture shown at 1000 x 800: the block under the centre is twice as
        // large in the picture's pixels. Only that larger block is light here.
        QImage picture = solidImage({2000, 1600}, Qt::black);
        for (int y = 880; y < 1080; ++y)
            for (int x = 600; x < 1400; ++x)
                picture.setPixelColor(x, y, Qt::white);
        QVERIFY(TextColour::wantsBlackText(TextColour::lightness(picture, QSizeF(1000, 800))));
        // Taken at its own size, the same picture's block is only partly light.
        QVERIFY(!TextColour::wantsBlackText(TextColour::lightness(picture, QSizeF(2000, 1600))));
    }

    void aDisplayChangeWhileUnlockedDoesNothing()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        const QRect before = program.delegate->window()->geometry();
        program.displays.geometry = QRect(0, 0, 2560, 1440);
        program.delegate->applicationDidChangeScreenParameters();
        QCOMPARE(program.delegate->window()->geometry(), before);
    }

    // --- Lock image and icon row ---------------------------------------------------------

    void theLockIsCentredOnTheFirstScreen()
    {
        TestLibrary library;
        library.configure("");
        StartedProgram program(library.folder());
        program.delegate->positionLock();
        QCOMPARE(program.delegate->views()->lockImage()->geometry(), QRect(907, 461, 107, 159));
    }

    void batteryAndMailWithoutDoNotDisturb()
    {
        const QRectF anchor(100, 70, 25, 25);
        QCOMPARE(IconRow::batteryFrame(anchor, false, true), QRectF(125, 60, 25, 25));
        QCOMPARE(IconRow::mailFrame(anchor, true, false), QRectF(80, 60, 25, 25));
    }

    void theIconRowTable()
    {
        const QRectF a(100, 70, 25, 25);
        QCOMPARE(IconRow::batteryFrame(a, false, false).x(), 100.0);
        QCOMPARE(IconRow::batteryFrame(a, true, true).x(), 100.0);
        QCOMPARE(IconRow::batteryFrame(a, true, false).x(), 75.0);
        QCOMPARE(IconRow::doNotDisturbFrame(a, false, false), QRectF(100, 60, 25, 25));
        QCOMPARE(IconRow::doNotDisturbFrame(a, true, true).x(), 150.0);
        QCOMPARE(IconRow::doNotDisturbFrame(a, true, false).x(), 125.0);
        QCOMPARE(IconRow::mailFrame(a, false, false).x(), 100.0);
        QCOMPARE(IconRow::mailFrame(a, true, true).x(), 60.0);
        QCOMPARE(IconRow::mailFrame(a, false, true).x(), 80.0);
        const QRectF percent(100, 53, 24, 11);
        QCOMPARE(IconRow::percentFrame(percent, false, true, true), QRectF(126, 70, 24, 11));
        QCOMPARE(IconRow::percentFrame(percent, true, false, false), QRectF(76, 69, 24, 11));
    }

    void theIconRowIsPlacedAtTheBottomCentreWhenTheLockOpens()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>1</integer>"
                          "<key>showBattery</key><true/><key>showShutDown</key><true/>");
        StartedProgram program(library.folder());
        lockAndOpen(program);
        LockScreenViews* views = program.delegate->views();
        // The anchor's x is the middle of 1920 less half an icon; widgets count from the top.
        QCOMPARE(views->batteryIndicator()->geometry(), QRect(973, 1080 - 60 - 25, 25, 25));
        QCOMPARE(views->mailImage()->geometry(), QRect(928, 1080 - 60 - 25, 25, 25));
        QVERIFY(views->batteryIndicator()->isVisible());
        QVERIFY(views->mailImage()->isVisible());
        QVERIFY(!views->doNotDisturb()->isVisible());
    }

    // --- Text colour ---------------------------------------------------------------------

    void theTiesOfMaximumAndMinimum()
    {
        QCOMPARE(TextColour::calcMax(0.9, 0.9, 0.5), 0.5);
        QCOMPARE(TextColour::calcMin(0.9, 0.9, 0.5), 0.5);
        QCOMPARE(TextColour::calcMax(0.9, 0.9, 0.75), 0.75);
        QCOMPARE(TextColour::calcMin(0.5, 0.5, 0.9), 0.9);
        QCOMPARE(TextColour::calcMax(0.1, 0.7, 0.3), 0.7);
        QCOMPARE(TextColour::calcMin(0.1, 0.7, 0.3), 0.1);
        QCOMPARE(TextColour::calcMax(0.4, 0.4, 0.4), 0.4);
    }

    void theSampledBlockDecidesTheColour_data()
    {
        QTest::addColumn<QColor>("block");
        QTest::addColumn<bool>("black");
        QTest::newRow("pure white") << QColor(255, 255, 255) << true;
        // Ties: (0.9, 0.9, 0.5) counts 0.5 light, and (0.9, 0.9, 0.75) 0.75, where the true
        // maximum would give 0.825 and black text.
        QTest::newRow("yellowish") << QColor::fromRgbF(0.9f, 0.9f, 0.5f) << false;
        QTest::newRow("pale yellow") << QColor::fromRgbF(0.9f, 0.9f, 0.75f) << false;
        QTest::newRow("light grey") << QColor(230, 230, 230) << true;
        QTest::newRow("mid grey") << QColor(128, 128, 128) << false;
    }

    void theSampledBlockDecidesTheColour()
    {
        QFETCH(QColor, block);
        QFETCH(bool, black);
        // Only the block under the centre counts: the rest of the picture is its opposite.
        QImage picture = solidImage({1000, 800}, black ? Qt::black : Qt::white);
        for (int y = 440; y < 540; ++y)
            for (int x = 300; x < 700; ++x)
                picture.setPixelColor(x, y, block);
        QCOMPARE(TextColour::wantsBlackText(TextColour::lightness(picture, QSizeF(1000, 800))),
                 black);
    }

    void aLightnessOfExactlyPointEightKeepsWhiteText()
    {
        QVERIFY(!TextColour::wantsBlackText(0.8));
        QVERIFY(TextColour::wantsBlackText(0.8000001));
        QVERIFY(!TextColour::wantsBlackText(std::nan("")));
        QVERIFY(std::isnan(TextColour::lightness(QImage(), QSizeF(100, 100))));
    }

    void aFlipToBlackTextChangesTheDoNotDisturbImageAtOnce()
    {
        TestLibrary library;
        library.configure("<key>desktopImageType</key><integer>0</integer>"
                          "<key>textColor</key><integer>0</integer>"
                          "<key>showDoNotDisturb</key><true/>");
        StartedProgram program(library.folder());
        QCOMPARE(program.delegate->lockControls()->doNotDisturbImage(),
                 QString("donotdisturbwhite"));
        program.pictures.setPicture(0, "file:///snow.png", solidPicture({1920, 1080}, Qt::white));
        lockAndOpen(program);
        QCOMPARE(program.delegate->lockControls()->doNotDisturbImage(),
                 QString("donotdisturbblack"));
    }

    void theManualChoiceSetsColoursButNotTheDoNotDisturbImage()
    {
        TestLibrary library;
        library.configure("<key>textColor</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->colorChanged("Black");
        QCOMPARE(program.delegate->preferences().textIsBlack, 1);
        QCOMPARE(library.properties()->value("textColor"), QString("integer:1"));
        QCOMPARE(program.delegate->views()->contact()->palette().color(QPalette::WindowText),
                 QColor(Qt::black));
        QCOMPARE(program.delegate->lockControls()->doNotDisturbImage(),
                 QString("donotdisturbwhite"));
        program.delegate->colorChanged("White");
        QCOMPARE(program.delegate->preferences().textIsBlack, 0);
        QCOMPARE(program.delegate->views()->enterPassword()->palette().color(QPalette::Base),
                 QColor(Qt::white));
    }

    void theShadowTable()
    {
        TestLibrary library;
        library.configure("<key>flat</key><false/><key>textColor</key><integer>1</integer>");
        StartedProgram program(library.folder());
        LockScreenViews* views = program.delegate->views();
        const auto text = LockScreenViews::shadowOf(views->time());
        QVERIFY(text);
        QCOMPARE(text->colour, QColor::fromRgbF(1, 1, 1, 0.4f));
        QCOMPARE(text->blur, 0.0);
        QCOMPARE(text->offset, QPointF(0, 1));
        const auto image = LockScreenViews::shadowOf(views->batteryIndicator());
        QVERIFY(image);
        QCOMPARE(image->offset, QPointF(0, -1));
        program.delegate->colorChanged("White");
        const auto dark = LockScreenViews::shadowOf(views->musicText());
        QVERIFY(dark);
        QCOMPARE(dark->colour, QColor::fromRgbF(0, 0, 0, 0.8f));
        QCOMPARE(dark->blur, 2.0);
        QCOMPARE(dark->offset, QPointF(0, 2));
        QCOMPARE(LockScreenViews::shadowOf(views->mailImage())->offset, QPointF(0, -2));
    }

    void theFlatStyleKeepsThePlayPauseShadow()
    {
        TestLibrary library;
        library.configure("<key>flat</key><false/><key>textColor</key><integer>0</integer>");
        StartedProgram program(library.folder());
        LockScreenViews* views = program.delegate->views();
        QVERIFY(LockScreenViews::shadowOf(views->playPauseImage()));
        const_cast<Preferences&>(program.delegate->preferences()).flat = true;
        program.delegate->setShadows();
        QVERIFY(LockScreenViews::shadowOf(views->playPauseImage()));
        QVERIFY(!LockScreenViews::shadowOf(views->time()));
        QVERIFY(!LockScreenViews::shadowOf(views->albumCover()));
        QVERIFY(views->background()->shadow());
    }
};

QTEST_MAIN(TestLockScreenLook)
#include "test_lock_screen_look.moc"
