#include "platform/ImageLibrary.h"

#include <QFile>

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
    const QString path = resourcePath(name);
    return path.isEmpty() ? QIcon() : QIcon(path);
}
