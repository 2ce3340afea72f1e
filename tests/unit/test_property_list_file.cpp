#include "TestLibrary.h"

#include "settings/PropertyListFile.h"
#include "settings/PropertyListShape.h"

#include <plist/plist++.h>

#include <QElapsedTimer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
// A well-formed property list in the binary format, holding a dictionary.
QByteArray binaryDictionary()
{
    PList::Dictionary dictionary;
    dictionary.Set("showTime", PList::Boolean(true));
    const std::vector<char> bytes = dictionary.ToBin();
    return QByteArray(bytes.data(), qsizetype(bytes.size()));
}
} // namespace

class TestPropertyListFile : public QObject
{
    Q_OBJECT
private slots:
    void readsAnXmlDictionary()
    {
        TestLibrary library;
        library.writeProperties(
            "<key>showTime</key><true/><key>timeoutTime</key><integer>5</integer>");
        const auto dictionary = PropertyListFile::readDictionary(library.propertiesPath());
        QVERIFY(dictionary);
        QCOMPARE(dictionary->GetSize(), 2u);
    }

    void refusesWhatIsNotAnXmlDictionary_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not xml") << QByteArray("showTime = yes\n");
        QTest::newRow("truncated") << QByteArray(
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>showTime</key><tr");
        QTest::newRow("array root")
            << QByteArray("<?xml version=\"1.0\"?><plist "
                          "version=\"1.0\"><array><string>a</string></array></plist>");
        QTest::newRow("string root") << QByteArray(
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><string>a</string></plist>");
        QTest::newRow("binary") << binaryDictionary();
        QTest::newRow("nul bytes") << QByteArray(64, '\0');
        // libplist keeps a NUL inside a string and aborts in an assertion when it is read.
        const QByteArray start("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>");
        QTest::newRow("a nul byte in a string") << start +
                                                       "<key>lockImageURL</key><string>file:///a" +
                                                       '\0' + "b.png</string></dict></plist>";
        QTest::newRow("a nul byte in a key")
            << start + "<key>flat" + '\0' + "</key><true/></dict></plist>";
    }
    void refusesWhatIsNotAnXmlDictionary()
    {
        QFETCH(QByteArray, bytes);
        TestLibrary library;
        library.writeFile(library.propertiesPath(), bytes);
        QVERIFY(!PropertyListFile::readDictionary(library.propertiesPath()));
    }

    void refusesAFileOverTheSizeLimitWithoutReadingIt()
    {
        TestLibrary library;
        QByteArray big("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key><string>");
        big.append(QByteArray(PropertyListFile::maximumSize, 'x'));
        big.append("</string></dict></plist>");
        library.writeFile(library.propertiesPath(), big);
        QVERIFY(!PropertyListFile::readDictionary(library.propertiesPath()));
    }

    void aFifoIsRefusedWithoutWaitingForAWriter()
    {
        TestLibrary library;
        QVERIFY(::mkfifo(library.propertiesPath().toLocal8Bit().constData(), 0600) == 0);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!PropertyListFile::readDictionary(library.propertiesPath()));
        QVERIFY(timer.elapsed() < 1000);
        QVERIFY(QFileInfo(library.propertiesPath()).exists()); // left as it is
    }

    void nestingIsCountedFromTheTags()
    {
        QCOMPARE(
            PropertyListShape::nestingDepth("<plist><dict><key>a</key><array/></dict></plist>"), 1);
        QCOMPARE(PropertyListShape::nestingDepth("<array><array><dict></dict></array></array>"), 3);
        QCOMPARE(PropertyListShape::nestingDepth("<arrayish><dictionary>"), 0);
        QCOMPARE(PropertyListShape::nestingDepth("<array >\n<array\t></array></array>"), 2);
    }

    void aDeeplyNestedFileIsRefusedBeforeItIsParsed()
    {
        TestLibrary library;
        QByteArray xml("<?xml version=\"1.0\"?><plist version=\"1.0\">");
        for (int i = 0; i < 50000; ++i)
            xml.append("<array>");
        for (int i = 0; i < 50000; ++i)
            xml.append("</array>");
        xml.append("</plist>");
        library.writeFile(library.passwordPath(), xml);
        QVERIFY(!PropertyListFile::readArray(library.passwordPath()));
    }

    void missingFileReadsAsNothing()
    {
        TestLibrary library;
        QVERIFY(!PropertyListFile::readDictionary(library.propertiesPath()));
        QVERIFY(!PropertyListFile::readArray(library.passwordPath()));
    }

