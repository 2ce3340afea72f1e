#include "PrivateBus.h"

#include "platform/MprisMusicPlayer.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QImageReader>
#include <QMutex>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <sys/stat.h>

#include <memory>

namespace {

const QString objectPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");

QVariantMap metadata(const QString& title, qint64 lengthMicroseconds = 0, const QString& art = {})
{
    QVariantMap map{{QStringLiteral("mpris:trackid"),
                     QVariant::fromValue(QDBusObjectPath(QStringLiteral("/track/1")))},
                    {QStringLiteral("xesam:title"), title}};
    if (lengthMicroseconds)
        map.insert(QStringLiteral("mpris:length"), lengthMicroseconds);
    if (!art.isEmpty())
        map.insert(QStringLiteral("mpris:artUrl"), art);
    return map;
}

QVariantMap playerProperties(const QString& status, const QVariantMap& track = {})
{
    return {{QStringLiteral("PlaybackStatus"), status},
            {QStringLiteral("Rate"), 1.0},
            {QStringLiteral("Position"), qint64(0)},
            {QStringLiteral("Metadata"), track}};
}

} // namespace

// One MPRIS player on the test's bus. It answers from a thread of its own, as a real player
// answers from its own process while the lock screen waits.
class FakeMpris final : public QDBusVirtualObject
{
public:
    enum class Answer
    {
        Properties, // the properties as set
        Error,      // an error, as from a player that has just gone
        Nothing,    // no answer at all: a hung player
    };

    void set(const QVariantMap& properties)
    {
        QMutexLocker lock(&m_mutex);
        m_properties = properties;
    }
    void setProperty(const QString& name, const QVariant& value)
    {
        QMutexLocker lock(&m_mutex);
        m_properties.insert(name, value);
    }
    void setAnswer(Answer answer)
    {
        QMutexLocker lock(&m_mutex);
        m_answer = answer;
    }
    QStringList commands() const
    {
        QMutexLocker lock(&m_mutex);
        return m_commands;
    }

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        QMutexLocker lock(&m_mutex);
        if (message.interface() == QLatin1String("org.freedesktop.DBus.Properties") &&
            message.member() == QLatin1String("GetAll") &&
            message.arguments().value(0).toString() == playerInterface) {
            if (m_answer == Answer::Properties)
                connection.send(message.createReply(QVariant(m_properties)));
            else if (m_answer == Answer::Error)
                connection.send(
                    message.createErrorReply(QDBusError::UnknownObject, QStringLiteral("gone")));
            return true;
        }
        if (message.interface() == playerInterface) {
            m_commands.append(message.member());
            connection.send(message.createReply());
            return true;
        }
        return false;
    }

private:
    mutable QMutex m_mutex;
    QVariantMap m_properties;
    Answer m_answer = Answer::Properties;
    QStringList m_commands;
};

class TestMprisMusicPlayer : public QObject
{
    Q_OBJECT

    std::unique_ptr<PrivateBus> m_bus;
    QThread m_playerThread;
    std::vector<std::unique_ptr<FakeMpris>> m_players;

    // A player that owns org.mpris.MediaPlayer2.<suffix>, on a connection of its own.
    FakeMpris* addPlayer(const QString& suffix, const QVariantMap& properties,
                         const QString& busName = QString())
    {
        auto player = std::make_unique<FakeMpris>();
        player->set(properties);
        player->moveToThread(&m_playerThread);
        QDBusConnection connection = m_bus->connect(QStringLiteral("player-") + suffix);
        connection.registerVirtualObject(objectPath, player.get());
        const QString name =
            busName.isEmpty() ? QStringLiteral("org.mpris.MediaPlayer2.") + suffix : busName;
        if (!connection.registerService(name))
            qFatal("the test's player could not take its name");
        m_players.push_back(std::move(player));
        return m_players.back().get();
    }
    void removePlayer(const QString& suffix)
    {
        m_bus->disconnect(QStringLiteral("player-") + suffix);
    }

