#pragma once

#include <QImage>
#include <QSizeF>
#include <QString>

#include <functional>

class LockScreenViews;
class SettingsStore;
struct Preferences;

// Which of the two variants, white or black, the lock screen's texts and icons are drawn in:
// decided from the background picture each time it is rebuilt, or chosen by the user. The
// choice is kept in memory (`textIsBlack`) and on disk (textColor).
class LockScreenColours
{
public:
    LockScreenColours(Preferences& preferences, const SettingsStore& store, LockScreenViews& views,
                      std::function<void()> textColourFlipped);

    // Samples the picture now shown (its bitmap and the size it is shown at) and applies the
    // result. A flip of the colour tells the do-not-disturb button to change its image.
    void determineColor(const QImage& picture, const QSizeF& shownSize);
    // The user's choice: "White" for white text, any other title for black.
    void colorChanged(const QString& title);
    void setShadows();

private:
    void applyTextColour(bool black);

    Preferences& m_preferences;
    const SettingsStore& m_store;
    LockScreenViews& m_views;
    std::function<void()> m_textColourFlipped;
};
