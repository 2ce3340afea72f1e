#pragma once

#include "platform/GlobalHotKey.h"
#include "platform/IdleTime.h"
#include "platform/ScreenShield.h"

#include <QString>

// What stands in for X11's input services in a Wayland session, where a client is given none of
// them: Qt's X connection there reaches XWayland, whose grabs, injected clicks and idle time
// concern X clients alone.

// Injects nothing. The compositor's lock gives the pointer to the lock surfaces alone, so there is
// no other program's menu or grab for a click to break, and an X click would land in whatever
// XWayland window lies under the top-left corner, outside the lock.
class NoPointerInjector final : public PointerInjector
{
public:
    void clickTopLeftAndMoveBack() override {}
    void releasePressedButton() override {}
};

// No key reaches a client unless the compositor sends it there: the lock shortcut is a binding
// in the compositor's configuration that runs `tessarine lock` (the Shortcuts pane gives it).
// An X key grab on XWayland's root would fire only while an X window has the focus.
class NoGlobalHotKey final : public GlobalHotKey
{
public:
    using GlobalHotKey::GlobalHotKey;
    bool registerKey(int, int) override { return false; }
    void unregisterKey() override {}
    QString unavailableReason() const override
    {
        return QStringLiteral("a Wayland compositor keeps the keyboard to itself: the lock "
                              "shortcut is a binding in its configuration that runs `tessarine "
                              "lock`");
    }
};

// XWayland's idle time sees only X clients' input; the compositor tells when the session idles
// (IdleWatch) where it offers ext-idle-notify-v1. 0: this cannot say.
class NoIdleTime final : public IdleTime
{
public:
    uint32_t sinceInput() const override { return 0; }
    void countAsActivity() override {}
};
