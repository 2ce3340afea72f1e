#include "StartedProgram.h"

#include "app/AppDelegate.h"
#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "lockscreen/LockImageView.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/LockWindow.h"
#include "ui/FirstPasswordWindow.h"
#include "ui/StatusItem.h"

#include <plist/plist++.h>

#include <QFileInfo>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QSystemTrayIcon>
#include <QTest>
#include <QUrl>

namespace {

QMap<QString, QString> firstRunWithHotKey()
{
    return {
        {"showMusic", "boolean:true"},         {"showTime", "boolean:true"},
        {"showBattery", "boolean:true"},       {"showDoNotDisturb", "boolean:true"},
        {"useShortcut", "boolean:true"},       {"showShutDown", "boolean:true"},
        {"timeout", "boolean:true"},           {"timeoutTime", "integer:5"},
        {"shortcutModifier1", "integer:0"},    {"shortcutModifier2", "integer:256"},
        {"shortcutModifier3", "integer:2048"}, {"shortcutKey", "integer:37"},
        {"shortcutString", "string:L"},
    };
}

} // namespace

class TestStartup : public QObject
{
    Q_OBJECT
private slots:
    void firstStartWithNeitherFile()
    {
        TestLibrary library;
        StartedProgram start(library.folder());
        QCOMPARE(*library.properties(), firstRunWithHotKey());
        QVERIFY(!QFileInfo::exists(library.passwordPath()));
        QVERIFY(start.delegate->setPassword()->isVisible());
        const Preferences& p = start.delegate->preferences();
        QCOMPARE(p.useShortcut, true);
        QCOMPARE(p.shortcutKey, 37);
        QCOMPARE(p.hotKeyModifierSum(), 256 + 2048);
        QVERIFY(PasswordBuffer::isAbsent());
        QVERIFY(!start.delegate->isLockActive());
    }

    void theContactLineSitsAboveThePrimaryDisplaysBottomEdge()
    {
        TestLibrary library;
        StartedProgram start(library.folder());
        QCOMPARE(start.delegate->window()->geometry(), QRect(0, 0, 1920, 1080));
        QCOMPARE(start.delegate->views()->contact()->geometry().bottom() + 1, 1080 - 200);
    }

    void theTrayIconHasItsToolTip()
    {
        TestLibrary library;
        StartedProgram start(library.folder());
        QSystemTrayIcon* icon = start.delegate->statusItem()->trayIcon();
        QCOMPARE(icon->toolTip(), QString("Right click to open the menu."));
        QVERIFY(!icon->icon().isNull());
    }

    void aMissingPasswordFileResetsTheUsersHotKey()
    {
        TestLibrary library;
        library.writeProperties("<key>useShortcut</key><false/>"
                                "<key>shortcutModifier1</key><integer>4096</integer>"
                                "<key>shortcutModifier2</key><integer>512</integer>"
                                "<key>shortcutModifier3</key><integer>0</integer>"
                                "<key>shortcutKey</key><integer>40</integer>"
                                "<key>shortcutString</key><string>K</string>"
                                "<key>dim</key><true/>");
        StartedProgram start(library.folder());
        const auto keys = *library.properties();
        QCOMPARE(keys.value("useShortcut"), QString("boolean:true"));
        QCOMPARE(keys.value("shortcutModifier1"), QString("integer:0"));
        QCOMPARE(keys.value("shortcutModifier2"), QString("integer:256"));
        QCOMPARE(keys.value("shortcutModifier3"), QString("integer:2048"));
        QCOMPARE(keys.value("shortcutKey"), QString("integer:37"));
        QCOMPARE(keys.value("shortcutString"), QString("string:L"));
        QCOMPARE(keys.value("dim"), QString("boolean:true"));
        QCOMPARE(keys.size(), 7); // the first-run keys are not written: the file existed
        QCOMPARE(start.delegate->preferences().hotKeyModifierSum(), 2304);
        QVERIFY(start.delegate->setPassword()->isVisible());
    }

