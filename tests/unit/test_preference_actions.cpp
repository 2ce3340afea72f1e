#include "StartedProgram.h"

#include "lockscreen/BackgroundBuilder.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockScreenViews.h"
#include "settings/PreferenceActions.h"

#include <QImage>
#include <QTest>
#include <QUrl>

#include <cmath>
#include <limits>

namespace {
// A configured profile with these options, started.
struct Profile
{
    explicit Profile(const QString& options = QString())
    {
        library.configure(options);
        program = std::make_unique<StartedProgram>(library.folder());
    }
    QString stored(const char* key) const
    {
        return library.properties()->value(QLatin1String(key), QStringLiteral("<absent>"));
    }
    AppDelegate& delegate() { return *program->delegate; }
    const Preferences& preferences() { return program->delegate->preferences(); }
    // A picture file in the profile's folder, as the absolute URL an open panel gives.
    QString pictureUrl(const QString& name, QSize size = QSize(40, 30)) const
    {
        const QString path = library.folder() + QLatin1Char('/') + name;
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::green);
        picture.save(path);
        return QUrl::fromLocalFile(path).toString();
    }
    QString textUrl() const
    {
        const QString path = library.folder() + QStringLiteral("/notes.txt");
        library.writeFile(path, "just some words\n");
        return QUrl::fromLocalFile(path).toString();
    }

    TestLibrary library;
    std::unique_ptr<StartedProgram> program;
};
} // namespace

class TestPreferenceActions : public QObject
{
    Q_OBJECT
private slots:
    void checkBoxesThatTakeTheirOwnState()
    {
        Profile profile("<key>showMusic</key><true/><key>showTime</key><false/>");
        profile.delegate().toggleShowMusic(false);
        profile.delegate().toggleShowTime(true);
        profile.delegate().toggleShowBattery(false);
        profile.delegate().toggleShowDoNotDisturb(true);
        QCOMPARE(profile.stored("showMusic"), QStringLiteral("boolean:false"));
        QCOMPARE(profile.stored("showTime"), QStringLiteral("boolean:true"));
        QCOMPARE(profile.stored("showBattery"), QStringLiteral("boolean:false"));
        QCOMPARE(profile.stored("showDoNotDisturb"), QStringLiteral("boolean:true"));
        QVERIFY(!profile.preferences().showMusic);
        QVERIFY(profile.preferences().showTime);
        QVERIFY(!profile.preferences().showBattery);
        QVERIFY(profile.preferences().showDoNotDisturb);
    }

    void checkBoxesThatFlipTheValueInMemory()
    {
        Profile profile("<key>showShutDown</key><true/><key>wiggleLock</key><false/>"
                        "<key>flat</key><true/><key>dim</key><false/><key>timeout</key><true/>");
        // The caps-lock notice is on after every start, whatever the file says.
        QVERIFY(profile.preferences().showCapslock);
        profile.delegate().toggleShutDown();
        profile.delegate().toggleShowCapslock();
        profile.delegate().toggleWiggleLock();
        profile.delegate().toggleFlat();
        profile.delegate().toggleTurnOffDisplay();
        profile.delegate().toggleTimeout();
        QCOMPARE(profile.stored("showShutDown"), QStringLiteral("boolean:false"));
        QCOMPARE(profile.stored("showCapslock"), QStringLiteral("boolean:false"));
        QCOMPARE(profile.stored("wiggleLock"), QStringLiteral("boolean:true"));
        QCOMPARE(profile.stored("flat"), QStringLiteral("boolean:false"));
        QCOMPARE(profile.stored("dim"), QStringLiteral("boolean:true"));
        QCOMPARE(profile.stored("timeout"), QStringLiteral("boolean:false"));
        profile.delegate().toggleShutDown();
        profile.delegate().toggleShowCapslock();
        QCOMPARE(profile.stored("showShutDown"), QStringLiteral("boolean:true"));
        QCOMPARE(profile.stored("showCapslock"), QStringLiteral("boolean:true"));
    }

    void aFractionOfAMinuteStaysInMemoryOnly_data()
    {
        QTest::addColumn<float>("typed");
        QTest::addColumn<QString>("onDisk");
        QTest::newRow("2.9") << 2.9f << "integer:2";
        QTest::newRow("-2.9") << -2.9f << "integer:-2";
        QTest::newRow("7") << 7.0f << "integer:7";
        // Read back as 32 bits at the next start: never written as a number that wraps round.
        QTest::newRow("2^31") << 2147483648.0f << "integer:2147483647";
        QTest::newRow("1e30") << 1e30f << "integer:2147483647";
        QTest::newRow("-1e30") << -1e30f << "integer:-2147483648";
        QTest::newRow("inf") << std::numeric_limits<float>::infinity() << "integer:2147483647";
        QTest::newRow("nan") << std::numeric_limits<float>::quiet_NaN() << "integer:0";
    }
    void aFractionOfAMinuteStaysInMemoryOnly()
    {
        QFETCH(float, typed);
        QFETCH(QString, onDisk);
        Profile profile;
        profile.delegate().setTimeout(typed);
        if (std::isnan(typed))
            QVERIFY(std::isnan(profile.preferences().timeoutTime));
        else
            QCOMPARE(profile.preferences().timeoutTime, typed);
        QCOMPARE(profile.stored("timeoutTime"), onDisk);
    }

