#pragma once

#include "platform/MusicPlayer.h"

#include <QDBusConnection>
#include <QVariantMap>

// The music player over MPRIS 2: the org.mpris.MediaPlayer2.* name whose PlaybackStatus is
// "Playing", else the first such name in sorted order. Players that do not answer are passed
// over. The player is chosen again for every query and command, so a player that quits or a
// new one that starts is seen at the next question.
//
// Queries are synchronous, because the lock screen acts on their answers in order, but each call
// gives up after callTimeoutMs: a hung player then holds the lock screen for at most two such
// waits per query (the bus's list of names, then every player asked at once).
class MprisMusicPlayer final : public MusicPlayer
{
public:
    // Long enough for a busy player on a loaded machine, short enough that a hung one does not
    // freeze the lock screen's refresh for long.
    static constexpr int callTimeoutMs = 250;
    // A cover is decoded only when its file and its picture are at most this large, so a huge
    // or broken cover cannot take the lock screen's memory. 4096 x 4096 is 64 MiB at 32 bits.
    static constexpr qint64 maxArtworkFileBytes = 32 * 1024 * 1024;
    static constexpr qint64 maxArtworkPixels = 4096 * 4096;

    explicit MprisMusicPlayer(QDBusConnection bus = QDBusConnection::sessionBus());

    bool isRunning() override;
    PlayerState playerState() override;
    double playerPosition() override;
    std::optional<MusicTrack> currentTrack() override;
    void playPause() override;
    void next() override;
    void previous() override;

    // The picture behind an mpris:artUrl: local files only (file:// without a remote host),
    // within the limits above; a null image otherwise. Never reaches the network.
    static QImage loadArtwork(const QString& artUrl);

private:
    struct Player
    {
        QString service;
        QVariantMap properties; // of org.mpris.MediaPlayer2.Player
    };

    QStringList playerNames() const;
    std::optional<Player> chosenPlayer() const;
    void command(const QString& method);

    QDBusConnection m_bus;
};
