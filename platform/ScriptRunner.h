#pragma once

#include <QString>

#include <chrono>
#include <functional>

// How a script run ended.
struct ScriptOutcome
{
    enum Kind
    {
        Finished,
        Missing,
        Failed,
        TimedOut
    };
    Kind kind = Finished;
    QString detail; // what went wrong, for the log
};

// Runs the program's own scripts ("animateOn", "Tessarine", ...) by name, with no arguments;
// their results and failures are ignored. They lie in the scripts folder installed with the
// program, which TESSARINE_SCRIPTS_DIR can replace.
class ScriptRunner
{
public:
    virtual ~ScriptRunner() = default;
    // Waits for the script to end (for a background thread).
    virtual void runAndWait(const QString& name) = 0;
    // Starts the script and returns at once.
    virtual void start(const QString& name) = 0;
    // Starts the script and reports how it ended, on the main thread; a script still running
    // after `limit` is killed with everything it started.
    virtual void run(const QString& name, std::chrono::milliseconds limit,
                     std::function<void(const ScriptOutcome&)> done) = 0;
};

class ProcessScriptRunner final : public ScriptRunner
{
public:
    static QString scriptsFolder();
    static QString pathOf(const QString& name);
    void runAndWait(const QString& name) override;
    void start(const QString& name) override;
    void run(const QString& name, std::chrono::milliseconds limit,
             std::function<void(const ScriptOutcome&)> done) override;
};
