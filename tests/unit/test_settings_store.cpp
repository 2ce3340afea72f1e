#include "TestLibrary.h"

#include "settings/SettingsStore.h"

#include <plist/plist++.h>

#include <QCryptographicHash>
#include <QFileInfo>
#include <QTest>
#include <QTimeZone>

#include <sys/stat.h>

namespace {

QMap<QString, QString> firstRunKeys()
{
    return {
        {"showMusic", "boolean:true"},   {"showTime", "boolean:true"},
        {"showBattery", "boolean:true"}, {"showDoNotDisturb", "boolean:true"},
        {"useShortcut", "boolean:true"}, {"showShutDown", "boolean:true"},
        {"timeout", "boolean:true"},     {"timeoutTime", "integer:5"},
    };
}

QByteArray binaryDictionary()
{
    PList::Dictionary dictionary;
    dictionary.Set("showTime", PList::Boolean(true));
    const std::vector<char> bytes = dictionary.ToBin();
    return QByteArray(bytes.data(), qsizetype(bytes.size()));
}

QByteArray fileHash(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(&file);
    return hash.result();
}

} // namespace

class TestSettingsStore : public QObject
{
    Q_OBJECT
private slots:
    void firstRunWritesExactlyTheEightKeys()
    {
        TestLibrary library;
        SettingsStore store(library.folder());
        QVERIFY(store.writeFirstRunSettingsIfMissing());
        QCOMPARE(*library.properties(), firstRunKeys());
        struct stat info
        {
        };
        QCOMPARE(::stat(QFile::encodeName(library.propertiesPath()).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, mode_t(0644));
    }

    void firstRunLeavesAnyExistingFileAlone()
    {
        TestLibrary library;
        library.writeFile(library.propertiesPath(), "not a property list");
        SettingsStore store(library.folder());
        QVERIFY(!store.writeFirstRunSettingsIfMissing());
        QCOMPARE(library.readFile(library.propertiesPath()), QByteArray("not a property list"));
    }

    void firstRunWithoutTheFolderWritesNothingAndMakesNoFolder()
    {
        TestLibrary library;
        const QString missing = library.folder() + QStringLiteral("/tessarine");
        SettingsStore store(missing);
        QVERIFY(!store.writeFirstRunSettingsIfMissing());
        QVERIFY(!QFileInfo::exists(missing));
        QVERIFY(!store.set(Keys::showTime, false));
        QVERIFY(!QFileInfo::exists(missing));
    }

    void setRewritesOneKeyAndKeepsEveryOther()
    {
        TestLibrary library;
        library.writeProperties("<key>showTime</key><true/>"
                                "<key>someoneElses</key><data>AAEC</data>"
                                "<key>nested</key><dict><key>a</key><integer>1</integer></dict>"
                                "<key>hour</key><integer>7</integer>");
        SettingsStore store(library.folder());
        QVERIFY(store.set(Keys::showTime, false));
        const auto keys = *library.properties();
        QCOMPARE(keys.value("showTime"), QString("boolean:false"));
        QCOMPARE(keys.value("hour"), QString("integer:7"));
        QCOMPARE(keys.value("someoneElses"), QString("other"));
        QCOMPARE(keys.value("nested"), QString("other"));
        QCOMPARE(keys.size(), 4);
        QVERIFY(library.readFile(library.propertiesPath()).contains("AAEC"));
    }

    void writersOneAfterTheOtherKeepEachOthersKeys()
    {
        TestLibrary library;
        SettingsStore store(library.folder());
        store.writeFirstRunSettingsIfMissing();
        QVERIFY(store.set(Keys::dim, true));
        QVERIFY(store.set(Keys::lockBrightnes, 0.25));
        QVERIFY(store.set({{&Keys::hour, qint64(23)}, {&Keys::minute, qint64(59)}}));
        const auto keys = *library.properties();
        QCOMPARE(keys.value("dim"), QString("boolean:true"));
        QCOMPARE(keys.value("lockBrightnes"), QString("real:0.25"));
        QCOMPARE(keys.value("hour"), QString("integer:23"));
        QCOMPARE(keys.value("minute"), QString("integer:59"));
        QCOMPARE(keys.size(), 12);
    }

    void theBrightnessKeyKeepsItsSpelling()
    {
        TestLibrary library;
        SettingsStore store(library.folder());
        store.writeFirstRunSettingsIfMissing();
        store.set(Keys::lockBrightnes, 0.5);
        QVERIFY(library.properties()->contains("lockBrightnes"));
        QVERIFY(!library.properties()->contains("lockBrightness"));
    }

    void valuesAreWrittenInTheKeysType()
    {
        TestLibrary library;
        SettingsStore store(library.folder());
        store.writeFirstRunSettingsIfMissing();
        // A fractional time-out is written truncated toward zero.
        store.set(Keys::timeoutTime, 7.9);
        store.set(Keys::textColor, true);
        store.set(Keys::shortcutString, QString("K"));
        store.set(Keys::date, QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC));
        const auto keys = *library.properties();
        QCOMPARE(keys.value("timeoutTime"), QString("integer:7"));
        QCOMPARE(keys.value("textColor"), QString("integer:1"));
        QCOMPARE(keys.value("shortcutString"), QString("string:K"));
        const SettingsSnapshot back = store.load();
        QCOMPARE(back.dateValue(Keys::date)->toUTC(),
                 QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::UTC));
        QCOMPARE(back.floatValue(Keys::timeoutTime), 7.0f);
    }

    void aFileThatIsNotADictionaryIsNeverOverwritten_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("not xml") << QByteArray("showTime: yes\n");
        QTest::newRow("array root") << QByteArray(
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><true/></array></plist>\n");
        QTest::newRow("binary") << binaryDictionary();
        QTest::newRow("truncated")
            << QByteArray("<?xml version=\"1.0\"?>\n<plist version=\"1.0\">\n<dict>\n"
                          "<key>showTime</key>\n<true/>\n<key>timeoutTi");
        QTest::newRow("empty") << QByteArray();
    }
    void aFileThatIsNotADictionaryIsNeverOverwritten()
    {
        QFETCH(QByteArray, bytes);
        TestLibrary library;
        library.writeFile(library.propertiesPath(), bytes);
        SettingsStore store(library.folder());
        QVERIFY(!store.writeFirstRunSettingsIfMissing());
        QVERIFY(!store.set(Keys::showBattery, false));
        QVERIFY(!store.set(firstRunHotKeySettings()));
        QCOMPARE(library.readFile(library.propertiesPath()), bytes);
        const SettingsSnapshot snapshot = store.load();
        QVERIFY(!snapshot.hasDictionary());
        QCOMPARE(snapshot.boolValue(Keys::showTime), false);
    }

    void aHundredMegabyteFileIsNeverOverwritten()
    {
        TestLibrary library;
        {
            QFile file(library.propertiesPath());
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><string>");
            const QByteArray chunk(1024 * 1024, 'x');
            for (int i = 0; i < 100; ++i)
                file.write(chunk);
            file.write("</string></dict></plist>\n");
        }
        const QByteArray before = fileHash(library.propertiesPath());
        SettingsStore store(library.folder());
        QVERIFY(!store.set(Keys::showTime, true));
        QVERIFY(!store.load().hasDictionary());
        QCOMPARE(fileHash(library.propertiesPath()), before);
    }

    void deletingTheFileWhileRunningLosesLaterChangesSilently()
    {
        TestLibrary library;
        SettingsStore store(library.folder());
        store.writeFirstRunSettingsIfMissing();
        QFile::remove(library.propertiesPath());
        QVERIFY(!store.set(Keys::showTime, false));
        QVERIFY(!QFileInfo::exists(library.propertiesPath()));
        // The next start writes the first-run dictionary again.
        QVERIFY(store.writeFirstRunSettingsIfMissing());
        QCOMPARE(*library.properties(), firstRunKeys());
    }

    void valuesOfTheWrongTypeDoNotStopAWrite()
    {
        TestLibrary library;
        library.writeProperties("<key>showTime</key><string>maybe</string>"
                                "<key>timeoutTime</key><array><integer>1</integer></array>");
        SettingsStore store(library.folder());
        QVERIFY(store.set(Keys::showMusic, true));
        const auto keys = *library.properties();
        QCOMPARE(keys.value("showTime"), QString("string:maybe"));
        QCOMPARE(keys.value("timeoutTime"), QString("other"));
        QCOMPARE(keys.value("showMusic"), QString("boolean:true"));
    }
};

QTEST_GUILESS_MAIN(TestSettingsStore)
#include "test_settings_store.moc"
