// The resolver handed to REALPluginMain: maps an entry-point name to the host function
// behind it. Names the runtime's options mark missing answer null, as an older host
// would, and so does "REALGetRBVersion" when no host version is configured. Every
// entry point, and the resolver itself, refuses calls from threads that are not host
// threads (entry_guard.h).
#include "runtime_private.h"

#include <cstring>

namespace host {

namespace {

const std::vector<EntryPoint>& entryPoints() {
  static const std::vector<EntryPoint> table = [] {
    std::vector<EntryPoint> t;
    addRegistrationEntryPoints(t);
    addObjectEntryPoints(t);
    addStringEntryPoints(t);
    addPlatformStringEntryPoints(t);
    addExceptionEntryPoints(t);
    addArrayEntryPoints(t);
    addMemoryBlockEntryPoints(t);
    addPropertyEntryPoints(t);
    addLoadedMethodEntryPoints(t);
    addThreadEntryPoints(t);
    addFolderItemEntryPoints(t);
    addVariantEntryPoints(t);
    addPictureEntryPoints(t);
    return t;
  }();
  return table;
}

}  // namespace

extern "C" void* hostResolveEntryPoint(const char* name) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !name) return nullptr;
  if (!tCurrentHostThread) {
    refuseForeignCall("the resolver");
    return nullptr;
  }
  faults::noteResolved(name);
  if (impl->options.missingEntryPoints.count(name)) return nullptr;
  if (!impl->options.version && std::strcmp(name, "REALGetRBVersion") == 0) return nullptr;
  for (const EntryPoint& entry : entryPoints())
    if (std::strcmp(entry.name, name) == 0) return entry.function;
  return nullptr;
}

void* Runtime::entryPoint(const std::string& name) const {
  if (current() != this) return nullptr;
  return hostResolveEntryPoint(name.c_str());
}

}  // namespace host
