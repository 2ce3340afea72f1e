#include "platform/XfconfPictureSource.h"

#include "platform/PictureFile.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QVariantMap>

#include <utility>

namespace {

const QString workspaceImage = QStringLiteral("/workspace0/last-image");

QString imageOf(const QVariantMap& properties, const QString& monitor)
{
    const QVariant value = properties.value("/backdrop/screen0/monitor" + monitor + workspaceImage);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

} // namespace

XfconfPictureSource::XfconfPictureSource(QDBusConnection bus, int timeoutMs)
    : m_bus(std::move(bus)), m_timeoutMs(timeoutMs)
{
}

QString XfconfPictureSource::urlForScreen(const PictureScreen& screen)
{
    if (!m_bus.isConnected())
        return {};
    QDBusMessage call = QDBusMessage::createMethodCall("org.xfce.Xfconf", "/org/xfce/Xfconf",
                                                       "org.xfce.Xfconf", "GetAllProperties");
    call << QStringLiteral("xfce4-desktop") << QStringLiteral("/backdrop");
    call.setAutoStartService(false);
    const QDBusMessage reply = m_bus.call(call, QDBus::Block, m_timeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {};
    const QVariant answer = reply.arguments().constFirst();
    if (answer.metaType() != QMetaType::fromType<QDBusArgument>())
        return {};
    const auto argument = answer.value<QDBusArgument>();
    if (argument.currentSignature() != "a{sv}")
        return {};
    const auto properties = qdbus_cast<QVariantMap>(argument);

    QStringList candidates;
    if (!screen.name.isEmpty())
        candidates.append(imageOf(properties, screen.name));
    candidates.append(imageOf(properties, QString::number(screen.index)));
    for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
        if (it.key().startsWith("/backdrop/screen0/monitor") && it.key().endsWith(workspaceImage) &&
            it.value().typeId() == QMetaType::QString)
            candidates.append(it.value().toString());
    }
    for (const QString& candidate : std::as_const(candidates)) {
        const QString url = PictureFile::urlOfExistingFile(PictureFile::localPath(candidate));
        if (!url.isEmpty())
            return url;
    }
    return {};
}
