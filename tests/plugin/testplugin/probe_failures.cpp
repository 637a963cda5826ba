// Failures on demand for the threaded runner's two fallible steps. The test plugin is
// linked with --wrap=pthread_create and --wrap=calloc, so the plugin's own calls of
// these two come here; each passes through unless a probe armed a failure, which is
// then delivered once, to the first call that matches.
#include "tests/plugin/testplugin/probe.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

extern "C" {
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
void* __real_calloc(size_t, size_t);
int __wrap_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
void* __wrap_calloc(size_t, size_t);
}

namespace {

std::atomic<bool> failThreadCreation{false};
std::atomic<bool> failMutexAllocation{false};
std::atomic<int> delivered{0};

}  // namespace

void FailNextThreadCreation(bool fail) { failThreadCreation = fail; }
void FailNextMutexAllocation(bool fail) { failMutexAllocation = fail; }
int TakeDeliveredFailures() { return delivered.exchange(0); }

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
  if (failThreadCreation.exchange(false)) {
    ++delivered;
    return EAGAIN;
  }
  return __real_pthread_create(thread, attributes, start, argument);
}

// Only an allocation of one mutex is refused.
void* __wrap_calloc(size_t count, size_t size) {
  if (count == 1 && size == sizeof(pthread_mutex_t) && failMutexAllocation.exchange(false)) {
    ++delivered;
    return nullptr;
  }
  return __real_calloc(count, size);
}
