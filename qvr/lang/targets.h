// The host's compile-time target constants (TargetLinux, TargetDesktop, XojoVersion, ...):
// what this runner is, as #If directives and expressions read it. The application kind
// and the version follow the runtime's options (--console, --web, --host-version).
#pragma once

#include <host/runtime.h>

#include <string>
#include <vector>

namespace qvrlang {

struct TargetConstant {
  std::string name;   // as documented: "TargetLinux"
  bool isBoolean = true;
  double value = 0;   // Booleans: 0 or 1
};

std::vector<TargetConstant> targetConstants(const host::Options& options);

// The constant of that name (any case), or null.
const TargetConstant* findTarget(const std::vector<TargetConstant>& targets, const std::string& name);

}  // namespace qvrlang
