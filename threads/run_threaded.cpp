/* The threaded runner. The work runs on a new thread with a 2 MiB stack; the host
   thread yields to the host, sleeps a millisecond on the uptime clock, and looks at a
   done flag again, until the worker has set it. The flag is the only thing both
   threads touch during the run; it lives under a mutex of its own, or, when that mutex
   cannot be allocated, is written and read as a single atomic byte. The work record
   itself is read by the caller only after the worker has been joined.

   The platform's work queue (dispatch_async), which the home platform would use when
   present, needs blocks, which this compiler does not make: the thread is the one
   mechanism here. */
#include "threads/run_threaded.h"

#include <pthread.h>

#include <cstdint>
#include <cstdlib>

#include <CoreServices/CoreServices.h>

#include "plugin/host_bridge.h"

namespace {

/* One call's state, in RunThreaded's frame. */
struct RunRecord {
  pthread_t thread;
  pthread_mutex_t* mutex;  // null when it could not be allocated
  uint8_t running;
  uint8_t done;
  const void* workRecord;
  ThreadWorkFunction work;
};

const size_t kWorkerStackSize = 0x200000;

pthread_mutex_t* NewMutex() {
  auto* mutex = static_cast<pthread_mutex_t*>(std::calloc(1, sizeof(pthread_mutex_t)));
  if (mutex != nullptr && pthread_mutex_init(mutex, nullptr) != 0) {
    std::free(mutex);
    return nullptr;
  }
  return mutex;
}

void DisposeMutex(RunRecord& run) {
  if (run.mutex == nullptr) return;
  pthread_mutex_destroy(run.mutex);
  std::free(run.mutex);
  run.mutex = nullptr;
}

void SetDone(RunRecord& run) {
  if (run.mutex != nullptr) pthread_mutex_lock(run.mutex);
  __atomic_store_n(&run.done, 1, __ATOMIC_RELEASE);
  if (run.mutex != nullptr) pthread_mutex_unlock(run.mutex);
}

bool IsDone(RunRecord& run) {
  if (run.mutex != nullptr) pthread_mutex_lock(run.mutex);
  bool done = __atomic_load_n(&run.done, __ATOMIC_ACQUIRE) != 0;
  if (run.mutex != nullptr) pthread_mutex_unlock(run.mutex);
  return done;
}

void* threadfunction(void* argument) {
  RunRecord& run = *static_cast<RunRecord*>(argument);
  if (run.work != nullptr) run.work(const_cast<void*>(run.workRecord));
  SetDone(run);
  return nullptr;
}

bool StartThread(RunRecord& run) {
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  pthread_attr_setstacksize(&attributes, kWorkerStackSize);
  bool started = pthread_create(&run.thread, &attributes, &threadfunction, &run) == 0;
  pthread_attr_destroy(&attributes);
  if (started) run.running = 1;
  return started;
}

/* Yields before and after the wait, so even work that is over at once lets the host's
   other threads run. */
void WaitYielding(RunRecord& run) {
  REALYieldToRB();
  while (!IsDone(run)) {
    REALYieldToRB();
    AbsoluteTime until = AddDurationToAbsolute(kDurationMillisecond, UpTime());
    MPDelayUntil(&until);
  }
  REALYieldToRB();
}

}  // namespace

void RunThreaded(const void* workRecord, ThreadWorkFunction work) {
  RunRecord run = {};
  run.workRecord = workRecord;
  run.work = work;
  run.mutex = NewMutex();
  if (!StartThread(run)) {
    DisposeMutex(run);
    return;
  }
  WaitYielding(run);
  /* Joined before the mutex goes: the worker may still be returning from its unlock. */
  pthread_join(run.thread, nullptr);
  run.running = 0;
  DisposeMutex(run);
}
