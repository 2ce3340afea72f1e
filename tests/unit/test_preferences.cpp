#include "TestLibrary.h"

#include "settings/Preferences.h"
#include "settings/SettingsStore.h"

#include <QTest>

namespace {
Preferences loadedFrom(const TestLibrary& library)
{
    Preferences preferences;
    preferences.loadFrom(SettingsStore(library.folder()).load());
    return preferences;
}
} // namespace

class TestPreferences : public QObject
{
    Q_OBJECT
private slots:
    void anEmptyFileGivesTheAbsentValuesNotTheInitialOnes()
    {
        TestLibrary library;
        library.writeProperties("");
        const Preferences p = loadedFrom(library);
        QCOMPARE(p.showMusic, false);
        QCOMPARE(p.timeoutTime, 0.0f);
        QCOMPARE(p.wiggleLock, false);
        QCOMPARE(p.flat, false);
        QCOMPARE(p.closeAnimation, 0);
        QCOMPARE(p.wiggleStrength, 0);
        QCOMPARE(p.startAnimation, 0);
        QVERIFY(!p.shortcutModifier1);
        QVERIFY(!p.shortcutString);
        QCOMPARE(p.shortcutKey, 0);
    }

    void theCapsLockNoticeIsAlwaysOnAfterAStart()
    {
        TestLibrary library;
        library.writeProperties("<key>showCapslock</key><false/>");
        QCOMPARE(loadedFrom(library).showCapslock, true);
    }

    void aFractionalTimeoutIsLoadedTruncated()
    {
        TestLibrary library;
        library.writeProperties("<key>timeoutTime</key><real>7.9</real>");
        QCOMPARE(loadedFrom(library).timeoutTime, 7.0f);
    }

    void anyNumberTypeServesAnyKey()
    {
        TestLibrary library;
        library.writeProperties("<key>showMusic</key><integer>2</integer>"
                                "<key>showTime</key><real>0.5</real>"
                                "<key>textColor</key><true/>"
                                "<key>lockImageType</key><real>3.7</real>"
                                "<key>lockBrightnes</key><integer>1</integer>"
                                "<key>wiggleStrength</key><real>-4.9</real>"
                                "<key>shortcutModifier2</key><true/>"
                                "<key>shortcutModifier3</key><real>2048.0</real>");
        const Preferences p = loadedFrom(library);
        QCOMPARE(p.showMusic, true);
        QCOMPARE(p.showTime, true);
        QCOMPARE(p.textIsBlack, 1);
        QCOMPARE(p.lockImageType, 3);
        QCOMPARE(p.lockBrightness, 1.0f);
        QCOMPARE(p.wiggleStrength, -4);
        QCOMPARE(p.shortcutModifier2, std::optional<int>(1));
        QCOMPARE(p.shortcutModifier3, std::optional<int>(2048));
    }

    void stringsAreReadForTheirLeadingNumber()
    {
        TestLibrary library;
        library.writeProperties("<key>showMusic</key><string>YES</string>"
                                "<key>showTime</key><string>no</string>"
                                "<key>showBattery</key><string> +007</string>"
                                "<key>timeoutTime</key><string>12 minutes</string>"
                                "<key>lockBrightnes</key><string>0.75</string>"
                                "<key>closeAnimation</key><string>three</string>"
                                "<key>shortcutModifier1</key><string>256</string>");
        const Preferences p = loadedFrom(library);
        QCOMPARE(p.showMusic, true);
        QCOMPARE(p.showTime, false);
        QCOMPARE(p.showBattery, true);
        QCOMPARE(p.timeoutTime, 12.0f);
        QCOMPARE(p.lockBrightness, 0.75f);
        QCOMPARE(p.closeAnimation, 0);
        QCOMPARE(p.shortcutModifier1, std::optional<int>(256));
    }

    void valuesOfOtherTypesReadAsZeroOrAbsent()
    {
        TestLibrary library;
        library.writeProperties("<key>showMusic</key><array><true/></array>"
                                "<key>timeoutTime</key><dict/>"
                                "<key>lockImageType</key><data>AAEC</data>"
                                "<key>startAnimation</key><date>2026-01-01T00:00:00Z</date>"
                                "<key>shortcutModifier1</key><array/>"
                                "<key>shortcutString</key><integer>5</integer>");
        Preferences p = loadedFrom(library);
        QCOMPARE(p.showMusic, false);
        QCOMPARE(p.timeoutTime, 0.0f);
        QCOMPARE(p.lockImageType, 0);
        QCOMPARE(p.startAnimation, 0);
        QVERIFY(!p.shortcutModifier1);
        QVERIFY(!p.shortcutString);
        p.applyDefaultHotKeyCharacter();
        QCOMPARE(*p.shortcutString, QString("L"));
        QCOMPARE(p.shortcutKey, 37);
    }

    void outOfRangeNumbersNeverOverflow()
    {
        TestLibrary library;
        library.writeProperties("<key>lockImageType</key><integer>4294967301</integer>"
                                "<key>closeAnimation</key><real>1e300</real>"
                                "<key>startAnimation</key><real>-1e300</real>"
                                "<key>wiggleStrength</key><real>nan</real>"
                                "<key>shortcutModifier1</key><integer>2147483647</integer>"
                                "<key>shortcutModifier2</key><integer>2147483647</integer>");
        const Preferences p = loadedFrom(library);
        QCOMPARE(p.lockImageType, 5); // the low 32 bits
        QCOMPARE(p.closeAnimation, std::numeric_limits<int>::max());
        QCOMPARE(p.startAnimation, std::numeric_limits<int>::min());
        QCOMPARE(p.wiggleStrength, 0);
        QCOMPARE(p.hotKeyModifierSum(), -2); // wraps, without undefined behaviour
    }

    void theHotKeyCharacterDefaultsToLOnlyWhenAbsent()
    {
        Preferences p;
        p.applyDefaultHotKeyCharacter();
        QCOMPARE(*p.shortcutString, QString("L"));
        QCOMPARE(p.shortcutKey, 37);

        Preferences chosen;
        chosen.shortcutString = QString("K");
        chosen.shortcutKey = 40;
        chosen.applyDefaultHotKeyCharacter();
        QCOMPARE(*chosen.shortcutString, QString("K"));
        QCOMPARE(chosen.shortcutKey, 40);
    }

    void theFirstRunHotKeyIsCommandOptionL()
    {
        Preferences p;
        p.applyFirstRunHotKey();
        QCOMPARE(p.useShortcut, true);
        QCOMPARE(p.shortcutKey, 37);
        QCOMPARE(p.hotKeyModifierSum(), 256 + 2048);
        QCOMPARE(*p.shortcutString, QString("L"));
    }

    void absentModifiersSumToZero()
    {
        Preferences p;
        QCOMPARE(p.hotKeyModifierSum(), 0);
        p.shortcutModifier2 = 4096;
        QCOMPARE(p.hotKeyModifierSum(), 4096);
    }
};

QTEST_GUILESS_MAIN(TestPreferences)
#include "test_preferences.moc"
