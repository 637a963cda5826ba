// Thread: a host thread that a program starts. Start (and Run, its older name) runs the
// Run event, the handler a subclass of the program gives (ClassInfo::eventHandlers), on
// a cooperative host thread of its own; it takes its turns when the others yield (a
// plugin waiting for its worker, App.DoEvents, Sleep, Thread.SleepCurrent). State tells
// where it is (Running, Sleeping, NotRunning); the instance stays alive while it runs.
#include "native_members.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace host {

namespace {

constexpr int64_t kRunning = 0, kSleeping = 3, kNotRunning = 4;

struct ThreadData {
  int64_t state = kNotRunning;
  int64_t priority = 5;
  size_t id = 0;
};

NativeFunction runHandler(ClassInfo* cls) {
  for (ClassInfo* c = cls; c; c = c->superclass) {
    auto it = c->eventHandlers.find("run");
    if (it != c->eventHandlers.end()) return it->second;
  }
  return nullptr;
}

// The calling thread waits that long, handing the others their turns meanwhile.
void sleepFor(Runtime& runtime, int64_t milliseconds) {
  using Clock = std::chrono::steady_clock;
  const auto until = Clock::now() + std::chrono::milliseconds(milliseconds);
  for (;;) {
    runtime.yield();
    const auto now = Clock::now();
    if (now >= until) return;
    std::this_thread::sleep_for(std::min<Clock::duration>(until - now, std::chrono::milliseconds(1)));
  }
}

Value start(Runtime& runtime, const Value& self, ClassInfo* cls) {
  ThreadData* data = boxedData<ThreadData>(runtime, self, cls);
  if (!data) return Value::nil();
  if (data->state != kNotRunning) {
    runtime.impl().raise("RuntimeException", "this Thread is running already");
    return Value::nil();
  }
  NativeFunction handler = runHandler(self.object.get()->cls);
  if (!handler) return Value::nil();  // no Run event: the thread has nothing to do
  data->state = kRunning;
  data->id = runtime.startThread([&runtime, self, data, handler] {
    std::vector<Value> none;
    handler(runtime, self, none);
    data->state = kNotRunning;
  });
  return Value::nil();
}

}  // namespace

void installThreadClass(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<ThreadData>(impl, "Thread");
  static const struct {
    const char* name;
    const char* value;
  } kStates[] = {{"Running", "0"}, {"Waiting", "1"}, {"Suspended", "2"}, {"Sleeping", "3"}, {"NotRunning", "4"}};
  for (const auto& state : kStates) addConstant(cls, state.name, "Integer", state.value);
  for (const char* name : {"Start()", "Run()"})
    addNativeMethod(cls, name, [cls](Runtime& runtime, const Value& self, std::vector<Value>&) { return start(runtime, self, cls); });
  addNativeProperty(cls, "State", "Integer", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    ThreadData* data = boxedData<ThreadData>(runtime, self, cls);
    return Value::ofInteger(data ? data->state : kNotRunning);
  });
  addNativeProperty(cls, "ThreadID", "Integer", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    ThreadData* data = boxedData<ThreadData>(runtime, self, cls);
    return Value::ofInteger(data ? int64_t(data->id) : 0);
  });
  // Priority is kept for the program to read; the threads take their turns in order.
  addNativeProperty(
      cls, "Priority", "Integer",
      [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
        ThreadData* data = boxedData<ThreadData>(runtime, self, cls);
        return Value::ofInteger(data ? data->priority : 5);
      },
      [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        if (ThreadData* data = boxedData<ThreadData>(runtime, self, cls)) data->priority = args.at(0).integer;
        return Value::nil();
      });
  // Sleep: the other threads take their turns until the time has passed.
  addNativeMethod(cls, "Sleep(milliseconds as Integer, wakeEarly as Boolean = False)",
                  [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    ThreadData* data = boxedData<ThreadData>(runtime, self, cls);
                    const int64_t was = data ? data->state : kNotRunning;
                    if (data) data->state = kSleeping;
                    sleepFor(runtime, args.at(0).integer);
                    if (data) data->state = was;
                    return Value::nil();
                  });
  addSharedMethod(cls, "SleepCurrent(milliseconds as Integer)", [](Runtime& runtime, const Value&, std::vector<Value>& args) {
    sleepFor(runtime, args.at(0).integer);
    return Value::nil();
  });
}

}  // namespace host
