// The music player service against a real player: mpv with its MPRIS plugin, playing two tones
// made by sox, on a private session bus. playerctl is the outside witness of what the player
// does.

#include "PrivateBus.h"

#include "platform/MprisMusicPlayer.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <memory>

namespace {

const QString mprisPlugin = QStringLiteral("/usr/lib/mpv-mpris/mpris.so");
const QColor coverColour(58, 110, 165);

} // namespace

class TestMpvMusicPlayer : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrivateBus> m_bus;
    QTemporaryDir m_home;
    QTemporaryDir m_music;
    QProcessEnvironment m_environment;
    QProcess m_mpv;
    std::unique_ptr<MprisMusicPlayer> m_player;

    // Runs a program of the rig against the private bus; its standard output, trimmed.
    QString run(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.setProcessEnvironment(m_environment);
        process.start(program, arguments);
        if (!process.waitForFinished(10000) || process.exitCode() != 0)
            qWarning("%s %s: %s", qPrintable(program), qPrintable(arguments.join(' ')),
                     process.readAllStandardError().constData());
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }
    QString trackName()
    {
        const auto track = m_player->currentTrack();
        return track ? track->name : QString();
    }
    QString playerctl(const QStringList& arguments)
    {
        return run(QStringLiteral("playerctl"), QStringList{"--player=mpv"} + arguments);
    }
    bool makeTone(const QString& file, const QString& title, int seconds, int frequency)
    {
        run(QStringLiteral("sox"),
            {"-n", "--comment", "TITLE=" + title, "-r", "44100", m_music.filePath(file), "synth",
             QString::number(seconds), "sine", QString::number(frequency)});
        return QFile::exists(m_music.filePath(file));
    }
    // Sets a property of the player the way any other program on the bus could.
    void setPlayerProperty(const QString& name, const QVariant& value)
    {
        QDBusMessage set = QDBusMessage::createMethodCall(
            QStringLiteral("org.mpris.MediaPlayer2.mpv"), QStringLiteral("/org/mpris/MediaPlayer2"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Set"));
        set << QStringLiteral("org.mpris.MediaPlayer2.Player") << name
            << QVariant::fromValue(QDBusVariant(value));
        m_bus->connect(QStringLiteral("witness")).call(set);
    }

private slots:
    void initTestCase()
    {
        for (const char* program : {"mpv", "playerctl", "sox", "dbus-daemon"}) {
            if (QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty())
                QFAIL(qPrintable(QStringLiteral("%1 is missing: tools/install-deps.sh installs it")
                                     .arg(program)));
        }
        QVERIFY2(QFile::exists(mprisPlugin), "mpv-mpris is missing: tools/install-deps.sh");
        m_bus = std::make_unique<PrivateBus>();
        QVERIFY2(m_bus->isUp(), "dbus-daemon did not start");

        // The player sees nothing of the user's own profile, display or bus.
        QVERIFY(QDir(m_home.path()).mkpath("runtime"));
        QFile::setPermissions(m_home.filePath("runtime"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        m_environment = QProcessEnvironment::systemEnvironment();
        m_environment.insert("DBUS_SESSION_BUS_ADDRESS", m_bus->address());
        m_environment.insert("HOME", m_home.path());
        m_environment.insert("XDG_CONFIG_HOME", m_home.filePath("config"));
        m_environment.insert("XDG_CACHE_HOME", m_home.filePath("cache"));
        m_environment.insert("XDG_RUNTIME_DIR", m_home.filePath("runtime"));
        m_environment.remove("DISPLAY");
        m_environment.remove("WAYLAND_DISPLAY");

        QVERIFY(makeTone("first.flac", "First Tone", 30, 440));
        QVERIFY(makeTone("second.flac", "Second Tone", 20, 660));
        QImage cover(120, 90, QImage::Format_RGB32);
        cover.fill(coverColour);
        QVERIFY(cover.save(m_music.filePath("cover.png")));

        m_mpv.setProcessEnvironment(m_environment);
        m_mpv.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_mpv.setStandardOutputFile(QProcess::nullDevice());
        m_mpv.start(QStringLiteral("mpv"),
                    {"--no-config", "--script=" + mprisPlugin, "--ao=null", "--no-video",
                     "--no-terminal", "--loop-playlist=inf", m_music.filePath("first.flac"),
                     m_music.filePath("second.flac")});
        QVERIFY(m_mpv.waitForStarted(5000));

        m_player = std::make_unique<MprisMusicPlayer>(
            QDBusConnection::connectToBus(m_bus->address(), QStringLiteral("lock-screen")));
        QTRY_VERIFY_WITH_TIMEOUT(m_player->isRunning(), 5000);
    }

    void cleanupTestCase()
    {
        m_player.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("lock-screen"));
        if (m_mpv.state() != QProcess::NotRunning) {
            m_mpv.kill();
            m_mpv.waitForFinished(5000);
        }
        m_bus.reset();
    }

    void thePlayingTrackIsShownWithItsCover()
    {
        QTRY_COMPARE_WITH_TIMEOUT(m_player->playerState(), PlayerState::Playing, 5000);
        // Until mpv has read the file's tags, it names the track after the file.
        QTRY_COMPARE_WITH_TIMEOUT(trackName(), QStringLiteral("First Tone"), 2000);
        const auto track = m_player->currentTrack();
        QVERIFY(track);
        QCOMPARE(playerctl({"metadata", "title"}), QStringLiteral("First Tone"));
        QVERIFY2(std::abs(track->duration - 30.0) < 0.1,
                 qPrintable(QString::number(track->duration)));
        // mpv's plugin names a cover.png that lies beside the playing file.
        QCOMPARE(track->artwork.size(), QSize(120, 90));
        QCOMPARE(track->artwork.pixelColor(60, 45), coverColour);
    }

    void aPauseInThePlayerShowsWithinASecond()
    {
        QTest::qWait(1200); // some of the track has played
        playerctl({"pause"});
        QTRY_COMPARE_WITH_TIMEOUT(m_player->playerState(), PlayerState::Paused, 1000);
        QCOMPARE(playerctl({"status"}), QStringLiteral("Paused"));

        // Paused, both read the same moment of the track; ours in whole seconds.
        const double position = m_player->playerPosition();
        QCOMPARE(position, std::floor(playerctl({"position"}).toDouble()));
        QVERIFY2(position >= 1 && position < 30, qPrintable(QString::number(position)));
    }

    void playPauseResumesThePlayer()
    {
        m_player->playPause();
        QTRY_COMPARE_WITH_TIMEOUT(playerctl({"status"}), QStringLiteral("Playing"), 2000);
        QCOMPARE(m_player->playerState(), PlayerState::Playing);
    }

    void aFasterRateIsFastForwarding()
    {
        setPlayerProperty(QStringLiteral("Rate"), 2.0);
        QTRY_COMPARE_WITH_TIMEOUT(m_player->playerState(), PlayerState::FastForwarding, 2000);
        setPlayerProperty(QStringLiteral("Rate"), 1.0);
        QTRY_COMPARE_WITH_TIMEOUT(m_player->playerState(), PlayerState::Playing, 2000);
    }

    void nextAndPreviousChangeTheTrack()
    {
        m_player->next();
        QTRY_COMPARE_WITH_TIMEOUT(playerctl({"metadata", "title"}), QStringLiteral("Second Tone"),
                                  2000);
        QCOMPARE(m_player->currentTrack()->name, QStringLiteral("Second Tone"));
        QVERIFY(std::abs(m_player->currentTrack()->duration - 20.0) < 0.1);
        m_player->previous();
        QTRY_COMPARE_WITH_TIMEOUT(playerctl({"metadata", "title"}), QStringLiteral("First Tone"),
                                  2000);
        QCOMPARE(m_player->currentTrack()->name, QStringLiteral("First Tone"));
    }

    void aPlayerThatQuitsLeavesNothing()
    {
        m_mpv.terminate();
        // Asked while the player goes away: an answer or nothing, never a crash.
        m_player->currentTrack();
        m_player->playerState();
        QVERIFY(m_mpv.waitForFinished(5000));
        QTRY_VERIFY_WITH_TIMEOUT(!m_player->isRunning(), 2000);
        QVERIFY(!m_player->currentTrack());
        QCOMPARE(m_player->playerState(), PlayerState::Other);
        QCOMPARE(m_player->playerPosition(), 0.0);
        m_player->playPause();
        m_player->next();
        QVERIFY(!run(QStringLiteral("playerctl"), {"--list-all"}).contains("mpv"));
    }
};

QTEST_MAIN(TestMpvMusicPlayer)
#include "e2e_mpv_music_player.moc"
