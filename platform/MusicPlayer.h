#pragma once

#include <QImage>
#include <QString>

#include <optional>

// What the music player is doing, as the lock screen tells it.
enum class PlayerState
{
    Playing,
    Paused,
    FastForwarding,
    Rewinding,
    Other, // stopped, or a state the player does not name
};

struct MusicTrack
{
    QString name;
    double duration = 0; // seconds
    QImage artwork;      // null when the track has no picture
};

// The music player the lock screen shows and steers. Every query answers at once from the
// player's current state, so a caller can ask several in a row and act on the answers in order.
class MusicPlayer
{
public:
    virtual ~MusicPlayer() = default;
    // Whether any player is there to ask.
    virtual bool isRunning() = 0;
    virtual PlayerState playerState() = 0;
    // Whole seconds into the current track.
    virtual double playerPosition() = 0;
    // Nothing when there is no current track, or it has no name.
    virtual std::optional<MusicTrack> currentTrack() = 0;
    virtual void playPause() = 0;
    virtual void next() = 0;
    virtual void previous() = 0;
};
