// The choice of the display server's half, in the program alone: only it is built with the
// Wayland backend (the tessarine_wayland library) where the Wayland libraries are present.
#include "app/DisplayBackend.h"

#include "platform/DesktopLocker.h"
#include "platform/Log.h"
#ifdef TESSARINE_WAYLAND
#include "platform/WaylandSessionInput.h"
#include "platform/wayland/WaylandIdleNotifier.h"
#include "platform/wayland/WaylandScreenShield.h"
#endif

#ifdef TESSARINE_WAYLAND
namespace {

class CompositorLockBackend final : public DisplayBackend
{
public:
    // False when the compositor offers no session lock.
    bool connect()
    {
        if (!m_shield.connectToCompositor())
            return false;
        if (m_idleNotifier.connectToCompositor())
            m_idleWatch = &m_idleNotifier;
        else
            Log::line(QStringLiteral("the compositor does not say when the session idles "
                                     "(ext-idle-notify-v1): the idle lock is off"));
        return true;
    }

    Kind kind() const override { return Kind::compositorLock; }
    ScreenShield& shield() override { return m_shield; }
    PointerInjector& pointer() override { return m_pointer; }
    GlobalHotKey& hotKey() override { return m_hotKey; }
    IdleTime& idleTime() override { return m_idle; }
    IdleWatch* idleWatch() override { return m_idleWatch; }
    bool earlierLockLeftStanding() const override { return m_shield.earlierLockLeftStanding(); }
    const char* takeOverLine() const override
    {
        return "the compositor still holds the lock of a Tessarine that ended: locking again";
    }

private:
    WaylandScreenShield m_shield;
    NoPointerInjector m_pointer;
    NoGlobalHotKey m_hotKey;
    NoIdleTime m_idle;
    WaylandIdleNotifier m_idleNotifier;
    IdleWatch* m_idleWatch = nullptr;
};

} // namespace
#endif

std::unique_ptr<DisplayBackend> DisplayBackend::choose()
{
    if (!DesktopLocker::isWaylandSession())
        return makeX11();
#ifdef TESSARINE_WAYLAND
    auto compositor = std::make_unique<CompositorLockBackend>();
    if (compositor->connect()) {
        Log::line(QStringLiteral("this Wayland session is locked through its compositor"));
        return compositor;
    }
#endif
    return makeDesktopLockScreen();
}
