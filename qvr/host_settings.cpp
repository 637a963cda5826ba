// The host options every subcommand accepts, so that each runs the plugins in the host
// the user describes: its version, application kind, and whether the sibling plugin loads.
#include "commands.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace qvr {

std::string FormatVersion(double version) {
  char text[64];
  for (int precision = 1; precision <= 17; ++precision) {
    std::snprintf(text, sizeof text, "%.*g", precision, version);
    if (std::strtod(text, nullptr) == version) break;
  }
  return text;
}

bool ParseHostSettings(std::vector<std::string>& args, HostSettings& settings, std::string& error) {
  std::vector<std::string> rest;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--host-version") {
      if (i + 1 >= args.size()) {
        error = "--host-version needs a value (for example 2013.03, or none)";
        return false;
      }
      const std::string& value = args[++i];
      if (value == "none") {
        settings.options.version.reset();
        settings.versionText = "none";
        continue;
      }
      char* end = nullptr;
      errno = 0;
      double version = std::strtod(value.c_str(), &end);
      if (value.empty() || *end != 0 || errno != 0 || !std::isfinite(version)) {
        error = "--host-version: not a version: " + value;
        return false;
      }
      settings.options.version = version;
      settings.versionText = FormatVersion(version);
    } else if (arg == "--console") {
      settings.options.kind = host::AppKind::Console;
    } else if (arg == "--web") {
      settings.options.kind = host::AppKind::Web;
    } else if (arg == "--no-siblings") {
      settings.options.siblings = false;
    } else {
      rest.push_back(arg);
    }
  }
  args = std::move(rest);
  return true;
}

}  // namespace qvr
