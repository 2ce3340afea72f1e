#include "StartedProgram.h"

#include "input/PasswordFile.h"
#include "platform/Log.h"
#include "platform/x11/X11GlobalHotKey.h"
#include "triggers/HotKey.h"

#include <QTest>

#include <xcb/xcb.h>

class TestHotKey : public QObject
{
    Q_OBJECT
private slots:
    void init() { m_capture.clear(); }

    void theFirstStartRegistersCommandOptionL()
    {
        TestLibrary library;
        StartedProgram program(library.folder());
        QVERIFY(program.hotKey.registered);
        QCOMPARE(program.hotKey.keyCode, 37);
        QCOMPARE(program.hotKey.modifierMask, 256 + 2048);
    }

    void aPasswordWithoutOptionsRegistersTheBareL()
    {
        TestLibrary library;
        PasswordFile::write(library.passwordPath(), {"a"});
        StartedProgram program(library.folder());
        QVERIFY(program.hotKey.registered);
        QCOMPARE(program.hotKey.keyCode, 37);
        QCOMPARE(program.hotKey.modifierMask, 0);
    }

    void switchedOffItIsNotRegistered()
    {
        TestLibrary library;
        library.writeProperties("<key>useShortcut</key><false/>");
        PasswordFile::write(library.passwordPath(), {"a"});
        StartedProgram program(library.folder());
        QCOMPARE(program.hotKey.registrations, 0);
    }

    void aPressLocks()
    {
        TestLibrary library;
        library.writeProperties("");
        StartedProgram program(library.folder());
        program.hotKey.press();
        QVERIFY(program.delegate->isLockActive());
    }

    void anUpperCaseKIsStoredWithItsKeyCode()
    {
        TestLibrary library;
        StartedProgram program(library.folder());
        program.delegate->shortcutText("K");
        QCOMPARE(*program.delegate->preferences().shortcutString, QString("K"));
        QCOMPARE(program.delegate->preferences().shortcutKey, 40);
        QCOMPARE(program.hotKey.keyCode, 40);
        QCOMPARE(library.properties()->value("shortcutString"), QString("string:K"));
        QCOMPARE(library.properties()->value("shortcutKey"), QString("integer:40"));
    }

    void aPunctuationMarkIsStoredButKeepsTheOldKeyCode()
    {
        TestLibrary library;
        StartedProgram program(library.folder());
        program.delegate->shortcutText(";");
        QCOMPARE(*program.delegate->preferences().shortcutString, QString(";"));
        QCOMPARE(program.delegate->preferences().shortcutKey, 37);
        QCOMPARE(library.properties()->value("shortcutString"), QString("string:;"));
        QCOMPARE(library.properties()->value("shortcutKey"), QString("integer:37"));
    }

    void anEmptyFieldChangesNothing()
    {
        TestLibrary library;
        StartedProgram program(library.folder());
        const int registrations = program.hotKey.registrations;
        program.delegate->shortcutText("");
        QCOMPARE(program.hotKey.registrations, registrations);
        QCOMPARE(*program.delegate->preferences().shortcutString, QString("L"));
    }

    void commandInTheFirstTwoRegistersFiveHundredAndTwelve()
    {
        TestLibrary library;
        library.writeProperties(
            "<key>useShortcut</key><true/><key>shortcutKey</key><integer>37</integer>"
            "<key>shortcutString</key><string>L</string>");
        PasswordFile::write(library.passwordPath(), {"a"});
        StartedProgram program(library.folder());
        program.delegate->firstShortcutModifier(1);
        program.delegate->secondShortcutModifier(1);
        QCOMPARE(program.hotKey.modifierMask, 512);
    }

