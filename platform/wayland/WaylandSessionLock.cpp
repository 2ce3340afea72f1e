#include "platform/wayland/WaylandSessionLock.h"

#include "platform/wayland/WaylandLockOutput.h"
#include "platform/wayland/WaylandLockRecord.h"

#include "ext-session-lock-v1-client-protocol.h"
#include "fractional-scale-v1-client-protocol.h"
#include "platform/Log.h"
#include "platform/wayland/WaylandConnection.h"
#include "platform/wayland/WaylandLockPointer.h"
#include "viewporter-client-protocol.h"

#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

namespace {

WaylandSessionLock::PointerAction pointerActionOf(WaylandLockPointer::Action action)
{
    switch (action) {
    case WaylandLockPointer::Action::Press:
        return WaylandSessionLock::PointerAction::Press;
    case WaylandLockPointer::Action::Release:
        return WaylandSessionLock::PointerAction::Release;
    case WaylandLockPointer::Action::Leave:
        return WaylandSessionLock::PointerAction::Leave;
    case WaylandLockPointer::Action::Motion:
        break;
    }
    return WaylandSessionLock::PointerAction::Motion;
}

} // namespace

struct WaylandSessionLock::State
{
    WaylandSessionLock* owner = nullptr;
    WaylandConnection connection;
    wl_compositor* compositor = nullptr;
    wl_shm* shm = nullptr;
    wl_seat* seat = nullptr;
    wl_keyboard* keyboard = nullptr;
    // Keyboards the seat lost while keys were held: released once the keys they brought have
    // been handled (a proxy released drops the events still queued for it).
    std::vector<wl_keyboard*> lostKeyboards;
    std::unique_ptr<WaylandLockPointer> pointer;
    ext_session_lock_manager_v1* manager = nullptr;
    wp_fractional_scale_manager_v1* fractionalScales = nullptr;
    wp_viewporter* viewporter = nullptr;
    ext_session_lock_v1* lock = nullptr;
    bool locked = false;
    // While the answer to the lock request is awaited, the note of the lock held is owed rather
    // than written: its write (a file made, synced and renamed, up to 4 ms on a disk) would come
    // between `locked` and the cover's commit.
    bool awaiting = false;
    bool recordOwed = false;
    std::vector<std::unique_ptr<WaylandLockOutput>> outputs;
    Painter painter;
    xkb_context* xkb = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    xkb_keymap* keymap = nullptr;
    xkb_state* keys = nullptr;
    std::optional<WaylandLockRecord> record;

    ~State()
    {
        connection.stopWatching();
        outputs.clear();
        // Every proxy is ours to free; disconnecting frees none of them.
        pointer.reset();
        releaseLostKeyboards();
        if (keyboard)
            wl_keyboard_release(keyboard);
        // A lock still held stays held: its proxy is freed here without a word to the
        // compositor, which keeps the session locked once the connection ends.
        if (lock)
            wl_proxy_destroy(reinterpret_cast<wl_proxy*>(lock));
        if (manager)
            ext_session_lock_manager_v1_destroy(manager);
        if (fractionalScales)
            wp_fractional_scale_manager_v1_destroy(fractionalScales);
        if (viewporter)
            wp_viewporter_destroy(viewporter);
        if (seat)
            wl_seat_release(seat);
        if (shm)
            wl_shm_destroy(shm);
        if (compositor)
            wl_compositor_destroy(compositor);
        xkb_state_unref(keys);
        xkb_keymap_unref(keymap);
        xkb_context_unref(xkb);
    }

    void releaseLostKeyboards()
    {
        for (wl_keyboard* lost : lostKeyboards)
            wl_keyboard_release(lost);
        lostKeyboards.clear();
    }

    void addLockSurface(WaylandLockOutput& output)
    {
        output.addLockSurface(compositor, lock, {fractionalScales, viewporter});
    }

