#pragma once

#include <QString>

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
};

class ProcessScriptRunner final : public ScriptRunner
{
public:
    static QString scriptsFolder();
    static QString pathOf(const QString& name);
    void runAndWait(const QString& name) override;
    void start(const QString& name) override;
};
