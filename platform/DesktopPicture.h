#pragma once

#include <QByteArray>
#include <QString>

// The picture the desktop shows behind its windows, which the lock screen can show too.
class DesktopPicture
{
public:
    virtual ~DesktopPicture() = default;
    // The picture of screen `index` (0 = first screen) as an absolute URL string, "" when none is
    // known.
    virtual QString urlForScreen(int index) = 0;
    // The bytes behind such a URL (or behind a file URL/path the user chose), empty when
    // unreadable.
    virtual QByteArray read(const QString& url) = 0;
};