    // --- listeners ----------------------------------------------------------------------------
    static void global(void* data, wl_registry* registry, uint32_t name, const char* interface,
                       uint32_t version)
    {
        auto* s = static_cast<State*>(data);
        if (std::strcmp(interface, wl_compositor_interface.name) == 0) {
            s->compositor = static_cast<wl_compositor*>(
                wl_registry_bind(registry, name, &wl_compositor_interface, std::min(version, 4u)));
        } else if (std::strcmp(interface, wl_shm_interface.name) == 0) {
            s->shm = static_cast<wl_shm*>(wl_registry_bind(registry, name, &wl_shm_interface, 1));
        } else if (std::strcmp(interface, wl_seat_interface.name) == 0 && !s->seat) {
            s->seat = static_cast<wl_seat*>(
                wl_registry_bind(registry, name, &wl_seat_interface, std::min(version, 5u)));
            wl_seat_add_listener(s->seat, &seatListener, s);
        } else if (std::strcmp(interface, wl_output_interface.name) == 0) {
            // Version 4 names the output, which is how the program's screens are matched.
            auto output = std::make_unique<WaylandLockOutput>(
                name,
                static_cast<wl_output*>(
                    wl_registry_bind(registry, name, &wl_output_interface, std::min(version, 4u))),
                &s->painter);
            output->setShm(s->shm);
            // An output that comes while locked is covered before it shows anything.
            s->addLockSurface(*output);
            s->outputs.push_back(std::move(output));
        } else if (std::strcmp(interface, ext_session_lock_manager_v1_interface.name) == 0) {
            s->manager = static_cast<ext_session_lock_manager_v1*>(
                wl_registry_bind(registry, name, &ext_session_lock_manager_v1_interface, 1));
        } else if (std::strcmp(interface, wp_fractional_scale_manager_v1_interface.name) == 0) {
            s->fractionalScales = static_cast<wp_fractional_scale_manager_v1*>(
                wl_registry_bind(registry, name, &wp_fractional_scale_manager_v1_interface, 1));
        } else if (std::strcmp(interface, wp_viewporter_interface.name) == 0) {
            s->viewporter = static_cast<wp_viewporter*>(
                wl_registry_bind(registry, name, &wp_viewporter_interface, 1));
        }
    }
    static void globalRemove(void* data, wl_registry*, uint32_t name)
    {
        auto* s = static_cast<State*>(data);
        std::erase_if(s->outputs, [name](const auto& output) { return output->name() == name; });
    }
    static constexpr wl_registry_listener registryListener{global, globalRemove};

    static void lockLocked(void* data, ext_session_lock_v1*)
    {
        auto* s = static_cast<State*>(data);
        s->locked = true;
        // The moment the compositor hides every output (bench/wayland.sh times it).
        Log::line(QStringLiteral("the compositor has locked the session"));
        if (s->record && s->awaiting)
            s->recordOwed = true;
        else if (s->record)
            s->record->writeHeld();
        emit s->owner->locked();
    }
    static void lockFinished(void* data, ext_session_lock_v1*)
    {
        auto* s = static_cast<State*>(data);
        // The protocol asks for the object to be destroyed, never unlocked, after finished.
        if (s->lock)
            ext_session_lock_v1_destroy(s->lock);
        s->lock = nullptr;
        s->locked = false;
        // Ended by the compositor (or refused): nothing of ours is left standing.
        if (s->record)
            s->record->remove();
        emit s->owner->finished();
    }
    static constexpr ext_session_lock_v1_listener lockListener{lockLocked, lockFinished};

