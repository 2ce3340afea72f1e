#include "guard/Guard.h"

#include "guard/HandOver.h"

#include <xcb/xtest.h>

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>

namespace {

constexpr const char* message = "The lock screen restarted. Type your password to unlock.";
// Like the lock screen's retry of a grab another client holds, but faster at first: the grab
// that is in the way is most often the ended lock screen's, on its way out.
constexpr double grabRetryFast = 0.002;
constexpr double grabRetrySlow = 0.1;
constexpr double grabRetryFastFor = 1.0;
constexpr int handOverTimeoutMs = 200;

double monotonicSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

struct FreeDeleter
{
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

} // namespace

Guard::Guard(xcb_connection_t* connection, Options options)
    : m_connection(connection), m_screen(xcb_setup_roots_iterator(xcb_get_setup(connection)).data),
      m_options(std::move(options)), m_cover(connection, m_screen, message), m_keys(connection),
      m_password(m_options.libraryFolder)
{
}

Guard::~Guard()
{
    if (m_listenFd >= 0) {
        ::close(m_listenFd);
        ::unlink(m_socketPath.c_str());
    }
}

void Guard::watch()
{
    // The watch window is the lock screen's: when its connection to the X server ends, the server
    // destroys it and tells us, in the same stream as the keys.
    const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, m_options.watchWindow, XCB_CW_EVENT_MASK, &mask);
    // Other windows mapped above the cover, and the root's size.
    const uint32_t rootMask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_connection, m_screen->root, XCB_CW_EVENT_MASK, &rootMask);
    m_cover.holdPassiveGrabs();
    // The password of this lock, read now and kept (see the class comment).
    if (!m_passwordKept)
        m_password.load();
    if (!watchWindowExists()) {
        // Gone already: unlocked before we were ready (it said so first), or ended.
        if (readControl() && m_ending == Ending::None)
            takeOver("the lock screen's connection to the X server ended");
        else if (m_ending == Ending::None)
            takeOver("the lock screen ended without unlocking");
        return;
    }
    std::fprintf(stderr, "tessarine-guard: watching the lock\n");
}

void Guard::resume(const GuardPassword& password, bool holding)
{
    m_password = password;
    m_passwordKept = true;
    m_resumeHolding = holding;
}

int Guard::run()
{
    if (m_resumeHolding) {
        takeOver("the guard's connection to the X server was closed");
    } else if (m_options.controlFd < 0 || m_options.watchWindow == XCB_NONE) {
        takeOver("started without a lock screen to watch");
    } else {
        ::fcntl(m_options.controlFd, F_SETFL, ::fcntl(m_options.controlFd, F_GETFL) | O_NONBLOCK);
        watch();
    }
    const int xFd = xcb_get_file_descriptor(m_connection);
    while (m_ending == Ending::None) {
        while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
            handleEvent(event);
            std::free(event);
            if (m_ending != Ending::None)
                break;
        }
        if (m_ending != Ending::None)
            break;
        if (xcb_connection_has_error(m_connection))
            return connectionLost;
        if (m_holding)
            retryGrabsIfDue();
        pollfd fds[3] = {{xFd, POLLIN, 0}, {-1, POLLIN, 0}, {-1, POLLIN, 0}};
        if (!m_holding && m_options.controlFd >= 0)
            fds[1].fd = m_options.controlFd;
        if (m_holding && m_listenFd >= 0)
            fds[2].fd = m_listenFd;
        if (::poll(fds, 3, pollTimeoutMs()) < 0 && errno != EINTR)
            return 1;
        if (fds[1].revents) {
            if (!readControl())
                takeOver("the lock screen ended without unlocking");
        }
        if (fds[2].revents & POLLIN)
            answerHandOver();
    }
    if (m_ending == Ending::Unlocked && m_holding) {
        m_cover.release();
        releasePressedButtons();
    }
    return 0;
}

bool Guard::readControl()
{
    char buffer[64];
    for (;;) {
        const ssize_t n = ::read(m_options.controlFd, buffer, sizeof(buffer));
        if (n > 0) {
            m_control.append(buffer, size_t(n));
            if (m_control.find(HandOver::unlockedWord) != std::string::npos) {
                m_cover.dropPassiveGrabs();
                m_ending = Ending::Unlocked;
                return true;
            }
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            return true; // nothing more for now
        return false;    // end of file, or an error: the lock screen is gone
    }
}

bool Guard::watchWindowExists()
{
    xcb_generic_error_t* error = nullptr;
    Reply<xcb_get_window_attributes_reply_t> reply{xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, m_options.watchWindow), &error)};
    std::free(error);
    return reply != nullptr;
}

