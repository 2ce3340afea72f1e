#include "platform/LinuxDesktopPicture.h"
#include "platform/XfconfPictureSource.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMutex>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QUrl>

#include <atomic>

// XFCE's settings daemon as far as the desktop's picture goes: the properties of one channel.
class FakeXfconf : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.xfce.Xfconf")
public:
    std::atomic<int> answered = 0;

    void setProperties(const QVariantMap& properties, int delayMs = 0)
    {
        QMutexLocker lock(&m_mutex);
        m_properties = properties;
        m_delayMs = delayMs;
    }

public slots:
    QVariantMap GetAllProperties(const QString& channel, const QString& base)
    {
        QVariantMap answer;
        int delay = 0;
        {
            QMutexLocker lock(&m_mutex);
            delay = m_delayMs;
            if (channel == "xfce4-desktop") {
                for (auto it = m_properties.cbegin(); it != m_properties.cend(); ++it) {
                    if (it.key().startsWith(base + '/'))
                        answer.insert(it.key(), it.value());
                }
            }
        }
        QThread::msleep(delay);
        ++answered;
        return answer;
    }

private:
    QMutex m_mutex;
    QVariantMap m_properties;
    int m_delayMs = 0;
};

namespace {

QString imageKey(const QString& monitor)
{
    return "/backdrop/screen0/monitor" + monitor + "/workspace0/last-image";
}

QString fileUrl(const QString& path)
{
    return QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded());
}

} // namespace

class TestXfconfPicture : public QObject
{
    Q_OBJECT
private:
    QProcess m_bus;
    QString m_address;
    QThread m_thread;
    FakeXfconf* m_fake = nullptr;
    QTemporaryDir m_dir;

    static void writeText(const QString& path, const QString& text)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) <= 0)
            qFatal("cannot write");
    }

    QString picture(const QString& name)
    {
        const QString path = m_dir.filePath(name);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(name.toUtf8()) <= 0)
            qFatal("cannot write");
        return path;
    }

    QDBusConnection client() { return QDBusConnection::connectToBus(m_address, "client"); }
    QDBusConnection service() { return QDBusConnection::connectToBus(m_address, "xfconf"); }

    QString urlFor(int index, const QString& name, int timeoutMs = 2000)
    {
        XfconfPictureSource source(client(), timeoutMs);
        return source.urlForScreen({index, name, {}});
    }

