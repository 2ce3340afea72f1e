#pragma once

#include "platform/DesktopPicture.h"

#include <QByteArray>
#include <QHash>
#include <QStringList>

#include <functional>

// A desktop whose picture the test chooses: a URL per screen and the bytes behind each URL.
// Remembers what it was asked.
class FakeDesktopPicture final : public DesktopPicture
{
public:
    QHash<int, QString> urls;         // screen index → URL; a screen not in it has no picture
    QHash<QString, QByteArray> bytes; // URL → content; a URL not in it cannot be read
    QList<int> screensAsked;
    QStringList urlsRead;

    void setPicture(int screen, const QString& url, const QByteArray& content)
    {
        urls.insert(screen, url);
        bytes.insert(url, content);
    }

    // Runs whenever a screen's picture is asked for.
    std::function<void()> onAsk;

    QString urlForScreen(int index) override
    {
        screensAsked.append(index);
        if (onAsk)
            onAsk();
        return urls.value(index);
    }
    QByteArray read(const QString& url) override
    {
        urlsRead.append(url);
        return bytes.value(url);
    }
};