    void commandTwiceIsShift()
    {
        TestLibrary library;
        StartedProgram program(library.folder());
        program.delegate->firstShortcutModifier(1);
        program.delegate->secondShortcutModifier(1);
        program.delegate->thirdShortcutModifier(4); // shift, for 256 + 256 + 512
        QCOMPARE(program.hotKey.modifierMask, 1024);
        program.delegate->thirdShortcutModifier(2);
        QCOMPARE(program.hotKey.modifierMask, 512 + 2048);
        QCOMPARE(library.properties()->value("shortcutModifier1"), QString("integer:256"));
        QCOMPARE(library.properties()->value("shortcutModifier2"), QString("integer:256"));
        QCOMPARE(library.properties()->value("shortcutModifier3"), QString("integer:2048"));
        QCOMPARE(X11GlobalHotKey::xModifiers(512), uint16_t(XCB_MOD_MASK_SHIFT));
    }

    void noneInTheThirdKeepsTheThirdModifier()
    {
        TestLibrary library;
        StartedProgram program(library.folder());
        program.delegate->thirdShortcutModifier(0);
        QCOMPARE(*program.delegate->preferences().shortcutModifier3, 2048);
        program.delegate->firstShortcutModifier(3);
        program.delegate->firstShortcutModifier(0);
        QCOMPARE(*program.delegate->preferences().shortcutModifier1, 0);
        program.delegate->secondShortcutModifier(9); // no such item: unchanged
        QCOMPARE(*program.delegate->preferences().shortcutModifier2, 256);
    }

    void switchingOffAndOnTwiceAddsTwoHandlersAndAPressStillLocksOnce()
    {
        TestLibrary library;
        library.writeProperties("<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder()); // no password: any key unlocks
        QCOMPARE(program.delegate->hotKey()->handlerCount(), 1);
        for (int i = 0; i < 2; ++i) {
            program.delegate->toggleKeyboardShortcut();
            QVERIFY(!program.hotKey.registered);
            program.delegate->toggleKeyboardShortcut();
            QVERIFY(program.hotKey.registered);
        }
        QCOMPARE(program.delegate->hotKey()->handlerCount(), 3);
        QCOMPARE(library.properties()->value("useShortcut"), QString("boolean:true"));
        program.hotKey.press();
        QVERIFY(program.delegate->isLockActive());
        QCOMPARE(program.pointer.clicks, 0); // one session: nothing started twice
        program.delegate->keyPressed("x");
        QVERIFY(!program.delegate->isLockActive());
    }

    void aCombinationHeldElsewhereIsSaidOnceAndNeverLocks()
    {
        TestLibrary library;
        library.writeProperties("");
        StartedProgram started(library.folder());
        // A registration that fails is reported once, and nothing crashes.
        started.hotKey.available = false;
        m_log.clear();
        started.delegate->reinstallHotKey();
        QCOMPARE(m_log.size(), 1);
        QVERIFY(m_log.first().contains("another program holds it"));
        QVERIFY(!started.delegate->hotKey()->isRegistered());
    }

    void carbonMasksBecomeXModifiers()
    {
        QCOMPARE(X11GlobalHotKey::xModifiers(256 + 2048),
                 uint16_t(XCB_MOD_MASK_4 | XCB_MOD_MASK_1));
        QCOMPARE(X11GlobalHotKey::xModifiers(4096), uint16_t(XCB_MOD_MASK_CONTROL));
        QCOMPARE(X11GlobalHotKey::xModifiers(1024), uint16_t(XCB_MOD_MASK_LOCK));
        QCOMPARE(X11GlobalHotKey::xModifiers(8192 + 32768),
                 uint16_t(XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL));
        QCOMPARE(X11GlobalHotKey::xModifiers(0), uint16_t(0));
    }

    void theTableHoldsLettersAndDigitsOnly()
    {
        QCOMPARE(HotKey::keyCodeForCharacter('a'), std::optional<int>(0));
        QCOMPARE(HotKey::keyCodeForCharacter('Y'), std::optional<int>(16));
        QCOMPARE(HotKey::keyCodeForCharacter('5'), std::optional<int>(23));
        QCOMPARE(HotKey::keyCodeForCharacter('0'), std::optional<int>(29));
        QVERIFY(!HotKey::keyCodeForCharacter('-'));
        QVERIFY(!HotKey::keyCodeForCharacter(QChar(0xe9)));
    }

private:
    LogCapture m_capture;
    QStringList& m_log = m_capture.lines();
};

QTEST_MAIN(TestHotKey)
#include "test_hot_key.moc"
