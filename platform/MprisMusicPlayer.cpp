#include "platform/MprisMusicPlayer.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QFileInfo>
#include <QImageReader>
#include <QList>
#include <QUrl>

#include <cmath>

namespace {

const QString playerPrefix = QStringLiteral("org.mpris.MediaPlayer2.");
const QString objectPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");

// Numbers come as int64 by the standard, but players send other integer types and doubles too.
std::optional<double> numberFrom(const QVariant& value)
{
    switch (value.metaType().id()) {
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double: {
        const double number = value.toDouble();
        if (std::isfinite(number))
            return number;
        return std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

std::optional<QString> stringFrom(const QVariant& value)
{
    if (value.metaType().id() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}

// A dictionary inside a property arrives still marshalled; anything but a{sv} is treated as
// empty.
QVariantMap mapFrom(const QVariant& value)
{
    if (value.metaType().id() == QMetaType::QVariantMap)
        return value.toMap();
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return {};
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1String("a{sv}"))
        return {};
    return qdbus_cast<QVariantMap>(argument);
}

QString statusOf(const QVariantMap& properties)
{
    return stringFrom(properties.value(QStringLiteral("PlaybackStatus"))).value_or(QString());
}

PlayerState stateFrom(const QVariantMap& properties)
{
    const QString status = statusOf(properties);
    if (status == QLatin1String("Paused"))
        return PlayerState::Paused;
    if (status != QLatin1String("Playing"))
        return PlayerState::Other;
    const double rate = numberFrom(properties.value(QStringLiteral("Rate"))).value_or(1.0);
    if (rate > 1)
        return PlayerState::FastForwarding;
    if (rate < 0)
        return PlayerState::Rewinding;
    return PlayerState::Playing;
}

} // namespace

MprisMusicPlayer::MprisMusicPlayer(QDBusConnection bus) : m_bus(std::move(bus)) {}

QStringList MprisMusicPlayer::playerNames() const
{
    if (!m_bus.isConnected())
        return {};
    const QDBusMessage list = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ListNames"));
    const QDBusPendingReply<QStringList> reply = m_bus.call(list, QDBus::Block, callTimeoutMs);
    if (!reply.isValid())
        return {};
    QStringList names;
    for (const QString& name : reply.value()) {
        if (name.startsWith(playerPrefix) && name.size() > playerPrefix.size())
            names.append(name);
    }
    names.sort();
    return names;
}

std::optional<MprisMusicPlayer::Player> MprisMusicPlayer::chosenPlayer() const
{
    const QStringList names = playerNames();
    // Every player is asked at once, so hung players cost one time-out together, not each.
    QList<QDBusPendingCall> calls;
    for (const QString& name : names) {
        QDBusMessage getAll = QDBusMessage::createMethodCall(
            name, objectPath, QStringLiteral("org.freedesktop.DBus.Properties"),
            QStringLiteral("GetAll"));
        getAll << playerInterface;
        calls.append(m_bus.asyncCall(getAll, callTimeoutMs));
    }
    std::optional<Player> first;
    for (qsizetype i = 0; i < calls.size(); ++i) {
        QDBusPendingReply<QVariantMap> reply = calls[i];
        reply.waitForFinished();
        // Gone, hung or broken: it has nothing to show and cannot be steered.
        if (!reply.isValid())
            continue;
        Player player{names[i], reply.value()};
        if (statusOf(player.properties) == QLatin1String("Playing"))
            return player;
        if (!first)
            first = std::move(player);
    }
    return first;
}

bool MprisMusicPlayer::isRunning()
{
    return !playerNames().isEmpty();
}

PlayerState MprisMusicPlayer::playerState()
{
    const auto player = chosenPlayer();
    return player ? stateFrom(player->properties) : PlayerState::Other;
}

double MprisMusicPlayer::playerPosition()
{
    const auto player = chosenPlayer();
    if (!player)
        return 0;
    const double microseconds =
        numberFrom(player->properties.value(QStringLiteral("Position"))).value_or(0);
    return std::max(0.0, std::floor(microseconds / 1e6));
}

std::optional<MusicTrack> MprisMusicPlayer::currentTrack()
{
    const auto player = chosenPlayer();
    if (!player)
        return std::nullopt;
    const QVariantMap metadata = mapFrom(player->properties.value(QStringLiteral("Metadata")));
    const auto title = stringFrom(metadata.value(QStringLiteral("xesam:title")));
    if (!title || title->isEmpty())
        return std::nullopt;
    MusicTrack track;
    track.name = *title;
    const double length = numberFrom(metadata.value(QStringLiteral("mpris:length"))).value_or(0);
    track.duration = std::max(0.0, length / 1e6);
    if (const auto artUrl = stringFrom(metadata.value(QStringLiteral("mpris:artUrl"))))
        track.artwork = loadArtwork(*artUrl);
    return track;
}

void MprisMusicPlayer::command(const QString& method)
{
    const auto player = chosenPlayer();
    if (!player)
        return;
    // The answer is not waited for: the lock screen asks the player's state afterwards anyway.
    m_bus.send(
        QDBusMessage::createMethodCall(player->service, objectPath, playerInterface, method));
}

void MprisMusicPlayer::playPause()
{
    command(QStringLiteral("PlayPause"));
}

void MprisMusicPlayer::next()
{
    command(QStringLiteral("Next"));
}

void MprisMusicPlayer::previous()
{
    command(QStringLiteral("Previous"));
}

QImage MprisMusicPlayer::loadArtwork(const QString& artUrl)
{
    const QUrl url(artUrl);
    if (!url.isValid() || url.scheme() != QLatin1String("file"))
        return {};
    if (!url.host().isEmpty() && url.host() != QLatin1String("localhost"))
        return {};
    const QString path = url.path(QUrl::FullyDecoded);
    const QFileInfo file(path);
    // Only a regular file: a pipe or a device could block the read or never end.
    if (!file.isAbsolute() || !file.isFile() || file.size() > maxArtworkFileBytes)
        return {};
    QImageReader reader(path);
    reader.setAutoTransform(true);
    // The size comes from the file's header, before any pixel is decoded.
    const QSize size = reader.size();
    if (!size.isValid() || qint64(size.width()) * size.height() > maxArtworkPixels)
        return {};
    QImage image;
    if (!reader.read(&image))
        return {};
    return image;
}