    void aPasswordWithoutOptionsGivesTheBareLKey()
    {
        TestLibrary library;
        PasswordFile::write(library.passwordPath(), {"p", "w"});
        StartedProgram start(library.folder());
        QMap<QString, QString> eight = firstRunWithHotKey();
        for (const char* key : {"shortcutModifier1", "shortcutModifier2", "shortcutModifier3",
                                "shortcutKey", "shortcutString"})
            eight.remove(key);
        QCOMPARE(*library.properties(), eight);
        const Preferences& p = start.delegate->preferences();
        QCOMPARE(*p.shortcutString, QString("L"));
        QCOMPARE(p.shortcutKey, 37);
        QVERIFY(!p.shortcutModifier1 && !p.shortcutModifier2 && !p.shortcutModifier3);
        QCOMPARE(p.hotKeyModifierSum(), 0);
        QCOMPARE(p.useShortcut, true);
        QCOMPARE(p.dimEnabled, false);
        QCOMPARE(p.textIsBlack, 0);
        QVERIFY(!start.delegate->setPassword()->isVisible());
        QCOMPARE(*PasswordBuffer::buffer(), QStringList({"p", "w"}));
        QCOMPARE(PasswordBuffer::matchFlags(), QList<int>({0, 0}));
    }

    void bothFilesPresentShowNoWindow()
    {
        TestLibrary library;
        library.writeProperties("<key>showTime</key><true/>");
        PasswordFile::write(library.passwordPath(), {});
        const QByteArray before = library.readFile(library.propertiesPath());
        StartedProgram start(library.folder());
        QVERIFY(!start.delegate->setPassword()->isVisible());
        QVERIFY(!start.delegate->window()->isVisible());
        QCOMPARE(library.readFile(library.propertiesPath()), before);
        QVERIFY(PasswordBuffer::buffer()->isEmpty());
    }

    void aDesktopMachineTurnsTheBatteryOffOnEveryStart()
    {
        TestLibrary library;
        library.writeProperties("<key>showBattery</key><true/>");
        PasswordFile::write(library.passwordPath(), {"x"});
        {
            StartedProgram start(library.folder(), false);
            QVERIFY(start.delegate->noBattery());
            QCOMPARE(start.delegate->preferences().showBattery, false);
        }
        QCOMPARE(library.properties()->value("showBattery"), QString("boolean:false"));
        // The user turns it on again; the next start turns it off again.
        library.writeProperties("<key>showBattery</key><true/>");
        StartedProgram again(library.folder(), false);
        QCOMPARE(library.properties()->value("showBattery"), QString("boolean:false"));
    }

    void aLaptopKeepsTheUsersBatteryChoice()
    {
        TestLibrary library;
        library.writeProperties("<key>showBattery</key><true/>");
        PasswordFile::write(library.passwordPath(), {"x"});
        StartedProgram start(library.folder(), true);
        QVERIFY(!start.delegate->noBattery());
        QCOMPARE(start.delegate->preferences().showBattery, true);
    }

    void theCapsLockNoticeComesBackAfterARestart()
    {
        TestLibrary library;
        library.writeProperties("<key>showCapslock</key><false/>");
        PasswordFile::write(library.passwordPath(), {"x"});
        StartedProgram start(library.folder());
        QCOMPARE(start.delegate->preferences().showCapslock, true);
    }

    void lightTextLeavesThePasswordFieldAsDesigned()
    {
        TestLibrary library;
        library.writeProperties("<key>textColor</key><integer>0</integer>");
        PasswordFile::write(library.passwordPath(), {"x"});
        const QPalette designed = QLineEdit().palette();
        StartedProgram start(library.folder());
        LockScreenViews* views = start.delegate->views();
        QCOMPARE(views->time()->palette().color(QPalette::WindowText), QColor(Qt::white));
        QCOMPARE(views->contact()->palette().color(QPalette::WindowText), QColor(Qt::white));
        QCOMPARE(views->enterPassword()->palette().color(QPalette::Text),
                 designed.color(QPalette::Text));
        QCOMPARE(views->enterPassword()->palette().color(QPalette::Base),
                 designed.color(QPalette::Base));
    }