void Guard::takeOver(const char* why)
{
    if (m_holding)
        return;
    m_holding = true;
    if (m_options.controlFd >= 0) {
        ::close(m_options.controlFd);
        m_options.controlFd = -1;
    }
    m_cover.takeOver();
    m_heldSince = monotonicSeconds();
    dropPassiveGrabsOnceHeld();
    // The layout is read only now, behind the grabs: it takes a few milliseconds, and a guard that
    // only watches must answer a caught press at once.
    m_keys.reload();
    m_nextGrabTry = m_heldSince + grabRetryFast;
    std::fprintf(stderr, "tessarine-guard: %s; the guard holds the lock\n", why);
    // Read at the start of the lock already, unless the guard was started holding or the file
    // could not be read then.
    if (!m_password.isReadable())
        m_password.load();
    if (!m_password.isReadable())
        std::fprintf(stderr, "tessarine-guard: the password file cannot be read; only a "
                             "restarted Tessarine can take the lock back\n");
    listenForHandOver();
}

void Guard::handleEvent(xcb_generic_event_t* event)
{
    const uint8_t type = event->response_type & 0x7f;
    switch (type) {
    case XCB_KEY_PRESS:
    case XCB_BUTTON_PRESS:
        if (!m_holding)
            handlePassivePress(event);
        if (m_holding && type == XCB_KEY_PRESS)
            handleKey(*reinterpret_cast<xcb_key_press_event_t*>(event));
        break;
    case XCB_DESTROY_NOTIFY: {
        auto* destroyed = reinterpret_cast<xcb_destroy_notify_event_t*>(event);
        // "unlocked" is always sent before the lock screen destroys the window itself.
        if (m_holding || destroyed->window != m_options.watchWindow)
            break;
        readControl();
        if (m_ending == Ending::None)
            takeOver("the lock screen's connection to the X server ended");
        break;
    }
    case XCB_MAP_NOTIFY: {
        auto* map = reinterpret_cast<xcb_map_notify_event_t*>(event);
        // Raised only on maps, never on restacking, so that two lock windows never take turns
        // raising themselves; a restarted lock screen's windows lie above the cover.
        if (m_holding && map->event == m_screen->root && map->window != m_cover.window())
            m_cover.raise();
        break;
    }
    case XCB_CONFIGURE_NOTIFY: {
        auto* configure = reinterpret_cast<xcb_configure_notify_event_t*>(event);
        if (configure->window == m_screen->root)
            m_cover.fitRoot(configure->width, configure->height);
        break;
    }
    case XCB_EXPOSE:
        if (reinterpret_cast<xcb_expose_event_t*>(event)->count == 0)
            m_cover.draw();
        break;
    case XCB_MAPPING_NOTIFY:
        m_keys.reload();
        break;
    default:
        break;
    }
}

// A press reached one of the passive grabs, so no other client holds the device. Either the lock
// screen let go on purpose (it said "unlocked", or it still lives: the first moments of a lock,
// before it grabs the pointer), and the press goes on where it was going; or the lock screen is
// gone, and the guard takes over with this press as the first key of the password.
void Guard::handlePassivePress(xcb_generic_event_t* event)
{
    const uint8_t type = event->response_type & 0x7f;
    const xcb_timestamp_t time = type == XCB_KEY_PRESS
                                     ? reinterpret_cast<xcb_key_press_event_t*>(event)->time
                                     : reinterpret_cast<xcb_button_press_event_t*>(event)->time;
    const bool alive = readControl();
    if (m_ending == Ending::Unlocked) {
        m_cover.replay(type, time);
        return;
    }
    if (alive && watchWindowExists()) {
        m_cover.replay(type, time);
        return;
    }
    takeOver(alive ? "the lock screen's connection to the X server ended"
                   : "the lock screen ended without unlocking");
}

void Guard::handleKey(const xcb_key_press_event_t& key)
{
    const std::optional<std::u16string> text = m_keys.read(key.detail, key.state);
    if (!text)
        return;
    if (m_password.keyPressed(*text, monotonicSeconds())) {
        std::fprintf(stderr, "tessarine-guard: unlocked by the password\n");
        m_ending = Ending::Unlocked;
    }
}

// With both grabs held the passive ones catch nothing, and they would stand in the way of a
// restarted Tessarine's hot key on the root window.
void Guard::dropPassiveGrabsOnceHeld()
{
    if (m_cover.grabsHeld())
        m_cover.dropPassiveGrabs();
}

int Guard::pollTimeoutMs() const
{
    if (!m_holding || m_cover.grabsHeld())
        return -1;
    const double wait = m_nextGrabTry - monotonicSeconds();
    return wait <= 0 ? 0 : int(wait * 1000) + 1;
}

