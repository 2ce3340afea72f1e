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
#include <optional>
#include <string>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

constexpr int controlDescriptor = 3;

void closeOtherDescriptors()
{
    // Only the standard streams and the control socket: nothing else of the lock screen's.
    for (int fd = controlDescriptor + 1; fd < 1024; ++fd)
        ::close(fd);
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
    std::optional<GuardPassword> kept;
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
