// Running host programs: `qvr run PROGRAM` reads a program in the host's language and
// runs it in a host runtime with the plugin and the sibling plugin loaded.
#pragma once

#include <host/runtime.h>

#include <ostream>
#include <string>
#include <vector>

namespace qvrlang {

// Runs program text in rt, printing to out. Errors go to err: a program error as
// "file:line:column: error: ...", an uncaught host exception as its class, message
// and line. Returns 0 when the program ran to its end (or the status it gave Quit), 1
// otherwise. path: the program's file, which App.ExecutableFile answers.
int runSource(host::Runtime& rt, const std::string& source, const std::string& file, std::ostream& out, std::ostream& err,
              const std::string& path = std::string());

// The same for a program file (2 when it cannot be read).
int runFile(host::Runtime& rt, const std::string& path, std::ostream& out, std::ostream& err);

// The program `qvr run` runs when it is given none.
const std::string& embeddedExample();

// The `qvr run` command: the arguments after "run" ([PROGRAM] and options
// --no-siblings, --console, --web, --host-version V or none). Makes the runtime, loads the plugins,
// runs the program (or the embedded example) and returns the exit status.
int runCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace qvrlang
