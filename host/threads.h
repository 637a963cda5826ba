// Cooperative host threads: real OS threads under one baton, so that only the thread
// holding it runs host or plugin code. The thread that created the Runtime is the first
// host thread; "REALYieldToRB" hands the baton to the next one in turn.
#pragma once

#include "entry_guard.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace host {

struct HostThread {
  size_t id = 0;
  std::function<void()> body;
  std::thread os;               // not joinable for the Runtime's own thread
  bool finished = false;
  bool joined = false;
  std::exception_ptr failure;   // what the body threw, rethrown by joinThread
};

class HostThreads {
 public:
  HostThreads();   // makes the calling thread the first host thread, holding the baton
  ~HostThreads();  // the calling thread stops being a host thread
  // Runs the remaining threads to their end and joins them.
  void finishAll();

  size_t start(std::function<void()> body);
  // Hands the baton on and waits for it to come back; returns at once when no other
  // host thread can run.
  void yield();
  bool finished(size_t id);
  // The calling host thread's id (0 for the Runtime's own); SIZE_MAX on another thread.
  size_t current() const;
  void join(size_t id);
  size_t unfinished();
  uint64_t yields() const { return yields_; }

 private:
  void run(HostThread* self);
  // With the lock held: the next thread after `from` in turn that has not finished.
  HostThread* nextAfter(const HostThread* from) const;
  void waitForBaton(std::unique_lock<std::mutex>& lock, const HostThread* self);
  HostThread* find(size_t id);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::unique_ptr<HostThread>> ring_;  // ring_[0]: the Runtime's thread
  HostThread* holder_ = nullptr;
  uint64_t yields_ = 0;
  size_t nextId_ = 0;
};

// How many entry-point calls came from foreign threads since the Runtime was made.
size_t foreignThreadCallCount();
void resetForeignThreadCalls();

}  // namespace host
