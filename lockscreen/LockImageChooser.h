#pragma once

#include <QImage>
#include <QString>

#include <optional>

// Which image the lock screen shows for a lock-image style.
class LockImageChooser
{
public:
    static constexpr int customImageType = 5;
    static QString defaultImageName() { return QStringLiteral("LOCK-2"); }

    // The built-in image for styles 0 to 4; any other style shows the default.
    static QString builtInImageName(int lockImageType);

    // The user's own picture, from the absolute file URL stored for style 5. Nothing when the URL
    // is not a local file or its bytes are not a picture; the caller then keeps what it shows.
    static std::optional<QImage> loadCustomImage(const QString& urlString);
};
