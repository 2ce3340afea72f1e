#include "platform/PowerSources.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {
void writeAttribute(const QString& root, const QString& device, const QString& name,
                    const QByteArray& value)
{
    QDir(root).mkpath(device);
    QFile file(root + '/' + device + '/' + name);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write");
    file.write(value + '\n');
}
} // namespace

class TestPowerSources : public QObject
{
    Q_OBJECT
private slots:
    void noSuppliesMeansNoBattery()
    {
        QTemporaryDir root;
        SysfsPowerSources sources(root.path());
        QVERIFY(!sources.firstBattery());
        QVERIFY(!sources.externalPowerConnected());
    }

    void aDesktopWithOnlyMainsHasNoBattery()
    {
        QTemporaryDir root;
        writeAttribute(root.path(), "AC", "type", "Mains");
        writeAttribute(root.path(), "AC", "online", "1");
        SysfsPowerSources sources(root.path());
        QVERIFY(!sources.firstBattery());
        QVERIFY(sources.externalPowerConnected());
    }

    void theFirstBatteryByNameIsRead()
    {
        QTemporaryDir root;
        writeAttribute(root.path(), "BAT1", "type", "Battery");
        writeAttribute(root.path(), "BAT1", "energy_now", "1");
        writeAttribute(root.path(), "BAT1", "energy_full", "2");
        writeAttribute(root.path(), "BAT0", "type", "Battery");
        writeAttribute(root.path(), "BAT0", "charge_now", "3000");
        writeAttribute(root.path(), "BAT0", "charge_full", "4000");
        writeAttribute(root.path(), "usb", "type", "USB");
        writeAttribute(root.path(), "usb", "online", "0");
        SysfsPowerSources sources(root.path());
        const auto battery = sources.firstBattery();
        QVERIFY(battery);
        QCOMPARE(battery->currentCapacity, 3000.0);
        QCOMPARE(battery->maxCapacity, 4000.0);
        QVERIFY(!sources.externalPowerConnected());
    }

    void aPeripheralsBatteryIsNotTheMachines()
    {
        QTemporaryDir root;
        writeAttribute(root.path(), "hidpp_battery_0", "type", "Battery");
        writeAttribute(root.path(), "hidpp_battery_0", "scope", "Device");
        writeAttribute(root.path(), "hidpp_battery_0", "energy_now", "1");
        writeAttribute(root.path(), "hidpp_battery_0", "energy_full", "2");
        SysfsPowerSources sources(root.path());
        QVERIFY(!sources.firstBattery());
    }

    void aBatteryThatCannotBeReadCountsAsNone()
    {
        QTemporaryDir root;
        writeAttribute(root.path(), "BAT0", "type", "Battery");
        writeAttribute(root.path(), "BAT0", "energy_now", "garbage");
        SysfsPowerSources sources(root.path());
        QVERIFY(!sources.firstBattery());
    }

    void theRootCanBeMovedFromTheEnvironment()
    {
        qputenv("TESSARINE_POWER_SUPPLY_DIR", "/somewhere/else");
        QCOMPARE(SysfsPowerSources::defaultRoot(), QString("/somewhere/else"));
        qunsetenv("TESSARINE_POWER_SUPPLY_DIR");
        QCOMPARE(SysfsPowerSources::defaultRoot(), QString("/sys/class/power_supply"));
    }
};

QTEST_GUILESS_MAIN(TestPowerSources)
#include "test_power_sources.moc"