    void darkTextMakesThePasswordFieldWhiteOnBlack()
    {
        TestLibrary library;
        library.writeProperties("<key>textColor</key><integer>1</integer>");
        PasswordFile::write(library.passwordPath(), {"x"});
        StartedProgram start(library.folder());
        LockScreenViews* views = start.delegate->views();
        for (QWidget* text :
             {static_cast<QWidget*>(views->time()), static_cast<QWidget*>(views->musicText()),
              static_cast<QWidget*>(views->capslockText()),
              static_cast<QWidget*>(views->realPercentText()),
              static_cast<QWidget*>(views->contact())})
            QCOMPARE(text->palette().color(QPalette::WindowText), QColor(Qt::black));
        QCOMPARE(views->enterPassword()->palette().color(QPalette::Text), QColor(Qt::white));
        QCOMPARE(views->enterPassword()->palette().color(QPalette::Base), QColor(Qt::black));
    }

    void eachLockStyleShowsItsImage_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("image");
        QTest::newRow("0") << 0 << "LOCK-2";
        QTest::newRow("1") << 1 << "LOCK-BLUE";
        QTest::newRow("2") << 2 << "LOCK-BLACK";
        QTest::newRow("3") << 3 << "lockminimalwhite";
        QTest::newRow("4") << 4 << "lockminimal";
        QTest::newRow("unknown") << 9 << "LOCK-2";
    }
    void eachLockStyleShowsItsImage()
    {
        QFETCH(int, type);
        QFETCH(QString, image);
        TestLibrary library;
        library.writeProperties(
            QStringLiteral("<key>lockImageType</key><integer>%1</integer>").arg(type));
        PasswordFile::write(library.passwordPath(), {"x"});
        StartedProgram start(library.folder());
        QCOMPARE(start.delegate->views()->lockImageName(), image);
        QVERIFY(start.delegate->views()->lockImage()->pixmap().width() >= 512);
    }

    void aCustomLockImageIsShown()
    {
        TestLibrary library;
        const QString picture = library.folder() + QStringLiteral("/mine.png");
        QImage red(40, 30, QImage::Format_RGB32);
        red.fill(Qt::red);
        QVERIFY(red.save(picture));
        library.writeProperties(QStringLiteral("<key>lockImageType</key><integer>5</integer>"
                                               "<key>lockImageURL</key><string>%1</string>")
                                    .arg(QUrl::fromLocalFile(picture).toString()));
        PasswordFile::write(library.passwordPath(), {"x"});
        StartedProgram start(library.folder());
        QCOMPARE(start.delegate->views()->lockImageName(), QString());
        QCOMPARE(start.delegate->views()->lockImage()->pixmap().size(), QSize(40, 30));
    }

    void aDeletedCustomLockImageLeavesTheDefault_data()
    {
        QTest::addColumn<QString>("url");
        QTest::newRow("deleted file") << "file:///nonexistent/lock.png";
        QTest::newRow("not a picture") << "file:///etc/hostname";
        QTest::newRow("not a file url") << "https://example.invalid/lock.png";
        QTest::newRow("garbage") << "::::";
    }
    void aDeletedCustomLockImageLeavesTheDefault()
    {
        QFETCH(QString, url);
        TestLibrary library;
        library.writeProperties(QStringLiteral("<key>lockImageType</key><integer>5</integer>"
                                               "<key>lockImageURL</key><string>%1</string>")
                                    .arg(url));
        PasswordFile::write(library.passwordPath(), {"x"});
        StartedProgram start(library.folder());
        QCOMPARE(start.delegate->views()->lockImageName(), QString("LOCK-2"));
    }

    void anUnreadableOptionsFileSurvivesAStartByteForByte_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("not xml") << QByteArray("garbage\n");
        QTest::newRow("not a dictionary")
            << QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>\n");
        QTest::newRow("truncated")
            << QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>dim</key>");
        QTest::newRow("empty") << QByteArray();
        PList::Dictionary binary;
        binary.Set("showTime", PList::Boolean(true));
        const std::vector<char> bytes = binary.ToBin();
        QTest::newRow("binary") << QByteArray(bytes.data(), qsizetype(bytes.size()));
        QByteArray huge("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><string>");
        huge.append(QByteArray(100 * 1024 * 1024, 'x'));
        huge.append("</string></dict></plist>\n");
        QTest::newRow("100 MB") << huge;
    }
    void anUnreadableOptionsFileSurvivesAStartByteForByte()
    {
        QFETCH(QByteArray, bytes);
        TestLibrary library;
        library.writeFile(library.propertiesPath(), bytes);
        StartedProgram start(library.folder(), false);
        QCOMPARE(library.readFile(library.propertiesPath()), bytes);
        // The program runs on the absent values, with the first-run hot key in memory.
        const Preferences& p = start.delegate->preferences();
        QCOMPARE(p.showTime, false);
        QCOMPARE(p.useShortcut, true);
        QCOMPARE(p.hotKeyModifierSum(), 2304);
        QVERIFY(start.delegate->setPassword()->isVisible());
    }

    void valuesOfTheWrongTypeAreKeptThroughAStart()
    {
        TestLibrary library;
        library.writeProperties("<key>showTime</key><string>yes</string>"
                                "<key>timeoutTime</key><array><integer>3</integer></array>"
                                "<key>shortcutString</key><integer>7</integer>");
        StartedProgram start(library.folder(), false); // a desktop: start-up writes showBattery
        const auto keys = *library.properties();
        QCOMPARE(keys.value("showBattery"), QString("boolean:false"));
        QCOMPARE(keys.value("showTime"), QString("string:yes"));
        QCOMPARE(keys.value("timeoutTime"), QString("other"));
        QVERIFY(library.readFile(library.propertiesPath()).contains("<integer>3</integer>"));
        const Preferences& p = start.delegate->preferences();
        QCOMPARE(p.showTime, true);
        QCOMPARE(p.timeoutTime, 0.0f);
    }

    void aPasswordFileWithLongerEntriesStartsWithoutAsking()
    {
        TestLibrary library;
        library.writeProperties("");
        library.writeFile(library.passwordPath(),
                          "<?xml version=\"1.0\"?><plist version=\"1.0\"><array>"
                          "<string>ab</string><string></string></array></plist>");
        StartedProgram start(library.folder());
        QCOMPARE(*PasswordBuffer::buffer(), QStringList({"ab", ""}));
        QVERIFY(!start.delegate->setPassword()->isVisible());
    }

    void aMissingLibraryFolderIsNotCreatedAndTheProgramRuns()
    {
        TestLibrary library;
        const QString missing = library.folder() + QStringLiteral("/gone");
        StartedProgram start(missing);
        QVERIFY(!QFileInfo::exists(missing));
        QCOMPARE(start.delegate->preferences().showMusic, false);
        QVERIFY(start.delegate->setPassword()->isVisible());
    }

    void aBrokenPasswordFileIsTreatedAsNoPassword()
    {
        TestLibrary library;
        library.writeProperties("");
        library.writeFile(library.passwordPath(), "<?xml version=\"1.0\"?><plist><dict/></plist>");
        StartedProgram start(library.folder());
        QVERIFY(PasswordBuffer::isAbsent());
        QVERIFY(start.delegate->setPassword()->isVisible());
        QCOMPARE(library.readFile(library.passwordPath()),
                 QByteArray("<?xml version=\"1.0\"?><plist><dict/></plist>"));
    }
};

QTEST_MAIN(TestStartup)
#include "test_startup.moc"
