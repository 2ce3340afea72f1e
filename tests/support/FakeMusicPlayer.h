#pragma once

#include "platform/MusicPlayer.h"

#include <QStringList>

// A music player that a test scripts: whether it runs, its state, position and track. It keeps
// a log of the commands it was sent and of the questions it was asked. Like a real player it
// answers nothing while it is not running, and play-pause pauses a playing player (at any rate)
// and starts one that has a track.
class FakeMusicPlayer final : public MusicPlayer
{
public:
    bool running = false;
    PlayerState state = PlayerState::Other;
    double position = 0;
    std::optional<MusicTrack> track;

    QStringList commands; // "playPause", "next", "previous", in the order received
    QStringList queries;  // "isRunning", "playerState", "playerPosition", "currentTrack"

    // A running player in the given state with a named track.
    void play(const QString& name, double duration, PlayerState playing = PlayerState::Playing,
              const QImage& artwork = QImage())
    {
        running = true;
        state = playing;
        track = MusicTrack{name, duration, artwork};
    }
    void quit()
    {
        running = false;
        state = PlayerState::Other;
        position = 0;
        track.reset();
    }

    bool isRunning() override
    {
        queries.append(QStringLiteral("isRunning"));
        return running;
    }
    PlayerState playerState() override
    {
        queries.append(QStringLiteral("playerState"));
        return running ? state : PlayerState::Other;
    }
    double playerPosition() override
    {
        queries.append(QStringLiteral("playerPosition"));
        return running ? position : 0;
    }
    std::optional<MusicTrack> currentTrack() override
    {
        queries.append(QStringLiteral("currentTrack"));
        if (!running || !track || track->name.isEmpty())
            return std::nullopt;
        return track;
    }
    void playPause() override
    {
        commands.append(QStringLiteral("playPause"));
        if (!running)
            return;
        if (state == PlayerState::Paused || state == PlayerState::Other)
            state = track ? PlayerState::Playing : state;
        else
            state = PlayerState::Paused;
    }
    void next() override { commands.append(QStringLiteral("next")); }
    void previous() override { commands.append(QStringLiteral("previous")); }
};
