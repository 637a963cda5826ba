/* The threaded runner. The work runs on a worker: on the platform's global work queue
   when the process offers one (dispatch_async, an optional import looked up at each
   run), otherwise on a new thread with a 2 MiB stack. Meanwhile the host thread yields
   to the host, sleeps a millisecond on the uptime clock and looks at a done flag again,
   until the worker has set it. The flag is the only thing both threads touch during
   the run; it lives under a mutex of its own or, when that mutex cannot be allocated,
   is written and read as a single atomic byte. The caller reads its work record only
   after the flag has been seen (and, on the thread mechanism, the thread joined). */
#include "threads/run_threaded.h"

#include <dlfcn.h>
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

bool IsDone(RunRecord& run) {
  if (run.mutex != nullptr) pthread_mutex_lock(run.mutex);
  bool done = __atomic_load_n(&run.done, __ATOMIC_ACQUIRE) != 0;
  if (run.mutex != nullptr) pthread_mutex_unlock(run.mutex);
  return done;
}

/* The worker's whole job, on either mechanism. Setting done is its last touch of the
   run record: the host thread may leave RunThreaded as soon as it sees it. */
void RunWork(RunRecord& run) {
  if (run.work != nullptr) run.work(const_cast<void*>(run.workRecord));
  if (run.mutex != nullptr) pthread_mutex_lock(run.mutex);
  __atomic_store_n(&run.done, 1, __ATOMIC_RELEASE);
  if (run.mutex != nullptr) pthread_mutex_unlock(run.mutex);
}

void* threadfunction(void* argument) {
  RunWork(*static_cast<RunRecord*>(argument));
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

/* The work queue takes blocks, which this compiler does not make, so the block is laid
   out by hand as the blocks runtime defines it: a stack block whose one captured value
   is the run record's address. A plain pointer needs no copy or dispose helpers, so the
   flags are 0. dispatch_async copies the block to the heap and releases the copy after
   running it; the record stays in RunThreaded's frame, which outlives the run. */
struct BlockDescriptor {
  unsigned long reserved;
  unsigned long size;
};

struct RunBlock {
  void* isa;
  int flags;
  int reserved;
  void (*invoke)(RunBlock* block);
  const BlockDescriptor* descriptor;
  RunRecord* run;
};

const BlockDescriptor kRunBlockDescriptor = {0, sizeof(RunBlock)};

void RunBlockBody(RunBlock* block) { RunWork(*block->run); }

typedef void* (*GlobalQueueFunction)(long priority, unsigned long flags);
typedef void (*SubmitFunction)(void* queue, void* block);

struct WorkQueue {
  SubmitFunction submit;
  void* queue;
  void* stackBlockClass;
};

/* The global concurrent queue of default priority, when the process has dispatch_async,
   the queue and the blocks runtime's stack block class. */
bool FindWorkQueue(WorkQueue& found) {
  found.submit = reinterpret_cast<SubmitFunction>(dlsym(RTLD_DEFAULT, "dispatch_async"));
  if (found.submit == nullptr) return false;
  auto globalQueue = reinterpret_cast<GlobalQueueFunction>(dlsym(RTLD_DEFAULT, "dispatch_get_global_queue"));
  found.stackBlockClass = dlsym(RTLD_DEFAULT, "_NSConcreteStackBlock");
  found.queue = globalQueue != nullptr ? globalQueue(0, 0) : nullptr;
  return found.queue != nullptr && found.stackBlockClass != nullptr;
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

void RunThreadedBlocks(const WorkQueue& workQueue, RunRecord& run) {
  RunBlock block = {workQueue.stackBlockClass, 0, 0, &RunBlockBody, &kRunBlockDescriptor, &run};
  run.running = 1;
  workQueue.submit(workQueue.queue, &block);
  WaitYielding(run);
  run.running = 0;
  DisposeMutex(run);
}

void RunOnThread(RunRecord& run) {
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

}  // namespace

void RunThreaded(const void* workRecord, ThreadWorkFunction work) {
  WorkQueue workQueue;
  bool queued = FindWorkQueue(workQueue);
  RunRecord run = {};
  run.workRecord = workRecord;
  run.work = work;
  run.mutex = NewMutex();
  if (queued)
    RunThreadedBlocks(workQueue, run);
  else
    RunOnThread(run);
}
