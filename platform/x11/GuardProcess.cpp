#include "platform/x11/GuardProcess.h"

#include "guard/HandOver.h"
#include "platform/LibraryFolder.h"
#include "platform/Log.h"

#include <QFile>
#include <QSocketNotifier>
#include <QTimer>

#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

extern char** environ;

namespace {

constexpr const char* programName = "tessarine-guard";
constexpr int controlDescriptor = 3;
constexpr int handOverTimeoutMs = 500;
constexpr std::chrono::milliseconds endGrace{500};

std::string folderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

bool isExecutable(const std::string& path)
{
    return ::access(path.c_str(), X_OK) == 0;
}

bool sendAll(int fd, const char* text)
{
    size_t sent = 0;
    const size_t length = std::strlen(text);
    while (sent < length) {
        const ssize_t n = ::send(fd, text + sent, length - sent, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        sent += size_t(n);
    }
    return true;
}

int connectToHolder()
{
    const std::string path =
        HandOver::socketPath(std::getenv("XDG_RUNTIME_DIR"), std::getenv("DISPLAY"));
    if (path.empty() || path.size() >= sizeof(sockaddr_un::sun_path))
        return -1;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return -1;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, path.c_str());
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

} // namespace

GuardProcess::GuardProcess(xcb_connection_t* connection) : m_connection(connection) {}

GuardProcess::~GuardProcess()
{
    // Ending while locked leaves the guard watching: the end of the socket makes it take over.
    m_guardWatch.reset();
    if (m_control >= 0)
        ::close(m_control);
    reapEnded();
}

std::string GuardProcess::programPath()
{
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length > 0) {
        path[length] = '\0';
        const std::string beside = folderOf(path) + "/" + programName;
        if (isExecutable(beside))
            return beside;
    }
    Dl_info module{};
    if (::dladdr(reinterpret_cast<void*>(&GuardProcess::programPath), &module) &&
        module.dli_fname) {
        const std::string beside = folderOf(module.dli_fname) + "/" + programName;
        if (isExecutable(beside))
            return beside;
    }
    return {};
}

bool GuardProcess::watch()
{
    reapEnded();
    if (m_control >= 0 || !m_connection)
        return true;
    return start();
}

void GuardProcess::destroyWatchWindow()
{
    if (m_watchWindow == XCB_NONE)
        return;
    xcb_destroy_window(m_connection, m_watchWindow);
    xcb_flush(m_connection);
    m_watchWindow = XCB_NONE;
}

void GuardProcess::guardEnded()
{
    // The guard never writes to us: anything readable here is the end of its socket.
    char byte;
    if (m_control < 0 || ::recv(m_control, &byte, 1, MSG_DONTWAIT | MSG_PEEK) != 0)
        return;
    m_guardWatch.reset();
    ::close(m_control);
    m_control = -1;
    destroyWatchWindow();
    if (m_pid > 0)
        m_ending.push_back(m_pid);
    m_pid = -1;
    reapEnded();
    Log::line(QStringLiteral("The lock's guard ended; a new one watches the lock."));
    start();
}

bool GuardProcess::start()
{
    const std::string program = programPath();
    if (program.empty())
        return false;
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        return false;
    // The child's end must not already be the descriptor it is given as, or dup2 would keep
    // its close-on-exec flag.
    if (pair[1] == controlDescriptor) {
        const int moved = ::fcntl(pair[1], F_DUPFD_CLOEXEC, controlDescriptor + 1);
        ::close(pair[1]);
        pair[1] = moved;
    }

    // A window that lives exactly as long as our connection to the X server; made before the
    // guard starts, and a round trip makes sure the server has it.
    m_watchWindow = xcb_generate_id(m_connection);
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    xcb_create_window(m_connection, 0, m_watchWindow, screen->root, -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    std::free(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));

    const std::string library = QFile::encodeName(LibraryFolder::path()).toStdString();
    const std::string window = std::to_string(m_watchWindow);
    const char* argv[] = {programName, "--library",    library.c_str(),
                          "--watch",   window.c_str(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pair[1], controlDescriptor);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // A session of its own: a terminal's Ctrl+C or hang-up that ends us does not reach it.
    sigset_t none;
    sigemptyset(&none);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t pid = -1;
    const int error = ::posix_spawn(&pid, program.c_str(), &actions, &attributes,
                                    const_cast<char* const*>(argv), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pair[1]);
    if (error != 0) {
        ::close(pair[0]);
        destroyWatchWindow();
        return false;
    }
    m_control = pair[0];
    m_pid = pid;
    m_guardWatch = std::make_unique<QSocketNotifier>(m_control, QSocketNotifier::Read);
    QObject::connect(m_guardWatch.get(), &QSocketNotifier::activated, [this] { guardEnded(); });
    return true;
}

void GuardProcess::unlocked()
{
    if (m_control < 0)
        return;
    m_guardWatch.reset();
    // Whether or not the guard still lives to hear it: a failed write changes nothing here.
    sendAll(m_control, HandOver::unlockedWord);
    ::close(m_control);
    m_control = -1;
    // After the word: the guard reads it before it hears of the window's end.
    destroyWatchWindow();
    if (m_pid > 0) {
        m_ending.push_back(m_pid);
        // A guard that does not end (stopped, hung) would keep its passive grabs, and the first
        // key after the unlock would wait on it: it is ended, as only a child still unreaped
        // can be.
        const pid_t pid = m_pid;
        QTimer::singleShot(endGrace, [pid] {
            if (::waitpid(pid, nullptr, WNOHANG) == 0)
                ::kill(pid, SIGKILL);
        });
    }
    m_pid = -1;
}

void GuardProcess::reapEnded()
{
    std::erase_if(m_ending, [](pid_t pid) { return ::waitpid(pid, nullptr, WNOHANG) != 0; });
}

bool GuardProcess::holderListening()
{
    const int fd = connectToHolder();
    if (fd < 0)
        return false;
    ::close(fd);
    return true;
}

bool GuardProcess::askHolderToRelease()
{
    const int fd = connectToHolder();
    if (fd < 0)
        return false;
    // Our map and focus requests are carried out before the guard looks at the focus.
    if (m_connection)
        std::free(
            xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    std::string answer;
    if (sendAll(fd, HandOver::releaseRequest)) {
        pollfd wait{fd, POLLIN, 0};
        char buffer[32];
        while (answer.find('\n') == std::string::npos && ::poll(&wait, 1, handOverTimeoutMs) > 0) {
            const ssize_t n = ::read(fd, buffer, sizeof(buffer));
            if (n <= 0)
                break;
            answer.append(buffer, size_t(n));
        }
    }
    ::close(fd);
    return answer == HandOver::releasedAnswer;
}