private slots:
    void initTestCase()
    {
        // A bus of the test's own. Asking for the daemon would start it, as a real session does,
        // from a service file: here one that only leaves a mark.
        const QString services = m_dir.filePath("services");
        QDir().mkpath(services);
        writeText(services + "/org.xfce.Xfconf.service",
                  "[D-BUS Service]\nName=org.xfce.Xfconf\nExec=/bin/sh -c 'touch " +
                      m_dir.filePath("started") + "'\n");
        writeText(m_dir.filePath("bus.conf"),
                  "<busconfig><type>session</type><listen>unix:dir=" + m_dir.path() +
                      "</listen><auth>EXTERNAL</auth><servicedir>" + services +
                      "</servicedir><policy context='default'><allow send_destination='*'/>"
                      "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>\n");
        m_bus.start("dbus-daemon", {"--config-file=" + m_dir.filePath("bus.conf"), "--nofork",
                                    "--print-address=1"});
        QVERIFY(m_bus.waitForStarted());
        QVERIFY(m_bus.waitForReadyRead(5000));
        m_address = QString::fromUtf8(m_bus.readLine()).trimmed();
        QVERIFY(!m_address.isEmpty());
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toUtf8());
        qputenv("GSETTINGS_BACKEND", "memory");

        m_fake = new FakeXfconf;
        m_thread.start();
        m_fake->moveToThread(&m_thread);
        QVERIFY(
            service().registerObject("/org/xfce/Xfconf", m_fake, QDBusConnection::ExportAllSlots));
        QVERIFY(service().registerService("org.xfce.Xfconf"));
    }

    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus("client");
        QDBusConnection::disconnectFromBus("xfconf");
        m_thread.quit();
        m_thread.wait();
        delete m_fake;
        m_bus.kill();
        m_bus.waitForFinished();
    }

    void eachMonitorHasItsPictureByName()
    {
        const QString left = picture("left.png"), right = picture("right picture.png");
        m_fake->setProperties({{imageKey("HDMI-1"), left}, {imageKey("DP-2"), right}});
        QCOMPARE(urlFor(0, "DP-2"), fileUrl(right));
        QCOMPARE(urlFor(1, "HDMI-1"), fileUrl(left));
    }

    void olderNumberedMonitorsAreFoundByIndex()
    {
        const QString first = picture("first.png"), second = picture("second.png");
        m_fake->setProperties({{imageKey("0"), first}, {imageKey("1"), second}});
        QCOMPARE(urlFor(1, "VGA-1"), fileUrl(second));
        QCOMPARE(urlFor(0, "VGA-1"), fileUrl(first));
    }

    void anUnknownMonitorGetsAPictureXfceKnows()
    {
        const QString only = picture("only.png");
        m_fake->setProperties({{imageKey("eDP-1"), only},
                               {"/backdrop/screen0/monitoreDP-1/workspace1/last-image",
                                picture("other workspace.png")}});
        QCOMPARE(urlFor(0, "HDMI-3"), fileUrl(only));
    }

    void aPictureThatIsGoneIsPassedOver()
    {
        const QString there = picture("there.png");
        m_fake->setProperties(
            {{imageKey("DP-1"), m_dir.filePath("gone.png")}, {imageKey("HDMI-1"), there}});
        QCOMPARE(urlFor(0, "DP-1"), fileUrl(there));
        m_fake->setProperties({{imageKey("DP-1"), m_dir.filePath("gone.png")},
                               {imageKey("DP-2"), m_dir.path()},
                               {"/backdrop/screen0/monitorDP-1/workspace0/color-style", 0}});
        QCOMPARE(urlFor(0, "DP-1"), QString());
    }

    void theSessionsChainAsksXfceOnXfce()
    {
        const QString picturePath = picture("xfce.png");
        m_fake->setProperties({{imageKey("Virtual-1"), picturePath}});
        QTemporaryDir home;
        LinuxDesktopPicture desktop(LinuxDesktopPicture::sessionSources("XFCE", home.path()));
        QCOMPARE(desktop.urlForScreen(0), fileUrl(picturePath));
        QCOMPARE(desktop.read(desktop.urlForScreen(0)), QByteArray("xfce.png"));
    }

    void aDaemonThatDoesNotAnswerInTimeIsNoPicture()
    {
        m_fake->setProperties({{imageKey("DP-1"), picture("late.png")}}, 3000);
        const int before = m_fake->answered;
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(urlFor(0, "DP-1", 200), QString());
        QVERIFY2(timer.elapsed() < 1500, qPrintable(QString::number(timer.elapsed())));
        // Let the late answer go before the next test asks.
        QTRY_COMPARE_WITH_TIMEOUT(m_fake->answered.load(), before + 1, 10000);
        m_fake->setProperties({});
    }

    void aDaemonThatDoesNotRunIsNotStarted()
    {
        QVERIFY(service().unregisterService("org.xfce.Xfconf"));
        m_fake->setProperties({{imageKey("DP-1"), picture("unused.png")}});
        QCOMPARE(urlFor(0, "DP-1"), QString());
        // The bus would have run the service file's command by now.
        QTest::qWait(300);
        QVERIFY(!QFile::exists(m_dir.filePath("started")));
        QVERIFY(service().registerService("org.xfce.Xfconf"));
        QCOMPARE(urlFor(0, "DP-1"), fileUrl(m_dir.filePath("unused.png")));
    }

    // What the test above relies on: on this bus, a plain call would have started the daemon.
    void aPlainCallWouldHaveStartedIt()
    {
        QVERIFY(service().unregisterService("org.xfce.Xfconf"));
        QDBusMessage call = QDBusMessage::createMethodCall("org.xfce.Xfconf", "/org/xfce/Xfconf",
                                                           "org.xfce.Xfconf", "GetAllProperties");
        call << QStringLiteral("xfce4-desktop") << QStringLiteral("/backdrop");
        QVERIFY(client().send(call));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_dir.filePath("started")), 5000);
    }

    void noBusIsNoPicture()
    {
        XfconfPictureSource source(QDBusConnection::connectToBus("unix:path=/nonexistent", "none"));
        QCOMPARE(source.urlForScreen({0, "DP-1", {}}), QString());
    }
};

QTEST_MAIN(TestXfconfPicture)
#include "test_xfconf_picture.moc"
