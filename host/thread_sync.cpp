// CriticalSection and Semaphore: what a program's threads use to take turns with a shared
// resource. Waiting yields to the other host threads until the lock or a unit is free. A
// wait that could never end (no other thread is left to free it, or the thread holding a
// CriticalSection has ended) raises a RuntimeException instead of hanging the program.
#include "native_members.h"

#include <cstdint>
#include <functional>

namespace host {

namespace {

constexpr size_t kNobody = SIZE_MAX;

struct CriticalSectionData {
  size_t owner = kNobody;  // the host thread that entered it
  int64_t depth = 0;       // how often the owner entered it without leaving
};

struct SemaphoreData {
  int64_t available = 1;
};

// Yields until ready() holds; false when it never can.
bool waitFor(Runtime& runtime, const std::function<bool()>& ready, const std::function<size_t()>& holder) {
  while (!ready()) {
    const bool alone = runtime.currentThread() == 0 && runtime.runningThreads() == 0;
    const size_t owner = holder();
    const bool abandoned = owner != kNobody && owner != 0 && runtime.threadFinished(owner);
    if (alone || abandoned) return false;
    runtime.yield();
  }
  return true;
}

void installCriticalSection(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<CriticalSectionData>(impl, "CriticalSection");
  auto freeFor = [](Runtime& runtime, const CriticalSectionData& lock) {
    return lock.owner == kNobody || lock.owner == runtime.currentThread();
  };
  auto take = [](Runtime& runtime, CriticalSectionData& lock) {
    lock.owner = runtime.currentThread();
    ++lock.depth;
  };
  addNativeMethod(cls, "Enter()", [cls, freeFor, take](Runtime& runtime, const Value& self, std::vector<Value>&) {
    CriticalSectionData* lock = boxedData<CriticalSectionData>(runtime, self, cls);
    if (!lock) return Value::nil();
    if (!waitFor(runtime, [&] { return freeFor(runtime, *lock); }, [&] { return lock->owner; })) {
      runtime.impl().raise("RuntimeException",
                           "CriticalSection.Enter would wait for ever: the thread holding it has ended, or no other thread is left to leave it");
      return Value::nil();
    }
    take(runtime, *lock);
    return Value::nil();
  });
  addNativeMethod(cls, "TryEnter() as Boolean", [cls, freeFor, take](Runtime& runtime, const Value& self, std::vector<Value>&) {
    CriticalSectionData* lock = boxedData<CriticalSectionData>(runtime, self, cls);
    if (!lock || !freeFor(runtime, *lock)) return Value::ofBoolean(false);
    take(runtime, *lock);
    return Value::ofBoolean(true);
  });
  addNativeMethod(cls, "Leave()", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    CriticalSectionData* lock = boxedData<CriticalSectionData>(runtime, self, cls);
    if (!lock) return Value::nil();
    if (lock->owner != runtime.currentThread()) {
      runtime.impl().raise("RuntimeException", "CriticalSection.Leave without Enter on this thread");
      return Value::nil();
    }
    if (--lock->depth == 0) lock->owner = kNobody;
    return Value::nil();
  });
}

void installSemaphore(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<SemaphoreData>(impl, "Semaphore");
  addNativeMethod(cls, "Constructor(count as Integer = 1)", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    if (SemaphoreData* semaphore = boxedData<SemaphoreData>(runtime, self, cls)) semaphore->available = args.at(0).integer;
    return Value::nil();
  });
  addNativeMethod(cls, "Signal()", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    SemaphoreData* semaphore = boxedData<SemaphoreData>(runtime, self, cls);
    if (!semaphore) return Value::nil();
    if (!waitFor(runtime, [&] { return semaphore->available > 0; }, [] { return kNobody; })) {
      runtime.impl().raise("RuntimeException", "Semaphore.Signal would wait for ever: no other thread is left to release it");
      return Value::nil();
    }
    --semaphore->available;
    return Value::nil();
  });
  addNativeMethod(cls, "TrySignal() as Boolean", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    SemaphoreData* semaphore = boxedData<SemaphoreData>(runtime, self, cls);
    if (!semaphore || semaphore->available <= 0) return Value::ofBoolean(false);
    --semaphore->available;
    return Value::ofBoolean(true);
  });
  addNativeMethod(cls, "Release()", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    if (SemaphoreData* semaphore = boxedData<SemaphoreData>(runtime, self, cls)) ++semaphore->available;
    return Value::nil();
  });
}

}  // namespace

void installThreadSynchronisation(Runtime::Impl& impl) {
  installCriticalSection(impl);
  installSemaphore(impl);
}

}  // namespace host
