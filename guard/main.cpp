// tessarine-guard: keeps the display locked if the lock screen ends without unlocking.
//
//   tessarine-guard --library FOLDER --watch WINDOW   (the control socket is descriptor 3)
//
// Started by Tessarine at each lock. It uses no Qt, decodes no image and speaks no D-Bus: a
// small program, so that a fault in the large one cannot give the desktop away.
#include "guard/Guard.h"
#include "guard/GuardPassword.h"

#include <xcb/xcb.h>

#include <fcntl.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int controlDescriptor = 3;

void closeOtherDescriptors()
{
    // Only the standard streams and the control socket: nothing else of the lock screen's.
    for (int fd = controlDescriptor + 1; fd < 1024; ++fd)
        ::close(fd);
}

// The X server at the other end of a local connection, as its process id and start time; empty
// when the connection is not a local socket. A server that ended cannot come back with both.
std::string serverIdentity(xcb_connection_t* connection)
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (::getsockopt(xcb_get_file_descriptor(connection), SOL_SOCKET, SO_PEERCRED, &peer, &size) !=
            0 ||
        peer.pid <= 0)
        return {};
    std::ifstream stat("/proc/" + std::to_string(peer.pid) + "/stat");
    std::string line;
    std::getline(stat, line);
    // The start time is the 22nd field, counted after the command's closing parenthesis.
    std::string startTime;
    const size_t end = line.rfind(')');
    if (end != std::string::npos) {
        size_t field = 3, at = end + 1;
        while (field < 22 && at != std::string::npos) {
            at = line.find(' ', at + 1);
            ++field;
        }
        if (at != std::string::npos)
            startTime = line.substr(at + 1, line.find(' ', at + 1) - at - 1);
    }
    return std::to_string(peer.pid) + "@" + startTime;
}

} // namespace

int main(int argc, char** argv)
{
    Guard::Options options;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string name = argv[i];
        if (name == "--library")
            options.libraryFolder = argv[i + 1];
        else if (name == "--watch")
            options.watchWindow = xcb_window_t(std::strtoul(argv[i + 1], nullptr, 0));
    }
    if (options.libraryFolder.empty()) {
        std::fprintf(stderr, "usage: tessarine-guard --library FOLDER --watch WINDOW\n");
        return 2;
    }
    closeOtherDescriptors();
    // The lock screen that started us is our parent, alive at this moment: its program is the
    // only one a hand-over is granted to.
    char program[4096];
    const std::string parent = "/proc/" + std::to_string(::getppid()) + "/exe";
    const ssize_t length = ::readlink(parent.c_str(), program, sizeof(program) - 1);
    if (length > 0)
        options.lockScreenProgram.assign(program, size_t(length));
    options.controlFd = ::fcntl(controlDescriptor, F_GETFD) >= 0 ? controlDescriptor : -1;
    // Ended only by the password: the signals a session or a terminal sends on its way out, and
    // a write to a closed socket, do not end it. (SIGKILL cannot be ignored.)
    for (int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE, SIGUSR1, SIGUSR2})
        std::signal(signal, SIG_IGN);
    ::prctl(PR_SET_NAME, "tessarine-guard");

    // Security: any client may close another's connection to the X server (XKillClient, as
    // xkill does), which takes the guard's cover and grabs with it. The guard then connects
    // again at once and carries on where it was, with the password it read at the start.
    //
    // Only to the same X server, though: when the server itself ends, the session it showed has
    // ended with it, and a server started later on the same display number (a new login, or the
    // next test) is no business of this guard's.
    std::optional<GuardPassword> kept;
    std::string server;
    bool holding = false;
    for (int attempt = 0;; ++attempt) {
        xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
        if (xcb_connection_has_error(connection)) {
            xcb_disconnect(connection);
            // The display itself has gone (the session ended): nothing is left to guard.
            if (!kept || attempt >= 50) {
                std::fprintf(stderr, "tessarine-guard: no display\n");
                return 1;
            }
            ::usleep(20000);
            continue;
        }
        if (!kept) {
            server = serverIdentity(connection);
        } else if (serverIdentity(connection) != server) {
            xcb_disconnect(connection);
            std::fprintf(stderr, "tessarine-guard: the X server it guarded has ended\n");
            return 1;
        }
        Guard guard(connection, options);
        if (kept)
            guard.resume(*kept, holding);
        const int status = guard.run();
        if (status != Guard::connectionLost) {
            xcb_disconnect(connection);
            return status;
        }
        kept = guard.password();
        holding = guard.isHolding();
        options.controlFd = guard.controlFd();
        attempt = 0;
        xcb_disconnect(connection);
        std::fprintf(stderr, "tessarine-guard: the connection to the X server was closed; "
                             "connecting again\n");
    }
}
