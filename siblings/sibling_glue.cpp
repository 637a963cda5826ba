/* Host entry points of the sibling plugin, resolved by name on first use. */
#include "siblings/sibling_glue.h"

#include <atomic>
#include <cstring>
#include <memory>

namespace siblings {

REALResolver resolver = nullptr;
double hostVersion = 0.0;
int32_t layoutVersion = 9;

namespace {

template <typename Function>
Function Entry(std::atomic<void*>& cell, const char* name) {
  void* entry = cell.load(std::memory_order_relaxed);
  if (entry == nullptr && resolver != nullptr) {
    entry = resolver(name);
    cell.store(entry, std::memory_order_relaxed);
  }
  return reinterpret_cast<Function>(entry);
}

std::atomic<void*> newInstanceCell, lockObjectCell, unlockObjectCell, unlockStringCell, buildStringCell,
    setEncodingCell, setStringCell, setIntCell, registerClassCell, platformStringCell;

}  // namespace

REALobject NewInstance(const char* className) {
  auto entry = Entry<REALobject (*)(const char*)>(newInstanceCell, "PluginNewInstance");
  return entry ? entry(className) : nullptr;
}

void LockObject(REALobject object) {
  if (auto entry = Entry<void (*)(REALobject)>(lockObjectCell, "REALLockObject")) entry(object);
}

void UnlockObject(REALobject object) {
  if (auto entry = Entry<void (*)(REALobject)>(unlockObjectCell, "REALUnlockObject")) entry(object);
}

void UnlockString(REALstring string) {
  if (auto entry = Entry<void (*)(REALstring)>(unlockStringCell, "REALUnlockString")) entry(string);
}

bool SetPropertyString(REALobject object, const char* name, REALstring value) {
  auto entry = Entry<bool (*)(REALobject, const char*, REALstring)>(setStringCell, "REALSetPropValueString");
  return entry ? entry(object, name, value) : false;
}

bool SetPropertyInt32(REALobject object, const char* name, int32_t value) {
  auto entry = Entry<bool (*)(REALobject, const char*, int32_t)>(setIntCell, "REALSetPropValueInt");
  return entry ? entry(object, name, value) : false;
}

void RegisterClass(REALclassDefinition* definition) {
  if (auto entry = Entry<void (*)(REALclassDefinition*)>(registerClassCell, "PluginRegisterClass")) entry(definition);
}

REALstring HostString(CFStringRef string) {
  if (string == nullptr) return nullptr;
  CFIndex length = CFStringGetLength(string);
  if (length < 1 || length > 0x7FFFFFFF / 6) return nullptr;
  size_t size = static_cast<size_t>(length) * 6 + 1;
  std::unique_ptr<char[]> buffer(new char[size]);
  if (!CFStringGetCString(string, buffer.get(), static_cast<CFIndex>(size), kCFStringEncodingUTF8)) return nullptr;
  size_t byteCount = std::strlen(buffer.get());
  if (byteCount == 0) return nullptr;
  auto build = Entry<REALstring (*)(const void*, intptr_t)>(buildStringCell, "REALBuildString");
  REALstring result = build ? build(buffer.get(), static_cast<intptr_t>(byteCount)) : nullptr;
  if (result == nullptr) return nullptr;
  if (auto tag = Entry<void (*)(REALstring, uint32_t)>(setEncodingCell, "REALSetStringEncoding"))
    tag(result, kREALTextEncodingUTF8);
  return result;
}

CFStringRef CopyPlatformString(REALstring string) {
  if (string == nullptr) return nullptr;
  auto entry = Entry<CFStringRef (*)(REALstring, int32_t)>(platformStringCell, "REALGetStringCFString");
  return entry ? entry(string, 0) : nullptr;
}

}  // namespace siblings