    static void seatCapabilities(void* data, wl_seat* seat, uint32_t capabilities)
    {
        auto* s = static_cast<State*>(data);
        const bool keyboard = capabilities & WL_SEAT_CAPABILITY_KEYBOARD;
        if (keyboard && !s->keyboard) {
            s->keyboard = wl_seat_get_keyboard(seat);
            wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(s->keyboard),
                               s->connection.inputQueue());
            wl_keyboard_add_listener(s->keyboard, &keyboardListener, s);
        } else if (!keyboard && s->keyboard) {
            // A keyboard unplugged (or a virtual one ended) right after typing: its last keys
            // may have been read with this event, onto the input queue, which is handled after
            // this one. Released before them, its proxy would drop them; while held they wait.
            if (s->connection.holdsInput()) {
                s->lostKeyboards.push_back(s->keyboard);
            } else {
                s->connection.dispatchInput();
                wl_keyboard_release(s->keyboard);
            }
            s->keyboard = nullptr;
        }
        const bool pointer = capabilities & WL_SEAT_CAPABILITY_POINTER;
        if (pointer && !s->pointer) {
            s->pointer = std::make_unique<WaylandLockPointer>(
                seat, s->compositor, s->shm,
                [s](WaylandLockPointer::Action action, wl_surface* surface, QPointF at,
                    int button) { s->pointerMoved(action, surface, at, button); },
                [s](wl_surface* surface) { return s->scaleOf(surface); });
        } else if (!pointer) {
            s->pointer.reset();
        }
    }
    // Security: only our own lock surfaces carry pointer events here (the compositor shows
    // nothing else while locked); an event for a surface that is not one of them (one already
    // destroyed) is dropped.
    void pointerMoved(WaylandLockPointer::Action action, wl_surface* surface, QPointF at,
                      int button)
    {
        for (const auto& output : outputs) {
            if (output->surface() && output->surface() == surface) {
                emit owner->pointerEvent(pointerActionOf(action), output->view(), at, button);
                return;
            }
        }
    }
    int scaleOf(wl_surface* surface) const
    {
        for (const auto& output : outputs) {
            if (output->surface() && output->surface() == surface)
                return output->outputScale();
        }
        return 1;
    }
    static void seatName(void*, wl_seat*, const char*) {}
    static constexpr wl_seat_listener seatListener{seatCapabilities, seatName};

    static void keymapReceived(void* data, wl_keyboard*, uint32_t format, int32_t fd, uint32_t size)
    {
        auto* s = static_cast<State*>(data);
        if (format != WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1) {
            close(fd);
            return;
        }
        void* text = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
        close(fd);
        if (text == MAP_FAILED)
            return;
        xkb_keymap* keymap =
            xkb_keymap_new_from_string(s->xkb, static_cast<const char*>(text),
                                       XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS);
        munmap(text, size);
        if (!keymap)
            return;
        xkb_state_unref(s->keys);
        xkb_keymap_unref(s->keymap);
        s->keymap = keymap;
        s->keys = xkb_state_new(keymap);
    }
    static void enter(void*, wl_keyboard*, uint32_t, wl_surface*, wl_array*) {}
    static void leave(void*, wl_keyboard*, uint32_t, wl_surface*) {}
    static void key(void* data, wl_keyboard*, uint32_t, uint32_t, uint32_t key, uint32_t state)
    {
        auto* s = static_cast<State*>(data);
        if (!s->keys || state != WL_KEYBOARD_KEY_STATE_PRESSED)
            return;
        // Evdev codes are X key codes less 8.
        const xkb_keycode_t code = key + 8;
        char text[16] = {};
        xkb_state_key_get_utf8(s->keys, code, text, sizeof(text));
        emit s->owner->keyPressed(
            QString::fromUtf8(text), quint32(xkb_state_key_get_one_sym(s->keys, code)), code,
            xkb_state_mod_name_is_active(s->keys, XKB_MOD_NAME_CAPS, XKB_STATE_MODS_LOCKED) > 0);
    }
    static void modifiers(void* data, wl_keyboard*, uint32_t, uint32_t depressed, uint32_t latched,
                          uint32_t locked, uint32_t group)
    {
        auto* s = static_cast<State*>(data);
        if (s->keys)
            xkb_state_update_mask(s->keys, depressed, latched, locked, 0, 0, group);
    }
    static void repeatInfo(void*, wl_keyboard*, int32_t, int32_t) {}
    static constexpr wl_keyboard_listener keyboardListener{keymapReceived, enter,     leave, key,
                                                           modifiers,      repeatInfo};
};