    void aHugeTimeoutSavedAgainStaysTheSame()
    {
        Profile profile(QStringLiteral("<key>timeoutTime</key><integer>2147483647</integer>"));
        const float loaded = profile.preferences().timeoutTime;
        profile.delegate().setTimeout(loaded);
        QCOMPARE(profile.stored("timeoutTime"), QStringLiteral("integer:2147483647"));
        StartedProgram again(profile.library.folder());
        QCOMPARE(again.delegate->preferences().timeoutTime, loaded);
    }

    void theLockBrightnessIsARealUnderItsOldSpelling()
    {
        Profile profile;
        profile.delegate().setLockBrightness(0.25f);
        QCOMPARE(profile.delegate().getLockBrightness(), 0.25f);
        QCOMPARE(profile.stored("lockBrightnes"), QStringLiteral("real:0.25"));
        QCOMPARE(profile.stored("lockBrightness"), QStringLiteral("<absent>"));
    }

    void theSliderStoresTheWiggleStrength()
    {
        Profile profile;
        profile.delegate().screenSliderChanged(35);
        QCOMPARE(profile.preferences().wiggleStrength, 35);
        QCOMPARE(profile.stored("wiggleStrength"), QStringLiteral("integer:35"));
    }

    void builtInLockImages_data()
    {
        QTest::addColumn<int>("action");
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("image");
        QTest::newRow("red") << 0 << 0 << "LOCK-2";
        QTest::newRow("blue") << 1 << 1 << "LOCK-BLUE";
        QTest::newRow("black") << 2 << 2 << "LOCK-BLACK";
        QTest::newRow("white minimal") << 3 << 3 << "lockminimalwhite";
        QTest::newRow("black minimal") << 4 << 4 << "lockminimal";
    }
    void builtInLockImages()
    {
        QFETCH(int, action);
        QFETCH(int, type);
        QFETCH(QString, image);
        Profile profile("<key>lockImageType</key><integer>3</integer>");
        AppDelegate& d = profile.delegate();
        const std::array<void (AppDelegate::*)(), 5> actions{
            &AppDelegate::redLock, &AppDelegate::blueLock, &AppDelegate::blackLock,
            &AppDelegate::whiteMinimalLockImage, &AppDelegate::blackMinimalLockImage};
        (d.*actions[action])();
        QCOMPARE(profile.preferences().lockImageType, type);
        QCOMPARE(profile.stored("lockImageType"), QStringLiteral("integer:%1").arg(type));
        QCOMPARE(d.views()->lockImageName(), image);
    }

    void theDefaultImageOfAMinimalStyleLeavesTheImage()
    {
        Profile profile("<key>lockImageType</key><integer>4</integer>");
        profile.delegate().defaultLockImage();
        QCOMPARE(profile.delegate().views()->lockImageName(), QStringLiteral("lockminimal"));
        QCOMPARE(profile.stored("lockImageType"), QStringLiteral("integer:4"));
    }

    void aCustomLockImageIsShownAndStored()
    {
        Profile profile;
        const QString url = profile.pictureUrl("mine.png");
        profile.delegate().customLockImage();
        QCOMPARE(profile.program->dialogs.panelMessage,
                 QStringLiteral("Select a custom lock image."));
        profile.program->dialogs.choose(url);
        QCOMPARE(profile.preferences().lockImageType, 5);
        QCOMPARE(profile.stored("lockImageType"), QStringLiteral("integer:5"));
        QCOMPARE(profile.stored("lockImageURL"), QStringLiteral("string:%1").arg(url));
        QCOMPARE(profile.delegate().views()->lockImageName(), QString());
        QCOMPARE(profile.delegate().views()->lockImage()->pixmap().size(), QSize(40, 30));
    }

    void aTextFileAsLockImageChangesNothingSilently()
    {
        Profile profile("<key>lockImageType</key><integer>1</integer>");
        const QByteArray before = profile.library.readFile(profile.library.propertiesPath());
        profile.delegate().customLockImage();
        profile.program->dialogs.choose(profile.textUrl());
        QCOMPARE(profile.preferences().lockImageType, 1);
        QCOMPARE(profile.library.readFile(profile.library.propertiesPath()), before);
        QCOMPARE(profile.delegate().views()->lockImageName(), QStringLiteral("LOCK-BLUE"));
        QCOMPARE(profile.program->dialogs.alerts, QStringList{});
    }

    void aCancelledLockImagePanelChangesNothing()
    {
        Profile profile("<key>lockImageType</key><integer>2</integer>");
        profile.delegate().customLockImage();
        profile.program->dialogs.choose(std::nullopt);
        QCOMPARE(profile.preferences().lockImageType, 2);
        QCOMPARE(profile.stored("lockImageURL"), QStringLiteral("<absent>"));
    }

