#include "lockscreen/LockImageChooser.h"

#include <QFile>
#include <QUrl>

QString LockImageChooser::builtInImageName(int lockImageType)
{
    switch (lockImageType) {
    case 1:
        return QStringLiteral("LOCK-BLUE");
    case 2:
        return QStringLiteral("LOCK-BLACK");
    case 3:
        return QStringLiteral("lockminimalwhite");
    case 4:
        return QStringLiteral("lockminimal");
    default:
        return defaultImageName();
    }
}

std::optional<QImage> LockImageChooser::loadCustomImage(const QString& urlString)
{
    const QUrl url(urlString);
    if (!url.isLocalFile())
        return std::nullopt;
    QFile file(url.toLocalFile());
    // A picture larger than this is not something to decode on the way to locking the screen.
    constexpr qint64 maximumBytes = 64 * 1024 * 1024;
    if (!file.open(QIODevice::ReadOnly) || file.size() > maximumBytes)
        return std::nullopt;
    QImage image = QImage::fromData(file.readAll());
    if (image.isNull())
        return std::nullopt;
    return image;
}