WaylandSessionLock::WaylandSessionLock(QObject* parent)
    : QObject(parent), m(std::make_unique<State>())
{
    m->owner = this;
}

WaylandSessionLock::~WaylandSessionLock() = default;

bool WaylandSessionLock::connectToCompositor(bool keepRecord)
{
    if (m->connection.display())
        return m->manager != nullptr;
    if (!m->connection.open(&State::registryListener, m.get()))
        return false;
    // The outputs' shared memory is known only once every global has been seen.
    for (auto& output : m->outputs)
        output->setShm(m->shm);
    if (!m->manager || !m->compositor || !m->shm)
        return false;
    // The compositor went away, or took offence: the lock is no longer ours to keep.
    m->connection.watch([this] { emit finished(); });
    if (keepRecord)
        m->record.emplace(m->connection.fd());
    return true;
}

bool WaylandSessionLock::isConnected() const
{
    return m->manager != nullptr && m->connection.isWatching();
}

void WaylandSessionLock::setPainter(Painter painter)
{
    m->painter = std::move(painter);
}

void WaylandSessionLock::lock()
{
    if (!isConnected() || m->lock)
        return;
    m->lock = ext_session_lock_manager_v1_lock(m->manager);
    ext_session_lock_v1_add_listener(m->lock, &State::lockListener, m.get());
    for (auto& output : m->outputs)
        m->addLockSurface(*output);
    m->connection.flush();
}

bool WaylandSessionLock::awaitCover(std::chrono::milliseconds limit)
{
    m->awaiting = true;
    const bool shown = m->connection.dispatchUntil(limit, [this] {
        return !m->lock ||
               (m->locked && std::all_of(m->outputs.begin(), m->outputs.end(), [](const auto& o) {
                    return !o->hasLockSurface() || o->hasShownPicture();
                }));
    });
    m->awaiting = false;
    if (m->recordOwed && m->locked && m->record)
        m->record->writeHeld();
    m->recordOwed = false;
    return shown;
}

void WaylandSessionLock::holdKeys(bool held)
{
    m->connection.holdInput(held, [state = m.get()] { state->releaseLostKeyboards(); });
}

void WaylandSessionLock::unlock()
{
    if (!m->lock || !m->locked)
        return;
    // The session first, then the surfaces: the other way round, each output would go blank
    // for a moment.
    ext_session_lock_v1_unlock_and_destroy(m->lock);
    m->lock = nullptr;
    m->locked = false;
    if (m->record)
        m->record->remove();
    for (auto& output : m->outputs)
        output->destroySurface();
    wl_display_roundtrip(m->connection.display());
    // Keys the round trip read (typed after the password, on a surface now gone) are handled
    // now, by nobody, rather than left queued for the next lock's window.
    m->connection.dispatchInput();
}

bool WaylandSessionLock::isLocked() const
{
    return m->locked;
}

void WaylandSessionLock::repaint()
{
    for (auto& output : m->outputs)
        output->paint();
    m->connection.flush();
}

bool WaylandSessionLock::owesPictures() const
{
    return std::any_of(m->outputs.begin(), m->outputs.end(),
                       [](const auto& output) { return output->owesPicture(); });
}

bool WaylandSessionLock::showsLockScreen() const
{
    return m->locked && std::all_of(m->outputs.begin(), m->outputs.end(), [](const auto& output) {
               return !output->hasLockSurface() || output->showsWholePicture();
           });
}

int WaylandSessionLock::outputCount() const
{
    return int(m->outputs.size());
}

bool WaylandSessionLock::earlierLockLeftStanding() const
{
    return m->record && m->record->leftStanding();
}
