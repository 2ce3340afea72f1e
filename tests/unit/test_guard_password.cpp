// The guard's password: its files read as the lock screen reads them, its keys matched by the
// same rules with the same outcome, and no way open without a readable password.
#include "ManualScheduler.h"

#include "guard/GuardPassword.h"
#include "guard/KeyReader.h"
#include "input/PasswordBuffer.h"
#include "input/PasswordFile.h"
#include "input/PasswordMatcher.h"
#include "platform/FunctionKeys.h"
#include "platform/KeyTranslation.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <xkbcommon/xkbcommon-keysyms.h>

namespace {

struct Key
{
    QString text;
    double secondsAfterPrevious = 0.1;
};

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

QByteArray passwordPlist(const QStringList& entries)
{
    QByteArray body;
    for (const QString& entry : entries)
        body += "<string>" + entry.toUtf8() + "</string>";
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<array>" + body +
           "</array>\n</plist>\n";
}

QByteArray optionsPlist(const QByteArray& orderMattersValue)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>"
           "<key>showTime</key><true/>" +
           (orderMattersValue.isEmpty() ? QByteArray()
                                        : "<key>orderMatters</key>" + orderMattersValue) +
           "</dict>\n</plist>\n";
}

// A library folder with the password and, when given, the orderMatters value.
struct Library
{
    Library(const QStringList* password, bool orderMatters)
    {
        if (password)
            writeFile(folder.path() + "/settings.plist", passwordPlist(*password));
        writeFile(folder.path() + "/properties.plist",
                  optionsPlist(orderMatters ? "<true/>" : "<false/>"));
    }
    std::string path() const { return folder.path().toStdString(); }
    QTemporaryDir folder;
};

// Types the keys into a fresh guard; the index of the key that unlocked, or -1.
int guardUnlocksAt(const Library& library, const QList<Key>& keys)
{
    GuardPassword guard(library.path());
    guard.load();
    double now = 5000;
    for (int i = 0; i < keys.size(); ++i) {
        now += keys[i].secondsAfterPrevious;
        if (guard.keyPressed(keys[i].text.toStdU16String(), now))
            return i;
    }
    return -1;
}

// The same keys on the lock screen's matcher.
int lockScreenUnlocksAt(const std::optional<QStringList>& password, bool orderMatters,
                        const QList<Key>& keys)
{
    PasswordBuffer::load(password);
    PasswordBuffer::setUnlocking(false);
    PasswordBuffer::setLastNudgeTime(0);
    FakeClock clock;
    PasswordMatcher matcher(clock);
    for (int i = 0; i < keys.size(); ++i) {
        clock.advanceSeconds(keys[i].secondsAfterPrevious);
        if (matcher.keyPressed(keys[i].text, orderMatters) == PasswordMatcher::Outcome::Unlock)
            return i;
    }
    return -1;
}

QList<Key> typed(const QString& text, double gap = 0.1)
{
    QList<Key> keys;
    for (QChar c : text)
        keys.append({QString(c), gap});
    return keys;
}

} // namespace

class TestGuardPassword : public QObject
{
    Q_OBJECT
private slots:
    void matchesAsTheLockScreenDoes_data()
    {
        QTest::addColumn<QStringList>("password");
        QTest::addColumn<bool>("orderMatters");
        QTest::addColumn<QList<Key>>("keys");
        QTest::addColumn<int>("unlocksAt");
        QTest::newRow("in order") << QStringList{"k", "3", "y"} << true << typed("k3y") << 2;
        QTest::newRow("in order after a mismatch")
            << QStringList{"a", "b", "c"} << true << typed("abxabc") << 5;
        QTest::newRow("in order restarts simply")
            << QStringList{"a", "a", "b"} << true << typed("aaab") << -1;
        QTest::newRow("in order, case counts") << QStringList{"A"} << true << typed("a") << -1;
        QTest::newRow("chord in any order") << QStringList{"a", "b"} << false << typed("ba") << 1;
        QTest::newRow("chord after a pause")
            << QStringList{"a", "b"} << false << QList<Key>{{"a", 0.1}, {"b", 1.0}} << -1;
        QTest::newRow("chord of a repeated character")
            << QStringList{"a", "a"} << false << typed("aa") << 1;
        QTest::newRow("chord broken by a foreign key")
            << QStringList{"a", "a"} << false << typed("axa") << -1;
        QTest::newRow("chord of Return and arrows")
            << QStringList{"\r", QString(QChar(0xf700))} << false
            << QList<Key>{{QString(QChar(0xf700))}, {"\r"}} << 1;
        QTest::newRow("empty password, chord") << QStringList{} << false << typed("z") << 0;
        QTest::newRow("empty password, in order") << QStringList{} << true << typed("zzz") << -1;
        QTest::newRow("latin-1 character")
            << QStringList{QString(QChar(0xe9))} << true << QList<Key>{{QString(QChar(0xe9))}} << 0;
    }
    void matchesAsTheLockScreenDoes()
    {
        QFETCH(QStringList, password);
        QFETCH(bool, orderMatters);
        QFETCH(QList<Key>, keys);
        QFETCH(int, unlocksAt);
        const Library library(&password, orderMatters);
        QCOMPARE(guardUnlocksAt(library, keys), unlocksAt);
        QCOMPARE(lockScreenUnlocksAt(password, orderMatters, keys), unlocksAt);
    }

    void withoutAPasswordFileNothingUnlocks()
    {
        // The lock screen opens on any key then; the guard never does.
        for (bool orderMatters : {true, false}) {
            const Library library(nullptr, orderMatters);
            QCOMPARE(guardUnlocksAt(library, typed("abc\r")), -1);
            QCOMPARE(lockScreenUnlocksAt(std::nullopt, orderMatters, typed("a")), 0);
        }
    }

