// The host's fault-injection and bookkeeping knobs (include/host/faults.h): every guarded
// entry point passes through hookedCall (entry_guard.h) once a test has armed them, and the
// resolver notes each name it is asked for. Entry points run on host threads only, which
// hold the one baton in turn, so the counters need no lock of their own.
#include "host/faults.h"

#include <atomic>
#include <cstring>
#include <map>
#include <mutex>

#include "runtime_private.h"

namespace host {

namespace faults {

std::atomic<bool> gArmed{false};

namespace {

std::mutex gNamesMutex;
std::vector<std::string> gResolved;
std::map<std::string, size_t, std::less<>> gCalls;
std::string gTarget;
size_t gFailAt = 0;
bool gFired = false;
long gOpenLocks = 0;

const char* const kLocks[] = {"REALLockPictureDescription", "lockPictureDescription", "PluginGetStringData"};
const char* const kUnlocks[] = {"unlockPictureDescription", "PluginDisposeStringData"};

bool named(const char* name, const char* const (&list)[3]) {
  for (const char* n : list)
    if (std::strcmp(n, name) == 0) return true;
  return false;
}

}  // namespace

std::vector<std::string> resolvedNames() {
  std::lock_guard<std::mutex> hold(gNamesMutex);
  return gResolved;
}

void noteResolved(const char* name) {
  std::lock_guard<std::mutex> hold(gNamesMutex);
  for (const std::string& known : gResolved)
    if (known == name) return;
  gResolved.emplace_back(name);
}

void arm(const std::string& name, size_t k) {
  gCalls.clear();
  gTarget = name;
  gFailAt = k;
  gFired = false;
  gOpenLocks = 0;
  gArmed = true;
}

void disarm() { gArmed = false; }

size_t calls(const std::string& name) {
  auto found = gCalls.find(name);
  return found == gCalls.end() ? 0 : found->second;
}

bool fired() { return gFired; }

long openLocks() { return gOpenLocks; }

Value bareInstance(Runtime& runtime, const std::string& className) {
  ClassInfo* cls = runtime.findClass(className);
  if (!cls) return Value::nil();
  return Value::ofObject(ObjectRef::adopt(runtime.impl().instantiate(cls)));
}

bool failThisCall(const char* name) {
  const size_t count = ++gCalls[name];
  if (gFailAt == 0 || count != gFailAt || gTarget != name) return false;
  gFired = true;
  return true;
}

void noteDone(const char* name, bool succeeded) {
  if (succeeded && named(name, kLocks)) ++gOpenLocks;
  if (std::strcmp(name, kUnlocks[0]) == 0 || std::strcmp(name, kUnlocks[1]) == 0) --gOpenLocks;
}

}  // namespace faults

}  // namespace host
