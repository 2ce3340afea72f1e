#pragma once

// The tray program itself, with Qt: everything `tessarine` does when it is given no command.
// The `tessarine` binary loads it from the module beside it, so that the command line can run
// without loading Qt at all.
extern "C" int tessarine_run_program(int argc, char** argv);
