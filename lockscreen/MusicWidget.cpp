#include "lockscreen/MusicWidget.h"

#include "lockscreen/LockScreenViews.h"
#include "platform/ImageLibrary.h"
#include "platform/Scheduler.h"
#include "settings/Preferences.h"

#include <QFontMetricsF>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace {

constexpr int playKey = 16;
constexpr int nextKey = 19;
constexpr int previousKey = 20;

// The album picture at 50 x 50, with rounded corners, as the lock screen shows it.
QPixmap roundedCover(const QImage& picture, double pixelRatio)
{
    const QSize pixels = (QSizeF(50, 50) * pixelRatio).toSize();
    QPixmap cover(pixels);
    cover.fill(Qt::transparent);
    QPainter painter(&cover);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QPainterPath corners;
    corners.addRoundedRect(QRectF(QPointF(0, 0), QSizeF(pixels)), 8.0 * pixelRatio,
                           8.0 * pixelRatio);
    painter.setClipPath(corners);
    painter.setOpacity(0.6);
    painter.drawImage(QRect(QPoint(0, 0), pixels), picture);
    painter.end();
    cover.setDevicePixelRatio(pixelRatio);
    return cover;
}

} // namespace

MusicWidget::MusicWidget(MusicPlayer& player, Scheduler& scheduler, const Preferences& preferences,
                         LockScreenViews& views)
    : m_player(player), m_preferences(preferences), m_views(views),
      m_musicTimer(std::make_unique<TimerSlot>(scheduler)),
      m_keyRefresh(std::make_unique<TimerSlot>(scheduler))
{
}

MusicWidget::~MusicWidget() = default;

QString MusicWidget::stateImageName(PlayerState state, int textIsBlack)
{
    const bool dark = textIsBlack != 0;
    switch (state) {
    case PlayerState::Playing:
        return dark ? QStringLiteral("playblack") : QStringLiteral("playwhite");
    case PlayerState::Paused:
        return dark ? QStringLiteral("pauseblack") : QStringLiteral("pausewhite");
    case PlayerState::FastForwarding:
        return dark ? QStringLiteral("FastForward") : QStringLiteral("FastForwardWhite");
    case PlayerState::Rewinding:
        return dark ? QStringLiteral("Rewind") : QStringLiteral("RewindWhite");
    case PlayerState::Other:
        break;
    }
    return {};
}

QString MusicWidget::placeholderName(int textIsBlack)
{
    return textIsBlack == 1 ? QStringLiteral("Music") : QStringLiteral("MusicWhite");
}

void MusicWidget::updateiTunes()
{
    m_musicTimer->invalidate();
    if (!m_preferences.showMusic)
        return;
    QLabel* text = m_views.musicText();
    QLabel* cover = m_views.albumCover();
    QLabel* state = m_views.playPauseImage();
    const std::optional<MusicTrack> track =
        m_player.isRunning() ? m_player.currentTrack() : std::nullopt;
    if (!track || track->name.isEmpty()) {
        text->setText(QString());
        state->setPixmap(QPixmap());
        cover->setPixmap(QPixmap());
        m_stateImage.clear();
        m_coverPlaceholder.clear();
        return;
    }
    const double ratio = cover->devicePixelRatioF();
    m_coverPlaceholder =
        track->artwork.isNull() ? placeholderName(m_preferences.textIsBlack) : QString();
    const QImage picture =
        track->artwork.isNull()
            ? ImageLibrary::named(m_coverPlaceholder).pixmap(QSize(50, 50), ratio).toImage()
            : track->artwork;

    QString prefix;
    const PlayerState playerState = m_player.playerState();
    switch (playerState) {
    case PlayerState::Playing: {
        m_musicShownPaused = false;
        // Redrawn when the track should end, so that the next one shows. A stream has no
        // length: the tick's watch and the keys redraw it. A track already past its end is
        // asked again a second later, not at once, so that a player stuck there cannot keep
        // the lock screen busy.
        if (track->duration > 0) {
            const double remaining = track->duration - m_player.playerPosition();
            const auto delay = std::chrono::milliseconds(
                remaining > 0 ? qint64(std::min(remaining, 86400.0) * 1000.0) : 1000);
            m_musicTimer->arm(delay, [this] { updateiTunes(); });
        }
        prefix = QString::fromLatin1(playingPrefix);
        break;
    }
    case PlayerState::Paused:
        m_musicShownPaused = true;
        prefix = QString::fromLatin1(pausedPrefix);
        break;
    case PlayerState::FastForwarding:
    case PlayerState::Rewinding:
    case PlayerState::Other:
        break;
    }
    const QString image = stateImageName(playerState, m_preferences.textIsBlack);
    if (!image.isEmpty()) {
        m_stateImage = image;
        state->setPixmap(ImageLibrary::named(image).pixmap(state->size(), ratio));
    }

    const QString line = prefix + track->name;
    const double width = QFontMetricsF(LockScreenViews::lockScreenFont(15)).horizontalAdvance(line);
    cover->setPixmap(roundedCover(picture, ratio));
    m_views.placeFromBottomLeft(cover, QRectF(2.0, 2.0, 50, 50));
    m_views.placeFromBottomLeft(text, QRectF(55.0, 0.0, std::trunc(width) + 80, 23.0));
    text->setText(line);
}

void MusicWidget::stopTimers()
{
    m_musicTimer->invalidate();
    m_keyRefresh->invalidate();
}

void MusicWidget::watchForChange()
{
    if (!m_player.isRunning())
        return;
    const PlayerState state = m_player.playerState();
    if ((state == PlayerState::Playing && m_musicShownPaused) ||
        (state == PlayerState::Paused && !m_musicShownPaused))
        updateiTunes();
}

void MusicWidget::mediaKey(int keyType)
{
    // The keyboard is ours while locked, so the player hears of the key from us.
    switch (keyType) {
    case playKey:
        m_player.playPause();
        updateiTunes();
        break;
    case nextKey:
    case previousKey:
        if (keyType == nextKey)
            m_player.next();
        else
            m_player.previous();
        m_keyRefresh->arm(skipRefreshDelay, [this] { updateiTunes(); });
        break;
    default:
        break;
    }
}
