#pragma once

#include <string>
#include <vector>

// The command line of the tessarine binary. With no command it runs the program; `lock` and
// `mail N` ask the program already running in this session, over the session bus.
//
// Written without Qt: `tessarine lock` loads nothing but the D-Bus library, so it locks a few
// milliseconds after it starts, from a terminal, a script or an ssh login.
class CommandLine
{
public:
    enum class Action
    {
        Run,
        Lock,
        Mail,
        Help,
        Version,
        Invalid
    };

    struct Request
    {
        Action action = Action::Run;
        int mailCount = 0;
        std::string error;
    };

    static Request parse(const std::vector<std::string>& arguments);
    static Request parse(int argc, char** argv);
    static std::string helpText();
    static std::string versionText();

    // Sends a lock or mail request to the running program. Returns the process's exit code: 0
    // when the request was delivered, 1 when no program runs or the bus cannot be reached; says
    // why on `errors`.
    static int send(const Request& request, std::string& errors);
};