    MprisMusicPlayer lockScreensPlayer() { return MprisMusicPlayer(m_bus->connect("lock-screen")); }

private slots:
    void init()
    {
        m_bus = std::make_unique<PrivateBus>();
        QVERIFY2(m_bus->isUp(), "dbus-daemon did not start");
        m_playerThread.start();
    }
    void cleanup()
    {
        m_bus.reset(); // every connection closes before the players go
        m_playerThread.quit();
        m_playerThread.wait();
        m_players.clear();
    }

    void withoutAPlayerNothingRuns()
    {
        // Names that only look like a player's are not players.
        addPlayer("other", playerProperties("Playing", metadata("Not music")),
                  QStringLiteral("org.example.MediaPlayer2.other"));
        addPlayer("bare", playerProperties("Playing", metadata("Not music")),
                  QStringLiteral("org.mpris.MediaPlayer2"));
        MprisMusicPlayer player = lockScreensPlayer();
        QVERIFY(!player.isRunning());
        QCOMPARE(player.playerState(), PlayerState::Other);
        QCOMPARE(player.playerPosition(), 0.0);
        QVERIFY(!player.currentTrack());
        player.playPause();
        QTest::qWait(100);
        QVERIFY(m_players[0]->commands().isEmpty());
        QVERIFY(m_players[1]->commands().isEmpty());
    }

    void withoutASessionBusNothingRuns()
    {
        MprisMusicPlayer player(QDBusConnection::connectToBus(
            QStringLiteral("unix:path=/nonexistent/bus"), QStringLiteral("no-bus")));
        QVERIFY(!player.isRunning());
        QCOMPARE(player.playerState(), PlayerState::Other);
        QVERIFY(!player.currentTrack());
        player.next();
        QDBusConnection::disconnectFromBus(QStringLiteral("no-bus"));
    }

    void thePlayingPlayerIsChosen()
    {
        FakeMpris* paused = addPlayer("aaa", playerProperties("Paused", metadata("Paused song")));
        FakeMpris* playing = addPlayer("zzz", playerProperties("Playing", metadata("Loud song")));
        MprisMusicPlayer player = lockScreensPlayer();
        QVERIFY(player.isRunning());
        QCOMPARE(player.playerState(), PlayerState::Playing);
        QCOMPARE(player.currentTrack()->name, QStringLiteral("Loud song"));
        player.playPause();
        player.next();
        player.previous();
        QTRY_COMPARE_WITH_TIMEOUT(playing->commands(),
                                  QStringList({"PlayPause", "Next", "Previous"}), 2000);
        QVERIFY(paused->commands().isEmpty());
    }

    void withoutAPlayingOneTheFirstNameIsChosen()
    {
        // The choice follows the names, not who came first nor the order the bus lists them in
        // (the bus lists these three as mike, alpha, zulu).
        FakeMpris* last = addPlayer("zulu", playerProperties("Paused", metadata("Zulu song")));
        FakeMpris* first = addPlayer("alpha", playerProperties("Stopped", metadata("Alpha song")));
        FakeMpris* middle = addPlayer("mike", playerProperties("Paused", metadata("Mike song")));
        MprisMusicPlayer player = lockScreensPlayer();
        QCOMPARE(player.currentTrack()->name, QStringLiteral("Alpha song"));
        QCOMPARE(player.playerState(), PlayerState::Other);
        player.playPause();
        QTRY_COMPARE_WITH_TIMEOUT(first->commands(), QStringList({"PlayPause"}), 2000);
        QVERIFY(middle->commands().isEmpty());
        QVERIFY(last->commands().isEmpty());

        // Once the last one plays, it is the one shown.
        last->setProperty("PlaybackStatus", "Playing");
        QCOMPARE(player.currentTrack()->name, QStringLiteral("Zulu song"));
        QCOMPARE(player.playerState(), PlayerState::Playing);
    }

