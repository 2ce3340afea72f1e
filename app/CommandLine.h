#pragma once

#include <QString>
#include <QStringList>

class QTextStream;

// The command line of the tessarine binary. With no command it runs the program; `lock` and
// `mail N` ask the program already running in this session, over the session bus.
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
        QString error;
    };

    static Request parse(const QStringList& arguments);
    static QString helpText();
    static QString versionText();

    // Sends a lock or mail request to the running program. Returns the process's exit code: 0
    // when the request was delivered, 1 when no program runs or the bus cannot be reached.
    static int send(const Request& request, QTextStream& errors);
};
