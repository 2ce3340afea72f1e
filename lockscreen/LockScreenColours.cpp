#include "lockscreen/LockScreenColours.h"

#include "lockscreen/BackgroundView.h"
#include "lockscreen/LockScreenViews.h"
#include "lockscreen/TextColour.h"
#include "settings/Preferences.h"
#include "settings/SettingsStore.h"

LockScreenColours::LockScreenColours(Preferences& preferences, const SettingsStore& store,
                                     LockScreenViews& views,
                                     std::function<void()> textColourFlipped)
    : m_preferences(preferences), m_store(store), m_views(views),
      m_textColourFlipped(std::move(textColourFlipped))
{
}

void LockScreenColours::applyTextColour(bool black)
{
    m_views.applyDecidedTextColours(black);
    // A failed write is of no consequence: the colour is decided again at the next rebuild.
    m_store.set(Keys::textColor, qint64(black ? 1 : 0));
}

void LockScreenColours::determineColor(const QImage& picture, const QSizeF& shownSize)
{
    const bool black = TextColour::wantsBlackText(TextColour::lightness(picture, shownSize));
    applyTextColour(black);
    const int decided = black ? 1 : 0;
    if (m_preferences.textIsBlack != decided) {
        m_preferences.textIsBlack = decided;
        if (m_textColourFlipped)
            m_textColourFlipped();
    }
    setShadows();
}

void LockScreenColours::colorChanged(const QString& title)
{
    const bool black = title != QStringLiteral("White");
    applyTextColour(black);
    // The do-not-disturb image follows at its next update, not now.
    m_preferences.textIsBlack = black ? 1 : 0;
    setShadows();
}

void LockScreenColours::setShadows()
{
    if (m_preferences.flat) {
        // The play/pause image keeps the shadow it had; only the others lose theirs.
        m_views.applyShadows(std::nullopt, std::nullopt, true);
    } else if (m_preferences.textIsBlack == 1 || m_preferences.textIsBlack == 0) {
        m_views.applyShadows(Shadows::forText(m_preferences.textIsBlack),
                             Shadows::forImages(m_preferences.textIsBlack), false);
    }
    m_views.background()->setShadow(Shadows::forBackground());
}