    void writeReplacesTheFileAndSetsItsMode()
    {
        TestLibrary library;
        library.writeFile(library.passwordPath(), "old");
        PList::Array array;
        PList::String entry("a");
        array.Append(&entry);
        QVERIFY(PropertyListFile::writeAtomically(library.passwordPath(), array, 0600));
        const auto back = PropertyListFile::readArray(library.passwordPath());
        QVERIFY(back);
        QCOMPARE(plist_array_get_size(back.get()), 1u);
        struct stat info
        {
        };
        QCOMPARE(::stat(QFile::encodeName(library.passwordPath()).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, mode_t(0600));
        // No temporary file is left beside it.
        QCOMPARE(QDir(library.folder()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void aLinkedFileIsWrittenThroughTheLinkAndKeepsItsMode()
    {
        TestLibrary library;
        QTemporaryDir elsewhere;
        const QString real = elsewhere.path() + QStringLiteral("/my-tessarine.plist");
        library.writeFile(real, "old");
        QFile::setPermissions(real, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
        QVERIFY(QFile::link(real, library.propertiesPath()));
        PList::Dictionary dictionary;
        dictionary.Set("showTime", PList::Boolean(true));
        QVERIFY(PropertyListFile::writeAtomically(library.propertiesPath(), dictionary, 0644,
                                                  PropertyListFile::Mode::KeepExisting));
        QVERIFY(QFileInfo(library.propertiesPath()).isSymLink());
        QVERIFY(PropertyListFile::readDictionary(real));
        struct stat status = {};
        QCOMPARE(::stat(QFile::encodeName(real).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0640));
        // The password is never anything but 0600, linked or not.
        const QString password = elsewhere.path() + QStringLiteral("/password.plist");
        library.writeFile(password, "old");
        QVERIFY(QFile::link(password, library.passwordPath()));
        PList::Array array;
        QVERIFY(PropertyListFile::writeAtomically(library.passwordPath(), array, 0600));
        QVERIFY(QFileInfo(library.passwordPath()).isSymLink());
        QCOMPARE(::stat(QFile::encodeName(password).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777, mode_t(0600));
    }

    void writeIntoAMissingFolderFailsAndCreatesNothing()
    {
        TestLibrary library;
        const QString path = library.folder() + QStringLiteral("/missing/properties.plist");
        PList::Dictionary dictionary;
        QVERIFY(!PropertyListFile::writeAtomically(path, dictionary, 0644));
        QVERIFY(!QFileInfo::exists(library.folder() + QStringLiteral("/missing")));
    }

    void writeIntoAReadOnlyFolderLeavesTheOldFile()
    {
        if (::geteuid() == 0)
            QSKIP("root writes into read-only folders");
        TestLibrary library;
        library.writeFile(library.propertiesPath(), "old bytes");
        QFile::setPermissions(library.folder(), QFile::ReadOwner | QFile::ExeOwner);
        PList::Dictionary dictionary;
        QVERIFY(!PropertyListFile::writeAtomically(library.propertiesPath(), dictionary, 0644));
        QFile::setPermissions(library.folder(),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(library.readFile(library.propertiesPath()), QByteArray("old bytes"));
    }

    void abandonedTemporaryFilesAreRemovedAndLiveOnesKept()
    {
        TestLibrary library;
        library.writeFile(library.propertiesPath(), "target");
        library.writeFile(library.passwordPath(), "password");
        // What a writer killed before its rename leaves: nobody holds these.
        const QString abandoned =
            library.folder() + QStringLiteral("/.properties.plist.tessarine-aB3dE9");
        library.writeFile(abandoned, "<?xml");
        library.writeFile(library.folder() + QStringLiteral("/.settings.plist.tessarine-Zz0000"),
                          "");
        // A writer at work holds its file locked.
        const QString live =
            library.folder() + QStringLiteral("/.properties.plist.tessarine-Q1w2E3");
        library.writeFile(live, "<?xml");
        const int held = ::open(QFile::encodeName(live).constData(), O_RDONLY | O_CLOEXEC);
        QVERIFY(held >= 0);
        QCOMPARE(::flock(held, LOCK_EX), 0);
        // Names that are not of our temporary files.
        // A user's own copies among them, named as people name copies.
        const QStringList others = {QStringLiteral(".properties.plist.tessarine-tooLong7"),
                                    QStringLiteral(".properties.plist.tessarine-ab-d_f"),
                                    QStringLiteral("properties.plist.tessarine-aB3dE9"),
                                    QStringLiteral(".notes.txt.tessarine-aB3dE9"),
                                    QStringLiteral(".settings.plist.backup"),
                                    QStringLiteral(".properties.plist.v2copy"),
                                    QStringLiteral(".properties.plist.aB3dE9")};
        for (const QString& name : others)
            library.writeFile(library.folder() + QLatin1Char('/') + name, "x");

        // Written now, after a start a minute ago: only files older than the start are taken.
        QCOMPARE(
            PropertyListFile::removeAbandonedTemporaries(library.folder(), ::time(nullptr) - 60),
            0);
        QCOMPARE(
            PropertyListFile::removeAbandonedTemporaries(library.folder(), ::time(nullptr) + 1), 2);
        ::close(held);

        QStringList expected = others;
        expected << QStringLiteral(".properties.plist.tessarine-Q1w2E3")
                 << QStringLiteral("properties.plist") << QStringLiteral("settings.plist");
        expected.sort();
        QStringList left = QDir(library.folder()).entryList(QDir::Files | QDir::Hidden);
        left.sort();
        QCOMPARE(left, expected);
        QCOMPARE(library.readFile(library.propertiesPath()), QByteArray("target"));
        QCOMPARE(library.readFile(library.passwordPath()), QByteArray("password"));
    }

    void aWriteLeavesNothingForTheCleanerAndSurvivesIt()
    {
        TestLibrary library;
        PList::Dictionary dictionary;
        dictionary.Set("timeoutTime", PList::Integer(uint64_t(7)));
        QVERIFY(PropertyListFile::writeAtomically(library.propertiesPath(), dictionary, 0644));
        QCOMPARE(
            PropertyListFile::removeAbandonedTemporaries(library.folder(), ::time(nullptr) + 1), 0);
        QVERIFY(PropertyListFile::readDictionary(library.propertiesPath()));
    }
};

QTEST_GUILESS_MAIN(TestPropertyListFile)
#include "test_property_list_file.moc"
