// The qvr command's subcommands and the host options they share.
#pragma once

#include <string>
#include <vector>

#include "host/runtime.h"

namespace qvr {

// Host knobs read from the command line: --host-version V (or "none"), --console,
// --web, --no-siblings. Recognised arguments are removed from args; a bad value gives
// false with a message in error.
struct HostSettings {
  host::Options options;
  std::string versionText = "2013.03";  // as the user wrote it, for display
};
bool ParseHostSettings(std::vector<std::string>& args, HostSettings& settings, std::string& error);

// The shortest decimal text that reads back as the same double ("2013.03", "2010.029").
std::string FormatVersion(double version);

// Each subcommand takes its own arguments and returns the process exit status.
int ClassesCommand(std::vector<std::string> args);

}  // namespace qvr
