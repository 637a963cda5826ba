// Every entry point the resolver hands out runs only on a host thread: a call from any
// other thread is refused (counted, logged once per name) and answered with the neutral
// result of its C type. guardedEntryPoint wraps a host function in that one test.
#pragma once

#include <atomic>
#include <type_traits>

namespace host {

// The fault-injection knobs (faults.cpp, include/host/faults.h): armed by tests only.
namespace faults {
extern std::atomic<bool> gArmed;
bool failThisCall(const char* name);             // counts the call; true: answer neutrally
void noteDone(const char* name, bool succeeded);  // lock pairs
void noteResolved(const char* name);

template <class R, class Body>
R hookedCall(const char* name, Body body) {
  if (failThisCall(name)) {
    if constexpr (std::is_void_v<R>) return;
    else return R{};
  }
  if constexpr (std::is_void_v<R>) {
    body();
    noteDone(name, true);
  } else {
    R result = body();
    if constexpr (std::is_scalar_v<R>) noteDone(name, result != R{});
    return result;
  }
}
}  // namespace faults

struct HostThread;

// The host thread running on this OS thread, or null on any other thread.
extern thread_local HostThread* tCurrentHostThread;

// Counts and reports a call from a foreign thread (log once per entry-point name).
void refuseForeignCall(const char* entryPointName);

template <auto F>
struct GuardedEntryPoint;

template <class R, class... A, R (*F)(A...)>
struct GuardedEntryPoint<F> {
  static inline const char* name = "";
  static R call(A... args) {
    if (__builtin_expect(tCurrentHostThread != nullptr, 1)) {
      if (__builtin_expect(faults::gArmed.load(std::memory_order_relaxed), 0))
        return faults::hookedCall<R>(name, [&] { return F(args...); });
      return F(args...);
    }
    refuseForeignCall(name);
    if constexpr (std::is_void_v<R>) return;
    else return R{};
  }
};

// The host function F as an entry point named `name`, guarded against foreign threads.
template <auto F>
void* guardedEntryPoint(const char* name) {
  GuardedEntryPoint<F>::name = name;
  return reinterpret_cast<void*>(&GuardedEntryPoint<F>::call);
}

}  // namespace host