    void stateFromStatusAndRate_data()
    {
        QTest::addColumn<QVariant>("status");
        QTest::addColumn<QVariant>("rate");
        QTest::addColumn<PlayerState>("expected");
        QTest::newRow("playing") << QVariant("Playing") << QVariant(1.0) << PlayerState::Playing;
        QTest::newRow("slow") << QVariant("Playing") << QVariant(0.5) << PlayerState::Playing;
        QTest::newRow("fast") << QVariant("Playing") << QVariant(2.0)
                              << PlayerState::FastForwarding;
        QTest::newRow("backwards")
            << QVariant("Playing") << QVariant(-1.0) << PlayerState::Rewinding;
        QTest::newRow("no rate") << QVariant("Playing") << QVariant() << PlayerState::Playing;
        QTest::newRow("integer rate")
            << QVariant("Playing") << QVariant(qint64(4)) << PlayerState::FastForwarding;
        QTest::newRow("rate as text")
            << QVariant("Playing") << QVariant("2") << PlayerState::Playing;
        QTest::newRow("paused") << QVariant("Paused") << QVariant(1.0) << PlayerState::Paused;
        QTest::newRow("paused fast") << QVariant("Paused") << QVariant(2.0) << PlayerState::Paused;
        QTest::newRow("stopped") << QVariant("Stopped") << QVariant(1.0) << PlayerState::Other;
        QTest::newRow("unknown word") << QVariant("playing") << QVariant(1.0) << PlayerState::Other;
        QTest::newRow("status as number") << QVariant(1) << QVariant(1.0) << PlayerState::Other;
        QTest::newRow("no status") << QVariant() << QVariant(1.0) << PlayerState::Other;
    }
    void stateFromStatusAndRate()
    {
        QFETCH(QVariant, status);
        QFETCH(QVariant, rate);
        QFETCH(PlayerState, expected);
        QVariantMap properties = playerProperties("", metadata("Song"));
        properties.remove("PlaybackStatus");
        properties.remove("Rate");
        if (status.isValid())
            properties.insert("PlaybackStatus", status);
        if (rate.isValid())
            properties.insert("Rate", rate);
        addPlayer("only", properties);
        MprisMusicPlayer player = lockScreensPlayer();
        QCOMPARE(player.playerState(), expected);
    }

    void positionAndTrack()
    {
        QVariantMap properties =
            playerProperties("Playing", metadata("Long song", 215'500'000, QString()));
        properties.insert("Position", qint64(83'900'000));
        FakeMpris* fake = addPlayer("only", properties);
        MprisMusicPlayer player = lockScreensPlayer();
        QCOMPARE(player.playerPosition(), 83.0);
        const auto track = player.currentTrack();
        QVERIFY(track);
        QCOMPARE(track->name, QStringLiteral("Long song"));
        QCOMPARE(track->duration, 215.5);
        QVERIFY(track->artwork.isNull());

        // Other number types than int64 are read too; a position before the start is the start.
        fake->setProperty("Position", 12'300'000.0);
        QCOMPARE(player.playerPosition(), 12.0);
        fake->setProperty("Position", int(7'000'000));
        QCOMPARE(player.playerPosition(), 7.0);
        fake->setProperty("Position", qint64(-5'000'000));
        QCOMPARE(player.playerPosition(), 0.0);
        fake->setProperty("Position", "soon");
        QCOMPARE(player.playerPosition(), 0.0);
    }

