#pragma once

#include "platform/DesktopPictureSource.h"

#include <QDBusConnection>

// XFCE's picture, from the settings daemon xfconfd on the session bus: channel `xfce4-desktop`,
// properties `/backdrop/screen0/monitor<NAME>/workspace0/last-image`, one per monitor.
class XfconfPictureSource final : public DesktopPictureSource
{
public:
    // The daemon is asked, never started: outside XFCE it does not run, and a desktop that does
    // not use it must not get it. It has `timeoutMs` to answer.
    explicit XfconfPictureSource(QDBusConnection bus = QDBusConnection::sessionBus(),
                                 int timeoutMs = 500);

    // The monitor's own entry by output name, else by number (older XFCE numbered them), else the
    // first monitor's that XFCE knows.
    QString urlForScreen(const PictureScreen& screen) override;

private:
    QDBusConnection m_bus;
    int m_timeoutMs;
};
