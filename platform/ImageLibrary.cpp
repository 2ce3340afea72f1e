#include "platform/ImageLibrary.h"

#include <QFile>
#include <QHash>

QString ImageLibrary::resourcePath(const QString& name)
{
    // Some images are named with their file's extension ("circuit.png").
    if (QFile::exists(QStringLiteral(":/images/") + name))
        return QStringLiteral(":/images/") + name;
    for (const char* suffix : {".svg", ".png"}) {
        const QString path = QStringLiteral(":/images/") + name + QLatin1String(suffix);
        if (QFile::exists(path))
            return path;
    }
    return {};
}

bool ImageLibrary::contains(const QString& name)
{
    return !resourcePath(name).isEmpty();
}

QIcon ImageLibrary::named(const QString& name)
{
    // One icon per name for the life of the program. Qt's pixmap cache keeps each rendering
    // under a key of the icon it came from: a fresh icon at every lock added new renderings of
    // the same images, about 6 kB a lock, until the cache's 10 MB limit. Widgets and the lock
    // screen ask from the main thread only.
    static QHash<QString, QIcon> icons;
    const auto found = icons.constFind(name);
    if (found != icons.constEnd())
        return *found;
    const QString path = resourcePath(name);
    const QIcon icon = path.isEmpty() ? QIcon() : QIcon(path);
    icons.insert(name, icon);
    return icon;
}
