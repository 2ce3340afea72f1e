#include "StartedProgram.h"

#include "app/DisplayPower.h"
#include "app/LockSession.h"
#include "input/PasswordFile.h"
#include "platform/DisplayBrightness.h"
#include "platform/Log.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace std::chrono_literals;

namespace {

void writeAttribute(const QString& path, const QByteArray& value)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("cannot write %s", qPrintable(path));
    file.write(value + '\n');
}

QByteArray readAttribute(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}
} // namespace

class TestDisplayPower : public QObject
{
    Q_OBJECT
private slots:
    void init() { m_capture.clear(); }

    void aTimeoutOfZeroTurnsTheDisplayOffAtOnce()
    {
        TestLibrary library;
        library.configure("<key>timeout</key><true/><key>timeoutTime</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(0ms);
        QCOMPARE(m_log, QStringList({"turning off"}));
        QCOMPARE(*program.brightness.brightness(), 0.0f);
        QVERIFY(program.delegate->displayPower()->displayDimmed());
    }

    void theDisplayGoesDarkAfterTheSetMinutes()
    {
        TestLibrary library;
        library.configure("<key>timeout</key><true/><key>timeoutTime</key><integer>5</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(299s);
        QVERIFY(m_log.isEmpty());
        program.scheduler.advance(1s);
        QCOMPARE(m_log, QStringList({"turning off"}));
        // The first key brings it back as it was and starts the time-out again.
        program.delegate->keyPressed("x");
        QCOMPARE(*program.brightness.brightness(), 0.8f);
        QVERIFY(!program.delegate->displayPower()->displayDimmed());
        program.scheduler.advance(300s);
        QCOMPARE(m_log.size(), 2);
    }

    void dimmingAndTheTimeoutTogether()
    {
        TestLibrary library;
        library.configure("<key>dim</key><true/><key>lockBrightnes</key><real>0.3</real>"
                          "<key>timeout</key><true/><key>timeoutTime</key><integer>1</integer>"
                          "<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.delegate->displayPower()->waitForDimming();
        QCOMPARE(*program.brightness.brightness(), 0.3f); // dimmed at once
        QCOMPARE(program.scripts.runs(), QStringList({"animateOn", "Tessarine"}));
        program.scheduler.advance(60s);
        QCOMPARE(*program.brightness.brightness(), 0.0f); // dark after the time-out
        program.delegate->keyPressed("x");
        QCOMPARE(*program.brightness.brightness(), 0.8f); // the undimmed level from the start
        program.delegate->keyPressed("a");
        QVERIFY(!program.delegate->isLockActive());
        QCOMPARE(*program.brightness.brightness(), 0.8f); // and back at the unlock
    }

    void aLockBrightnessAboveOneIsHandedOnUnchanged()
    {
        TestLibrary library;
        library.configure("<key>dim</key><true/><key>lockBrightnes</key><real>1.7</real>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.delegate->displayPower()->waitForDimming();
        QCOMPARE(*program.brightness.brightness(), 1.7f);
    }

    void theDimmingClearsTheOutsideMark()
    {
        TestLibrary library;
        library.configure("<key>dim</key><true/>");
        StartedProgram program(library.folder());
        program.delegate->changeBackBrightness();
        QVERIFY(program.delegate->backBrightnessChanged());
        program.delegate->lock();
        program.delegate->displayPower()->waitForDimming();
        QVERIFY(!program.delegate->backBrightnessChanged());
    }

    void theSharedTimerFieldHoldsTheTimeoutAndTheCloseStopsIt()
    {
        TestLibrary library;
        library.configure("<key>timeout</key><true/><key>timeoutTime</key><integer>5</integer>"
                          "<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        QVERIFY(program.delegate->session()->timer().isArmed());
        program.delegate->unlock();
        QVERIFY(!program.delegate->session()->timer().isArmed());
        program.scheduler.advance(std::chrono::hours(1));
        QVERIFY(m_log.isEmpty());
    }

    void aLockEndingInTheDarkLeavesTheFlagForTheNextLock()
    {
        TestLibrary library;
        library.configure("<key>timeout</key><true/><key>timeoutTime</key><integer>0</integer>"
                          "<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.scheduler.advance(0ms);
        program.delegate->unlock();                       // ends without a key
        QCOMPARE(*program.brightness.brightness(), 0.0f); // not restored by the unlock
        QVERIFY(program.delegate->displayPower()->displayDimmed());
        program.brightness.set(0.5f);
        program.delegate->lock();
        program.delegate->keyPressed("x");
        QCOMPARE(*program.brightness.brightness(), 0.5f); // the level saved at this lock's start
    }

    void aShortLockPutsTheBrightnessBackAndTheLateDimmingLeavesItAlone()
    {
        TestLibrary library;
        library.configure("<key>dim</key><true/><key>lockBrightnes</key><real>0.2</real>"
                          "<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->lock();
        program.delegate->unlock(); // before the dimming may have finished
        program.delegate->displayPower()->waitForDimming();
        QVERIFY(*program.brightness.brightness() != 0.2f);
    }

    void aLockAskedToRunTheScriptRunsItAtTheEnd()
    {
        TestLibrary library;
        library.configure("<key>closeAnimation</key><integer>0</integer>");
        StartedProgram program(library.folder());
        program.delegate->animateWasActive();
        program.delegate->lock();
        program.delegate->unlock();
        QCOMPARE(program.scripts.runs(), QStringList({"animateOn"}));
    }

    void theBacklightInSysfs()
    {
        QTemporaryDir root;
        QDir(root.path()).mkpath("acpi_video0");
        QDir(root.path()).mkpath("intel_backlight");
        writeAttribute(root.path() + "/intel_backlight/max_brightness", "1000");
        writeAttribute(root.path() + "/intel_backlight/brightness", "900");
        const QString device = root.path() + "/acpi_video0";
        writeAttribute(device + "/max_brightness", "200");
        writeAttribute(device + "/brightness", "150");
        LinuxDisplayBrightness display(root.path());
        QCOMPARE(display.device(), QString("acpi_video0"));
        QCOMPARE(*display.brightness(), 0.75f);
        display.setBrightness(0.3f);
        QCOMPARE(readAttribute(device + "/brightness"), QByteArray("60"));
        display.setBrightness(-1.0f); // nothing a device could take: left alone
        QCOMPARE(readAttribute(device + "/brightness"), QByteArray("60"));
        // Only the first display's backlight changes.
        QCOMPARE(readAttribute(root.path() + "/intel_backlight/brightness"), QByteArray("900"));
    }

    void aBacklightThatCannotBeReadOrWrittenChangesNothing()
    {
        QTemporaryDir root;
        QDir(root.path()).mkpath("panel");
        LinuxDisplayBrightness display(root.path());
        QVERIFY(!display.brightness()); // no files at all
        display.setBrightness(0.5f);
        QVERIFY(!QFile::exists(root.path() + "/panel/brightness"));
        // No device at all and no display connection: nothing to read, nothing breaks.
        QTemporaryDir empty;
        LinuxDisplayBrightness none(empty.path());
        QVERIFY(!none.brightness());
        none.setBrightness(0.0f);
    }

private:
    LogCapture m_capture;
    QStringList& m_log = m_capture.lines();
};

QTEST_MAIN(TestDisplayPower)
#include "test_display_power.moc"
