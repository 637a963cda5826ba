// Cooperative host threads and "REALYieldToRB": each host thread is an OS thread that
// runs only while it holds the baton; yielding hands the baton to the next unfinished
// host thread in the order they were started and waits until it comes back.
#include "boundary.h"
#include "runtime_private.h"

#include "threads.h"

#include <atomic>
#include <cstdio>
#include <set>
#include <string>

namespace host {

thread_local HostThread* tCurrentHostThread = nullptr;

namespace {

std::atomic<size_t> gForeignCalls{0};
std::mutex gReportedMutex;
std::set<std::string> gReported;

}  // namespace

void refuseForeignCall(const char* entryPointName) {
  gForeignCalls.fetch_add(1, std::memory_order_relaxed);
  std::string name = entryPointName ? entryPointName : "";
  std::lock_guard<std::mutex> lock(gReportedMutex);
  if (gReported.insert(name).second)
    std::fprintf(stderr, "host: \"%s\" called from a thread that is not a host thread; refused\n", name.c_str());
}

size_t foreignThreadCallCount() { return gForeignCalls.load(std::memory_order_relaxed); }

void resetForeignThreadCalls() {
  gForeignCalls.store(0, std::memory_order_relaxed);
  std::lock_guard<std::mutex> lock(gReportedMutex);
  gReported.clear();
}

HostThreads::HostThreads() {
  auto self = std::make_unique<HostThread>();
  self->id = nextId_++;
  holder_ = self.get();
  tCurrentHostThread = self.get();
  ring_.push_back(std::move(self));
}

void HostThreads::finishAll() {
  // Threads still running would touch a runtime that is going away: let them end first.
  while (unfinished() > 0) yield();
  for (auto& thread : ring_)
    if (thread->os.joinable()) thread->os.join();
}

HostThreads::~HostThreads() {
  finishAll();
  if (!ring_.empty() && tCurrentHostThread == ring_.front().get()) tCurrentHostThread = nullptr;
}

HostThread* HostThreads::nextAfter(const HostThread* from) const {
  size_t count = ring_.size(), at = 0;
  while (at < count && ring_[at].get() != from) ++at;
  for (size_t step = 1; step <= count; ++step) {
    HostThread* candidate = ring_[(at + step) % count].get();
    if (!candidate->finished) return candidate;
  }
  return nullptr;
}

void HostThreads::waitForBaton(std::unique_lock<std::mutex>& lock, const HostThread* self) {
  changed_.wait(lock, [&] { return holder_ == self; });
}

size_t HostThreads::start(std::function<void()> body) {
  auto thread = std::make_unique<HostThread>();
  HostThread* raw = thread.get();
  raw->body = std::move(body);
  {
    std::lock_guard<std::mutex> lock(mutex_);
    raw->id = nextId_++;
    ring_.push_back(std::move(thread));
  }
  try {
    raw->os = std::thread([this, raw] { run(raw); });
  } catch (...) {
    std::lock_guard<std::mutex> lock(mutex_);
    raw->finished = true;
    raw->failure = std::current_exception();
  }
  return raw->id;
}

void HostThreads::run(HostThread* self) {
  tCurrentHostThread = self;
  {
    std::unique_lock<std::mutex> lock(mutex_);
    waitForBaton(lock, self);
  }
  void* pool = qvr_host_pool_push();
  try {
    if (self->body) self->body();
  } catch (...) {
    self->failure = std::current_exception();
  }
  self->body = nullptr;  // whatever the body captured goes while the baton is held
  qvr_host_pool_pop(pool);
  std::unique_lock<std::mutex> lock(mutex_);
  self->finished = true;
  holder_ = nextAfter(self);
  tCurrentHostThread = nullptr;
  changed_.notify_all();
}

void HostThreads::yield() {
  HostThread* self = tCurrentHostThread;
  std::unique_lock<std::mutex> lock(mutex_);
  ++yields_;
  if (!self || holder_ != self) return;
  HostThread* next = nextAfter(self);
  if (!next || next == self) return;
  holder_ = next;
  changed_.notify_all();
  waitForBaton(lock, self);
}

HostThread* HostThreads::find(size_t id) {
  std::lock_guard<std::mutex> lock(mutex_);
  for (auto& thread : ring_)
    if (thread->id == id) return thread.get();
  return nullptr;
}

bool HostThreads::finished(size_t id) {
  HostThread* thread = find(id);
  if (!thread) throw std::invalid_argument("no host thread " + std::to_string(id));
  std::lock_guard<std::mutex> lock(mutex_);
  return thread->finished;
}

size_t HostThreads::current() const { return tCurrentHostThread ? tCurrentHostThread->id : SIZE_MAX; }

void HostThreads::join(size_t id) {
  HostThread* thread = find(id);
  if (!thread || thread == ring_.front().get()) throw std::invalid_argument("no host thread " + std::to_string(id) + " to join");
  if (thread == tCurrentHostThread) throw std::logic_error("a host thread cannot join itself");
  if (thread->joined) throw std::logic_error("host thread " + std::to_string(id) + " was joined already");
  while (!finished(id)) yield();
  if (thread->os.joinable()) thread->os.join();
  thread->joined = true;
  if (thread->failure) {
    std::exception_ptr failure = thread->failure;
    thread->failure = nullptr;
    std::rethrow_exception(failure);
  }
}

size_t HostThreads::unfinished() {
  std::lock_guard<std::mutex> lock(mutex_);
  size_t count = 0;
  for (size_t i = 1; i < ring_.size(); ++i)
    if (!ring_[i]->finished) ++count;
  return count;
}

// ---- the Runtime's interface

size_t Runtime::startThread(std::function<void()> body) { return impl_->threads->start(std::move(body)); }

void Runtime::yield() { impl_->threads->yield(); }

bool Runtime::threadFinished(size_t id) const { return impl_->threads->finished(id); }

size_t Runtime::currentThread() const { return impl_->threads->current(); }

void Runtime::joinThread(size_t id) { impl_->threads->join(id); }

bool Runtime::runThreadsUntil(const std::function<bool()>& done, size_t maxYields) {
  for (size_t i = 0; i < maxYields; ++i) {
    if (done()) return true;
    if (impl_->threads->unfinished() == 0) break;
    impl_->threads->yield();
  }
  return done();
}

size_t Runtime::runningThreads() const { return impl_->threads->unfinished(); }

uint64_t Runtime::yieldCount() const { return impl_->threads->yields(); }

size_t Runtime::foreignThreadCalls() const { return foreignThreadCallCount(); }

bool Runtime::onHostThread() { return tCurrentHostThread != nullptr; }

namespace {

void realYieldToRB() {
  if (Runtime::Impl* impl = currentImpl()) impl->threads->yield();
}

}  // namespace

void addThreadEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"REALYieldToRB", guardedEntryPoint<&realYieldToRB>("REALYieldToRB")});
}

}  // namespace host