    void malformedMetadata_data()
    {
        QTest::addColumn<QVariant>("metadata");
        QTest::addColumn<QString>("name"); // empty: no track
        QTest::addColumn<double>("duration");
        QTest::newRow("not a dictionary") << QVariant("Song") << QString() << 0.0;
        QTest::newRow("a list") << QVariant(QStringList{"Song"}) << QString() << 0.0;
        QTest::newRow("no title") << QVariant(QVariantMap{{"mpris:length", qint64(1'000'000)}})
                                  << QString() << 0.0;
        QTest::newRow("empty title") << QVariant(metadata("", 1'000'000)) << QString() << 0.0;
        QTest::newRow("title as number")
            << QVariant(QVariantMap{{"xesam:title", 42}}) << QString() << 0.0;
        QTest::newRow("title as list")
            << QVariant(QVariantMap{{"xesam:title", QStringList{"Song"}}}) << QString() << 0.0;
        QTest::newRow("length as text")
            << QVariant(QVariantMap{{"xesam:title", "Song"}, {"mpris:length", "long"}})
            << QString("Song") << 0.0;
        QTest::newRow("negative length")
            << QVariant(QVariantMap{{"xesam:title", "Song"}, {"mpris:length", qint64(-3)}})
            << QString("Song") << 0.0;
        QTest::newRow("unsigned length")
            << QVariant(QVariantMap{{"xesam:title", "Song"}, {"mpris:length", quint64(2'000'000)}})
            << QString("Song") << 2.0;
        QTest::newRow("art as number")
            << QVariant(QVariantMap{{"xesam:title", "Song"}, {"mpris:artUrl", 7}})
            << QString("Song") << 0.0;
    }
    void malformedMetadata()
    {
        QFETCH(QVariant, metadata);
        QFETCH(QString, name);
        QFETCH(double, duration);
        QVariantMap properties = playerProperties("Playing");
        properties.insert("Metadata", metadata);
        addPlayer("only", properties);
        MprisMusicPlayer player = lockScreensPlayer();
        QVERIFY(player.isRunning());
        QCOMPARE(player.playerState(), PlayerState::Playing);
        const auto track = player.currentTrack();
        if (name.isEmpty()) {
            QVERIFY(!track);
            return;
        }
        QVERIFY(track);
        QCOMPARE(track->name, name);
        QCOMPARE(track->duration, duration);
        QVERIFY(track->artwork.isNull());
    }

    void theCoverIsLoadedFromItsFile()
    {
        QTemporaryDir folder;
        QImage cover(120, 90, QImage::Format_RGB32);
        cover.fill(QColor(10, 200, 30));
        const QString path = folder.filePath("cover art.png");
        QVERIFY(cover.save(path));
        addPlayer(
            "only",
            playerProperties("Playing", metadata("Song", 0, QUrl::fromLocalFile(path).toString())));
        MprisMusicPlayer player = lockScreensPlayer();
        const auto track = player.currentTrack();
        QVERIFY(track);
        QCOMPARE(track->artwork.size(), QSize(120, 90));
        QCOMPARE(track->artwork.pixelColor(60, 45), QColor(10, 200, 30));
    }

    void onlyLocalCoversOfSaneSizeAreLoaded()
    {
        QTemporaryDir folder;
        QImage small(64, 48, QImage::Format_RGB32);
        small.fill(Qt::red);
        const QString path = folder.filePath("cover.png");
        QVERIFY(small.save(path));
        QCOMPARE(MprisMusicPlayer::loadArtwork(QUrl::fromLocalFile(path).toString()).size(),
                 QSize(64, 48));
        QCOMPARE(MprisMusicPlayer::loadArtwork("file://localhost" + path).size(), QSize(64, 48));

        // The same file's path behind any other address is never read.
        QVERIFY(MprisMusicPlayer::loadArtwork("http://127.0.0.1" + path).isNull());
        QVERIFY(MprisMusicPlayer::loadArtwork("https://localhost" + path).isNull());
        QVERIFY(MprisMusicPlayer::loadArtwork("file://music-server" + path).isNull());
        QVERIFY(MprisMusicPlayer::loadArtwork(path).isNull()); // not a URL
        QVERIFY(MprisMusicPlayer::loadArtwork("").isNull());

        // Not a picture, a folder, or a pipe that would block the read.
        const QString broken = folder.filePath("broken.png");
        QFile file(broken);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("\x89PNG\r\n\x1a\n this is not a picture");
        file.close();
        QVERIFY(MprisMusicPlayer::loadArtwork(QUrl::fromLocalFile(broken).toString()).isNull());
        QVERIFY(
            MprisMusicPlayer::loadArtwork(QUrl::fromLocalFile(folder.path()).toString()).isNull());
        const QString pipe = folder.filePath("cover.jpg");
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(MprisMusicPlayer::loadArtwork(QUrl::fromLocalFile(pipe).toString()).isNull());

        // A picture larger than the limit is refused, although it would decode (one bit a pixel
        // keeps this test's own memory small); one at the limit is read.
        QImage huge(4097, 4096, QImage::Format_Mono);
        huge.fill(1);
        const QString hugePath = folder.filePath("huge.png");
        QVERIFY(huge.save(hugePath));
        QVERIFY(QImageReader(hugePath).read().size() == QSize(4097, 4096));
        QVERIFY(MprisMusicPlayer::loadArtwork(QUrl::fromLocalFile(hugePath).toString()).isNull());
        QImage largest(4096, 4096, QImage::Format_Mono);
        largest.fill(1);
        const QString largestPath = folder.filePath("largest.png");
        QVERIFY(largest.save(largestPath));
        QCOMPARE(MprisMusicPlayer::loadArtwork(QUrl::fromLocalFile(largestPath).toString()).size(),
                 QSize(4096, 4096));
    }

