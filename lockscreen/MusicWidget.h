#pragma once

#include "platform/MusicPlayer.h"

#include <QString>

#include <chrono>
#include <memory>

class LockScreenViews;
class Scheduler;
class TimerSlot;
struct Preferences;

// What the music player is doing, in the bottom-left corner of the lock screen: the album
// picture, "Now Playing: " or "Now Paused: " and the track's name, and an image of the state.
//
// Refreshed when the lock opens, when the track should end, when the clock tick sees playing
// and paused swap, and after a media key.
class MusicWidget
{
public:
    static constexpr const char* playingPrefix = "Now Playing: ";
    static constexpr const char* pausedPrefix = "Now Paused: ";
    static constexpr std::chrono::milliseconds skipRefreshDelay{200};

    MusicWidget(MusicPlayer& player, Scheduler& scheduler, const Preferences& preferences,
                LockScreenViews& views);
    ~MusicWidget();

    void updateiTunes();
    // The clock tick's watch: a refresh only when playing and paused swapped since the widget
    // was drawn. Asks the player for its state alone.
    void watchForChange();
    // A media key while locked (play 16, next 19, previous 20): the player is told, and the
    // widget follows at once for play, 0.2 s later for a skip, once the player has moved on.
    void mediaKey(int keyType);

    bool musicShownPaused() const { return m_musicShownPaused; }
    // The names of the images shown: the state image, and the album placeholder (empty while
    // the track's own picture or nothing is shown).
    QString stateImage() const { return m_stateImage; }
    QString coverPlaceholder() const { return m_coverPlaceholder; }
    // As the lock closes: no redraw is left pending.
    void stopTimers();
    // The timer that redraws the widget when the playing track should end.
    TimerSlot& musicTimer() { return *m_musicTimer; }

    // Image names by state and text colour; nothing for a state that leaves the image as it is.
    static QString stateImageName(PlayerState state, int textIsBlack);
    // The album placeholder: the dark one only when textIsBlack is exactly 1.
    static QString placeholderName(int textIsBlack);

private:
    MusicPlayer& m_player;
    const Preferences& m_preferences;
    LockScreenViews& m_views;
    std::unique_ptr<TimerSlot> m_musicTimer;
    std::unique_ptr<TimerSlot> m_keyRefresh;
    bool m_musicShownPaused = false;
    QString m_stateImage;
    QString m_coverPlaceholder;
};