void Guard::retryGrabsIfDue()
{
    if (m_cover.grabsHeld())
        return;
    const double now = monotonicSeconds();
    if (now < m_nextGrabTry)
        return;
    if (m_cover.tryGrabs()) {
        dropPassiveGrabsOnceHeld();
        return;
    }
    m_nextGrabTry = now + (now - m_heldSince < grabRetryFastFor ? grabRetryFast : grabRetrySlow);
}

void Guard::listenForHandOver()
{
    m_socketPath = HandOver::socketPath(std::getenv("XDG_RUNTIME_DIR"), std::getenv("DISPLAY"));
    if (m_socketPath.empty() || m_socketPath.size() >= sizeof(sockaddr_un::sun_path))
        return;
    m_listenFd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (m_listenFd < 0)
        return;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, m_socketPath.c_str());
    ::unlink(m_socketPath.c_str()); // left by a guard that was killed
    if (::bind(m_listenFd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        ::listen(m_listenFd, 2) != 0) {
        ::close(m_listenFd);
        m_listenFd = -1;
    }
}

// A restarted lock screen asks for the lock. It has mapped its window and given it the input
// focus first, so that the keys typed between our letting go and its grab go to it.
void Guard::answerHandOver()
{
    const int client = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0)
        return;
    ucred peer{};
    socklen_t length = sizeof(peer);
    std::string request;
    const bool peerKnown = ::getsockopt(client, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 &&
                           peer.uid == ::getuid();
    if (peerKnown) {
        pollfd fd{client, POLLIN, 0};
        char buffer[32];
        while (request.find('\n') == std::string::npos && ::poll(&fd, 1, handOverTimeoutMs) > 0) {
            const ssize_t n = ::read(client, buffer, sizeof(buffer));
            if (n <= 0)
                break;
            request.append(buffer, size_t(n));
        }
    }
    std::string refusal = "not asked by a process of this user";
    if (peerKnown)
        refusal = request == HandOver::releaseRequest ? handOverRefusal(peer.pid)
                                                      : "not asked in the hand-over's words";
    const bool granted = refusal.empty();
    if (!granted)
        std::fprintf(stderr, "tessarine-guard: a hand-over was refused: %s\n", refusal.c_str());
    if (granted) {
        m_cover.dropPassiveGrabs();
        m_cover.release();
        m_ending = Ending::HandedOver;
        std::fprintf(stderr,
                     "tessarine-guard: the lock was handed over to a restarted Tessarine\n");
    }
    const char* answer = granted ? HandOver::releasedAnswer : HandOver::refusedAnswer;
    if (::send(client, answer, std::strlen(answer), MSG_NOSIGNAL) < 0) {
        // The asker is gone: nothing to tell.
    }
    ::close(client);
}

bool Guard::focusIsOnAnotherWindow()
{
    Reply<xcb_get_input_focus_reply_t> focus{
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr)};
    if (!focus || focus->focus == XCB_NONE || focus->focus == XCB_INPUT_FOCUS_POINTER_ROOT ||
        focus->focus == m_screen->root || focus->focus == m_cover.window())
        return false;
    Reply<xcb_get_window_attributes_reply_t> attributes{xcb_get_window_attributes_reply(
        m_connection, xcb_get_window_attributes(m_connection, focus->focus), nullptr)};
    return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

std::string Guard::handOverRefusal(pid_t pid)
{
    // Only the lock screen's own program: a script or another program of the user that writes
    // the request is not a lock screen.
    char program[PATH_MAX];
    const std::string link = "/proc/" + std::to_string(pid) + "/exe";
    const ssize_t length = ::readlink(link.c_str(), program, sizeof(program) - 1);
    if (length <= 0 || m_options.lockScreenProgram.empty() ||
        std::string(program, size_t(length)) != m_options.lockScreenProgram)
        return "the asking process is not Tessarine";
    if (!m_password.fileStillMatches())
        return "the password file no longer holds the password of this lock; type that "
               "password here";
    if (!focusIsOnAnotherWindow())
        return "the asking lock screen has no window with the input focus";
    return {};
}

// The lock screen's click that gave it the focus may have left a button pressed when it ended:
// let go, or the user's next click on the desktop would be swallowed.
void Guard::releasePressedButtons()
{
    Reply<xcb_query_pointer_reply_t> pointer{xcb_query_pointer_reply(
        m_connection, xcb_query_pointer(m_connection, m_screen->root), nullptr)};
    if (!pointer)
        return;
    for (uint8_t button = 1; button <= 5; ++button) {
        if (pointer->mask & (XCB_BUTTON_MASK_1 << (button - 1)))
            xcb_test_fake_input(m_connection, XCB_BUTTON_RELEASE, button, XCB_CURRENT_TIME,
                                m_screen->root, 0, 0, 0);
    }
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
}