    void aHungPlayerCostsOneShortWait()
    {
        FakeMpris* hung = addPlayer("aaa", playerProperties("Playing", metadata("Hung song")));
        hung->setAnswer(FakeMpris::Answer::Nothing);
        addPlayer("bbb", playerProperties("Paused", metadata("Answered song")));
        MprisMusicPlayer player = lockScreensPlayer();
        QElapsedTimer clock;
        clock.start();
        const auto track = player.currentTrack();
        const qint64 elapsed = clock.elapsed();
        QVERIFY(track);
        QCOMPARE(track->name, QStringLiteral("Answered song"));
        QCOMPARE(player.playerState(), PlayerState::Paused);
        QVERIFY2(elapsed >= MprisMusicPlayer::callTimeoutMs - 50,
                 qPrintable(QString::number(elapsed)));
        QVERIFY2(elapsed < 2 * MprisMusicPlayer::callTimeoutMs + 250,
                 qPrintable(QString::number(elapsed)));

        // A hung player alone: running, but nothing to show.
        removePlayer("bbb");
        QTRY_COMPARE_WITH_TIMEOUT(player.playerState(), PlayerState::Other, 2000);
        clock.restart();
        QVERIFY(player.isRunning());
        QVERIFY(!player.currentTrack());
        QVERIFY2(clock.elapsed() < 2 * MprisMusicPlayer::callTimeoutMs + 250,
                 qPrintable(QString::number(clock.elapsed())));
    }

    void aPlayerThatAnswersWithAnErrorIsPassedOver()
    {
        FakeMpris* broken = addPlayer("aaa", playerProperties("Paused", metadata("First")));
        broken->setAnswer(FakeMpris::Answer::Error);
        FakeMpris* fine = addPlayer("bbb", playerProperties("Paused", metadata("Second")));
        MprisMusicPlayer player = lockScreensPlayer();
        QCOMPARE(player.currentTrack()->name, QStringLiteral("Second"));
        player.next();
        QTRY_COMPARE_WITH_TIMEOUT(fine->commands(), QStringList({"Next"}), 2000);
        QVERIFY(broken->commands().isEmpty());
    }

    void aPlayerThatQuitsLeavesNothing()
    {
        addPlayer("only", playerProperties("Playing", metadata("Last song", 60'000'000)));
        MprisMusicPlayer player = lockScreensPlayer();
        QVERIFY(player.isRunning());
        QCOMPARE(player.currentTrack()->name, QStringLiteral("Last song"));
        removePlayer("only");
        // Right after the player has gone, whatever the bus has noticed yet: no crash.
        player.currentTrack();
        player.playerState();
        QTRY_VERIFY_WITH_TIMEOUT(!player.isRunning(), 2000);
        QVERIFY(!player.currentTrack());
        QCOMPARE(player.playerState(), PlayerState::Other);
        QCOMPARE(player.playerPosition(), 0.0);
        player.playPause();
        player.next();
        player.previous();
    }
};

QTEST_MAIN(TestMprisMusicPlayer)
#include "test_mpris_music_player.moc"
