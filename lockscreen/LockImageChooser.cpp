#include "lockscreen/LockImageChooser.h"

#include "platform/PictureFile.h"

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
    // The one reader of pictures, with its size limit: a FIFO or a device named as the lock
    // image is refused without waiting on it.
    const QByteArray bytes = PictureFile::read(PictureFile::localPath(urlString));
    if (bytes.isEmpty())
        return std::nullopt;
    QImage image = QImage::fromData(bytes);
    if (image.isNull())
        return std::nullopt;
    return image;
}