    void anotherBackgroundKindMustBeBuiltAgain()
    {
        Profile profile("<key>desktopImageType</key><integer>0</integer>");
        BackgroundBuilder* builder = profile.delegate().backgroundBuilder();
        builder->setBackgroundReady(true);
        profile.delegate().desktopBackground();
        QVERIFY(builder->backgroundReady()); // the same kind: the built one still holds
        profile.delegate().brushedMetal();
        QVERIFY(!builder->backgroundReady());
        QCOMPARE(profile.preferences().backgroundType, 1);
        QCOMPARE(profile.stored("desktopImageType"), QStringLiteral("integer:1"));
        builder->setBackgroundReady(true);
        profile.delegate().desktopBackground();
        QVERIFY(!builder->backgroundReady());
        QCOMPARE(profile.stored("desktopImageType"), QStringLiteral("integer:0"));
    }

    void aClearBackgroundLastsUntilTheNextStart()
    {
        Profile profile("<key>desktopImageType</key><integer>1</integer>");
        profile.delegate().backgroundBuilder()->setBackgroundReady(true);
        profile.delegate().clearBackground();
        QCOMPARE(profile.preferences().backgroundType, 3);
        QVERIFY(!profile.delegate().backgroundBuilder()->backgroundReady());
        QCOMPARE(profile.stored("desktopImageType"), QStringLiteral("integer:1"));
        profile.program.reset();
        StartedProgram again(profile.library.folder());
        QCOMPARE(again.delegate->preferences().backgroundType, 1);
    }

    void aCustomBackgroundIsStored()
    {
        Profile profile("<key>desktopImageType</key><integer>2</integer>");
        profile.delegate().backgroundBuilder()->setBackgroundReady(true);
        const QString url = profile.pictureUrl("back.png");
        profile.delegate().customBackgroundImage();
        QCOMPARE(profile.program->dialogs.panelMessage,
                 QStringLiteral("Select a custom background image."));
        profile.program->dialogs.choose(url);
        // Even the same kind is built again: the picture is a new one.
        QVERIFY(!profile.delegate().backgroundBuilder()->backgroundReady());
        QCOMPARE(profile.preferences().backgroundType, 2);
        QCOMPARE(profile.stored("desktopImageType"), QStringLiteral("integer:2"));
        QCOMPARE(profile.stored("desktopImageURL"), QStringLiteral("string:%1").arg(url));
    }

    void aTextFileAsBackgroundKeepsThePreviousKind()
    {
        Profile profile("<key>desktopImageType</key><integer>1</integer>");
        profile.delegate().backgroundBuilder()->setBackgroundReady(true);
        profile.delegate().customBackgroundImage();
        profile.program->dialogs.choose(profile.textUrl());
        QCOMPARE(profile.preferences().backgroundType, 1);
        QVERIFY(profile.delegate().backgroundBuilder()->backgroundReady());
        QCOMPARE(profile.stored("desktopImageType"), QStringLiteral("integer:1"));
        QCOMPARE(profile.stored("desktopImageURL"), QStringLiteral("<absent>"));
    }

    void lockOnWakeGoBackTakesTheChoiceBack()
    {
        Profile profile("<key>lockOnWake</key><false/>");
        profile.delegate().toggleLockOnWake();
        QCOMPARE(profile.program->dialogs.question,
                 QStringLiteral("If your desktop is set to show its own lock screen on wake, "
                                "Tessarine will not be activated.  Please make sure this is "
                                "disabled in your desktop's settings before continuing."));
        QCOMPARE(profile.program->dialogs.questionButtons, (QStringList{"Continue", "Go Back"}));
        // Written before the answer.
        QCOMPARE(profile.stored("lockOnWake"), QStringLiteral("boolean:true"));
        QVERIFY(profile.preferences().lockOnWakeVariable);
        profile.program->dialogs.answer(1001);
        QCOMPARE(profile.stored("lockOnWake"), QStringLiteral("boolean:false"));
        QVERIFY(!profile.preferences().lockOnWakeVariable);
    }

    void lockOnWakeContinueKeepsIt()
    {
        Profile profile("<key>lockOnWake</key><false/>");
        profile.delegate().toggleLockOnWake();
        profile.program->dialogs.answer(1000);
        QCOMPARE(profile.stored("lockOnWake"), QStringLiteral("boolean:true"));
        QVERIFY(profile.preferences().lockOnWakeVariable);
    }

    void turningLockOnWakeOffAsksNothing()
    {
        Profile profile("<key>lockOnWake</key><true/>");
        profile.delegate().toggleLockOnWake();
        QCOMPARE(profile.program->dialogs.question, QString());
        QVERIFY(!profile.program->dialogs.pendingAnswer);
        QCOMPARE(profile.stored("lockOnWake"), QStringLiteral("boolean:false"));
    }
};

QTEST_MAIN(TestPreferenceActions)
#include "test_preference_actions.moc"
