// A stand-in for the platform's global work queue, which this system lacks. A runner
// test loads it into its process (globally, where the platform's library would be) to
// take the runner down its work-queue path. dispatch_async copies the block with the
// process's blocks runtime, runs the copy on a thread of its own and releases it, as
// the platform's queue does; the test reads how many blocks were submitted.
#include <dlfcn.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace {

// The start of every block: its class, flags, and the function that runs it.
struct BlockHeader {
  void* isa;
  int flags;
  int reserved;
  void (*invoke)(void* block);
};

typedef void* (*BlockCopyFunction)(const void* block);
typedef void (*BlockReleaseFunction)(const void* block);

std::atomic<long> submissions{0};
int theGlobalQueue;  // its address is the one queue

// The threads that ran blocks, joined when the library goes.
struct Workers {
  std::mutex mutex;
  std::vector<std::thread> threads;
  ~Workers() {
    for (std::thread& thread : threads) thread.join();
  }
} workers;

}  // namespace

extern "C" __attribute__((visibility("default"))) void* dispatch_get_global_queue(long, unsigned long) {
  return &theGlobalQueue;
}

extern "C" __attribute__((visibility("default"))) void dispatch_async(void* queue, void* block) {
  auto copy = reinterpret_cast<BlockCopyFunction>(dlsym(RTLD_DEFAULT, "_Block_copy"));
  auto release = reinterpret_cast<BlockReleaseFunction>(dlsym(RTLD_DEFAULT, "_Block_release"));
  if (queue != &theGlobalQueue || block == nullptr || copy == nullptr || release == nullptr) return;
  void* heapBlock = copy(block);
  ++submissions;
  std::lock_guard<std::mutex> lock(workers.mutex);
  workers.threads.emplace_back([heapBlock, release] {
    static_cast<BlockHeader*>(heapBlock)->invoke(heapBlock);
    release(heapBlock);
  });
}

extern "C" __attribute__((visibility("default"))) long QVRTestWorkQueueSubmissions() { return submissions; }
