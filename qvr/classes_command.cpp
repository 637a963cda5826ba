// qvr classes: loads the plugins into a host and prints what the host registered, as the
// host holds it: the negotiated layout, then each plugin class with its superclass, data
// size, flags, and every member's declaration with its host flags.
#include <cstdio>
#include <iostream>
#include <sstream>

#include "commands.h"

namespace qvr {

namespace {

std::string Hex(uintptr_t value) {
  std::ostringstream out;
  out << "0x" << std::hex << value;
  return out.str();
}

void PrintProperties(const char* kind, const std::vector<host::PropertyInfo>& properties) {
  for (const host::PropertyInfo& p : properties) {
    std::cout << "  " << kind << " " << p.name << " as " << p.type << "  [flags " << Hex(p.flags);
    if (!p.group.empty()) std::cout << ", group " << p.group;
    bool marker = p.getter == reinterpret_cast<void*>(intptr_t(-1)) || p.setter == reinterpret_cast<void*>(intptr_t(-1));
    if (marker) std::cout << ", instance data at " << p.param;
    if (!p.setter) std::cout << ", read-only";
    std::cout << "]\n";
  }
}

void PrintMethods(const char* kind, const std::vector<host::MethodInfo>& methods) {
  for (const host::MethodInfo& m : methods) {
    std::cout << "  " << kind << " " << m.declarationText << "  [flags " << Hex(m.flags);
    if (m.setterFunction) std::cout << ", assignable";
    std::cout << "]\n";
  }
}

}  // namespace

int ClassesCommand(std::vector<std::string> args) {
  HostSettings settings;
  std::string error;
  if (!ParseHostSettings(args, settings, error)) {
    std::cerr << "qvr classes: " << error << "\n";
    return 2;
  }
  if (!args.empty()) {
    std::cerr << "qvr classes: unexpected argument " << args.front() << "\n";
    return 2;
  }

  host::Runtime runtime(settings.options);
  try {
    runtime.loadStandardPlugins();
  } catch (const std::exception& e) {
    std::cerr << "qvr classes: " << e.what() << "\n";
    return 1;
  }

  std::optional<int> layout = runtime.registeredPluginVersion();
  std::cout << "host " << settings.versionText << ", layout "
            << (layout ? std::to_string(*layout) : std::string("none")) << "\n";

  for (const host::ClassInfo* cls : runtime.classes()) {
    if (cls->builtIn) continue;
    std::cout << "\nclass " << cls->name;
    if (!cls->superName.empty()) std::cout << " inherits " << cls->superName;
    std::cout << "  [layout " << cls->layout << ", data " << cls->dataSize << " bytes at " << cls->dataOffset
              << ", flags " << Hex(cls->flags) << "]\n";
    PrintProperties("property", cls->properties);
    PrintProperties("shared property", cls->sharedProperties);
    PrintMethods("method", cls->methods);
    PrintMethods("shared method", cls->sharedMethods);
    for (const host::ConstantInfo& c : cls->constants) std::cout << "  constant " << c.declarationText << "\n";
  }
  return 0;
}

}  // namespace qvr
