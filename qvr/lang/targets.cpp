// The target constants: this runner is a 64-bit Linux build; whether it is a desktop,
// console or web application, and which host version it plays, come from the options.
// DebugBuild is True, as for a program run from the host's development environment.
#include "targets.h"

#include "lexer.h"

namespace qvrlang {

std::vector<TargetConstant> targetConstants(const host::Options& options) {
#if defined(__x86_64__) || defined(__i386__)
  constexpr bool kX86 = true;
#else
  constexpr bool kX86 = false;
#endif
#if defined(__aarch64__) || defined(__arm__)
  constexpr bool kARM = true;
#else
  constexpr bool kARM = false;
#endif
  const bool desktop = options.kind == host::AppKind::Desktop;
  const double version = options.version.value_or(0);
  auto flag = [](const char* name, bool on) { return TargetConstant{name, true, on ? 1.0 : 0.0}; };
  return {
      flag("TargetLinux", true),      flag("TargetMacOS", false),      flag("TargetWindows", false),
      flag("TargetWin32", false),     flag("TargetCocoa", false),      flag("TargetCarbon", false),
      flag("TargetMachO", false),     flag("TargetIOS", false),        flag("TargetDesktop", desktop),
      flag("TargetHasGUI", desktop),  flag("TargetConsole", options.kind == host::AppKind::Console),
      flag("TargetWeb", options.kind == host::AppKind::Web),            flag("TargetX86", kX86),
      flag("TargetARM", kARM),        flag("Target32Bit", false),      flag("Target64Bit", true),
      flag("TargetLittleEndian", true), flag("TargetBigEndian", false), flag("DebugBuild", true),
      {"XojoVersion", false, version}, {"RBVersion", false, version},
  };
}

const TargetConstant* findTarget(const std::vector<TargetConstant>& targets, const std::string& name) {
  const std::string k = lowered(name);
  for (const TargetConstant& t : targets)
    if (lowered(t.name) == k) return &t;
  return nullptr;
}

}  // namespace qvrlang
