// The tessarine binary: the command line, and the door to the tray program.
//
// It links no Qt. `tessarine lock` and `tessarine mail N` talk to the running program over the
// session bus with libdbus and end; with no command, the tray program is loaded from its module
// and run.
#include "app/CommandLine.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::string folderOfThisBinary()
{
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length <= 0)
        return ".";
    path[length] = '\0';
    std::string text(path);
    const size_t slash = text.rfind('/');
    return slash == std::string::npos ? "." : text.substr(0, slash);
}

#ifndef TESSARINE_MODULE_FROM_BIN
#define TESSARINE_MODULE_FROM_BIN "../lib/tessarine"
#endif

// Beside the binary in the build tree; once installed, in <prefix>/<libdir>/tessarine, found
// from the binary's own folder so that the installed tree may be moved.
int runProgram(int argc, char** argv)
{
    const std::string folder = folderOfThisBinary();
    std::string candidates[] = {
        folder + "/tessarine-program.so",
        folder + "/" TESSARINE_MODULE_FROM_BIN "/tessarine-program.so",
    };
    if (const char* moved = std::getenv("TESSARINE_PROGRAM_MODULE"))
        candidates[1] = candidates[0], candidates[0] = moved;
    std::string errors;
    for (const std::string& path : candidates) {
        void* module = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!module) {
            errors += std::string("  ") + ::dlerror() + "\n";
            continue;
        }
        using Run = int (*)(int, char**);
        auto run = reinterpret_cast<Run>(::dlsym(module, "tessarine_run_program"));
        if (!run) {
            errors += "  " + path + ": not a Tessarine program module\n";
            continue;
        }
        return run(argc, argv);
    }
    std::fprintf(stderr, "tessarine: the program module cannot be loaded:\n%s", errors.c_str());
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    const CommandLine::Request request = CommandLine::parse(argc, argv);
    switch (request.action) {
    case CommandLine::Action::Run:
        return runProgram(argc, argv);
    case CommandLine::Action::Lock:
    case CommandLine::Action::Mail: {
        std::string errors;
        const int status = CommandLine::send(request, errors);
        std::fputs(errors.c_str(), stderr);
        return status;
    }
    case CommandLine::Action::Help:
        std::fputs(CommandLine::helpText().c_str(), stdout);
        return 0;
    case CommandLine::Action::Version:
        std::fputs(CommandLine::versionText().c_str(), stdout);
        return 0;
    case CommandLine::Action::Invalid:
        std::fprintf(stderr, "%s\nTry 'tessarine --help'.\n", request.error.c_str());
        return 2;
    }
    return 2;
}