    void aRepairedPasswordFileIsTakenUp()
    {
        const Library library(nullptr, false);
        GuardPassword guard(library.path());
        guard.load();
        QVERIFY(!guard.isReadable());
        QVERIFY(!guard.keyPressed(u"a", 100.0));
        writeFile(library.folder.path() + "/settings.plist", passwordPlist({"a"}));
        // Read again at most once a second.
        QVERIFY(!guard.keyPressed(u"a", 100.5));
        QVERIFY(guard.keyPressed(u"a", 101.2));
    }

    void readsThePasswordFileAsTheLockScreenDoes_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("readable");
        QTest::newRow("missing") << QByteArray() << false;
        QTest::newRow("empty") << QByteArray("") << false;
        QTest::newRow("not a property list") << QByteArray("k3y\n") << false;
        QTest::newRow("broken XML")
            << QByteArray("<?xml version=\"1.0\"?><plist><array><string>") << false;
        QTest::newRow("binary") << QByteArray("bplist00\xd1\x01\x02", 11) << false;
        QTest::newRow("a dictionary") << optionsPlist("<true/>") << false;
        QTest::newRow("an entry that is no string")
            << QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><array><string>a</string>"
                          "<integer>3</integer></array></plist>")
            << false;
        QTest::newRow("a nul byte in an entry")
            << QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><array><string>a") + '\0' +
                   "b</string></array></plist>"
            << false;
        QTest::newRow("an empty array") << passwordPlist({}) << true;
        QTest::newRow("a password") << passwordPlist({"k", "3", "y"}) << true;
        QTest::newRow("accented") << passwordPlist({QString(QChar(0xe9)), "&"}) << true;
        QTest::newRow("leading white space") << "\n  " + passwordPlist({"x"}) << true;
    }
    void readsThePasswordFileAsTheLockScreenDoes()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, readable);
        QTemporaryDir folder;
        const QString path = folder.path() + "/settings.plist";
        if (QByteArray(QTest::currentDataTag()) != "missing")
            writeFile(path, bytes);
        const auto guard = GuardPassword::readPassword(path.toStdString());
        const auto lockScreen = PasswordFile::read(path);
        QCOMPARE(guard.has_value(), readable);
        QCOMPARE(lockScreen.has_value(), readable);
        if (!readable)
            return;
        QCOMPARE(qsizetype(guard->size()), lockScreen->size());
        for (size_t i = 0; i < guard->size(); ++i)
            QCOMPARE(QString::fromStdU16String((*guard)[i]), lockScreen->at(qsizetype(i)));
    }

    void readsOrderMattersOfAnyType_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("expected");
        QTest::newRow("true") << QByteArray("<true/>") << true;
        QTest::newRow("false") << QByteArray("<false/>") << false;
        QTest::newRow("integer 1") << QByteArray("<integer>1</integer>") << true;
        QTest::newRow("integer 0") << QByteArray("<integer>0</integer>") << false;
        QTest::newRow("real") << QByteArray("<real>0.5</real>") << true;
        QTest::newRow("string YES") << QByteArray("<string>YES</string>") << true;
        QTest::newRow("string no") << QByteArray("<string>no</string>") << false;
        QTest::newRow("date") << QByteArray("<date>2026-01-01T00:00:00Z</date>") << false;
        QTest::newRow("missing key") << QByteArray() << false;
    }
    void readsOrderMattersOfAnyType()
    {
        QFETCH(QByteArray, value);
        QFETCH(bool, expected);
        QTemporaryDir folder;
        const QString path = folder.path() + "/properties.plist";
        writeFile(path, optionsPlist(value));
        QCOMPARE(GuardPassword::readOrderMatters(path.toStdString()), expected);
    }

    void orderMattersIsFalseWithoutAReadableFile()
    {
        QTemporaryDir folder;
        const QString path = folder.path() + "/properties.plist";
        QVERIFY(!GuardPassword::readOrderMatters(path.toStdString()));
        writeFile(path, "orderMatters = true");
        QVERIFY(!GuardPassword::readOrderMatters(path.toStdString()));
    }

    void translatesKeysAsTheLockScreenDoes()
    {
        for (const FunctionKeys::Entry& entry : FunctionKeys::table) {
            const auto guard = KeyReader::translate(entry.keysym, "");
            const TranslatedKey lockScreen = KeyTranslation::fromKeysym(entry.keysym, {}, false);
            // Shift, Control and Caps Lock are not keys of the password on either side.
            if (!guard)
                continue;
            QCOMPARE(QString::fromStdU16String(*guard), lockScreen.characters);
        }
        QVERIFY(KeyReader::translate(XKB_KEY_Return, "\r") == std::u16string(u"\r"));
        QVERIFY(KeyReader::translate(XKB_KEY_BackSpace, "\b") == std::u16string(u"\x7f"));
        QVERIFY(KeyReader::translate(XKB_KEY_a, "a") == std::u16string(u"a"));
        QVERIFY(KeyReader::translate(XKB_KEY_A, "A") == std::u16string(u"A"));
        QVERIFY(KeyReader::translate(XKB_KEY_eacute, "\xc3\xa9") == std::u16string(u"\u00e9"));
        for (uint32_t ignored :
             {XKB_KEY_Shift_L, XKB_KEY_Control_R, XKB_KEY_Alt_L, XKB_KEY_Super_L, XKB_KEY_Caps_Lock,
              XKB_KEY_ISO_Level3_Shift, XKB_KEY_XF86AudioPlay, XKB_KEY_XF86AudioNext})
            QVERIFY(!KeyReader::translate(ignored, ""));
    }
};

QTEST_GUILESS_MAIN(TestGuardPassword)
#include "test_guard_password.moc"
