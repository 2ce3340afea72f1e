#include "TestLibrary.h"

#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"

#include <QTest>

#include <sys/stat.h>

namespace {
QByteArray arrayFile(const QByteArray& body)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<array>\n" + body +
           "\n</array>\n</plist>\n";
}
} // namespace

class TestPasswordFile : public QObject
{
    Q_OBJECT
private slots:
    void writesOneStringPerCharacterWithMode0600()
    {
        TestLibrary library;
        QVERIFY(PasswordFile::write(library.passwordPath(), {"a", "B", "1"}));
        const QByteArray bytes = library.readFile(library.passwordPath());
        QVERIFY(bytes.contains("<array>"));
        QVERIFY(bytes.contains("<string>a</string>"));
        QCOMPARE(*PasswordFile::read(library.passwordPath()), QStringList({"a", "B", "1"}));
        struct stat info
        {
        };
        QCOMPARE(::stat(QFile::encodeName(library.passwordPath()).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, mode_t(0600));
    }

    void anEmptyPasswordIsAnEmptyArrayNotNothing()
    {
        TestLibrary library;
        QVERIFY(PasswordFile::write(library.passwordPath(), {}));
        const auto entries = PasswordFile::read(library.passwordPath());
        QVERIFY(entries.has_value());
        QVERIFY(entries->isEmpty());
    }

    void aMissingFileIsNothing()
    {
        TestLibrary library;
        QVERIFY(!PasswordFile::read(library.passwordPath()).has_value());
    }

    void aFileThatIsNotAnArrayOfStringsIsNothing_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("not xml") << QByteArray("secret");
        QTest::newRow("dictionary")
            << QByteArray("<?xml version=\"1.0\"?><plist "
                          "version=\"1.0\"><dict><key>a</key><true/></dict></plist>");
        QTest::newRow("numbers") << arrayFile("<string>a</string><integer>1</integer>");
        QTest::newRow("nested array") << arrayFile("<array><string>a</string></array>");
        QTest::newRow("truncated") << arrayFile("<string>a</string>").left(60);
    }
    void aFileThatIsNotAnArrayOfStringsIsNothing()
    {
        QFETCH(QByteArray, bytes);
        TestLibrary library;
        library.writeFile(library.passwordPath(), bytes);
        QVERIFY(!PasswordFile::read(library.passwordPath()).has_value());
        QCOMPARE(library.readFile(library.passwordPath()), bytes);
    }

    void longerStringsAreKeptAsTheyAre()
    {
        TestLibrary library;
        library.writeFile(library.passwordPath(),
                          arrayFile("<string>ab</string><string></string><string>c</string>"));
        QCOMPARE(*PasswordFile::read(library.passwordPath()), QStringList({"ab", "", "c"}));
    }

    void theBufferKnowsAbsentFromEmpty()
    {
        PasswordBuffer::load(std::nullopt);
        QVERIFY(PasswordBuffer::isAbsent());
        QVERIFY(PasswordBuffer::matchFlags().isEmpty());

        PasswordBuffer::load(QStringList());
        QVERIFY(!PasswordBuffer::isAbsent());
        QVERIFY(PasswordBuffer::buffer()->isEmpty());

        PasswordBuffer::load(QStringList({"x", "y", "x"}));
        QCOMPARE(PasswordBuffer::matchFlags(), QList<int>({0, 0, 0}));
    }
};

QTEST_GUILESS_MAIN(TestPasswordFile)
#include "test_password_file.moc"
