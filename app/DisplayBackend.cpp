#include "app/DisplayBackend.h"

#include "platform/WaylandSessionInput.h"
#include "platform/x11/GuardProcess.h"
#include "platform/x11/X11GlobalHotKey.h"
#include "platform/x11/X11IdleTime.h"
#include "platform/x11/X11ScreenShield.h"

namespace {

class X11Backend final : public DisplayBackend
{
public:
    Kind kind() const override { return Kind::x11; }
    ScreenShield& shield() override { return m_shield; }
    PointerInjector& pointer() override { return m_pointer; }
    GlobalHotKey& hotKey() override { return m_hotKey; }
    IdleTime& idleTime() override { return m_idle; }
    bool earlierLockLeftStanding() const override { return GuardProcess::holderListening(); }
    // Taken over silently, as it always was: the guard's own log says what it held.
    const char* takeOverLine() const override { return ""; }

private:
    X11ScreenShield m_shield;
    X11PointerInjector m_pointer;
    X11GlobalHotKey m_hotKey;
    X11IdleTime m_idle;
};

// Every lock goes to the desktop's lock screen (AppDelegate::handLocksToDesktop); the X11 shield
// is there only because the lock screen's parts are built around one, and is never engaged.
class DesktopLockScreenBackend final : public DisplayBackend
{
public:
    Kind kind() const override { return Kind::desktopLockScreen; }
    ScreenShield& shield() override { return m_shield; }
    PointerInjector& pointer() override { return m_pointer; }
    GlobalHotKey& hotKey() override { return m_hotKey; }
    IdleTime& idleTime() override { return m_idle; }
    bool earlierLockLeftStanding() const override { return false; }
    const char* takeOverLine() const override { return ""; }

private:
    X11ScreenShield m_shield;
    NoPointerInjector m_pointer;
    NoGlobalHotKey m_hotKey;
    NoIdleTime m_idle;
};

} // namespace

std::unique_ptr<DisplayBackend> DisplayBackend::makeX11()
{
    return std::make_unique<X11Backend>();
}

std::unique_ptr<DisplayBackend> DisplayBackend::makeDesktopLockScreen()
{
    return std::make_unique<DesktopLockScreenBackend>();
}
