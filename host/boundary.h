// Calls into plugin code go through guarded(): C++ exceptions thrown inside pass
// through unchanged, an Objective-C object thrown out of the plugin becomes
// host::ThrownObject. (A C++ catch-all must not meet an Objective-C exception on this
// runtime, so the C++ side catches only typed C++ exceptions.)
#pragma once

#include "host/runtime.h"

#include <exception>
#include <string>
#include <utility>

extern "C" int qvr_host_call_guarded(void (*body)(void*), void* context, void** thrown, const char** className);
// The autorelease pool a host thread keeps while it runs (objc_boundary.m).
extern "C" void* qvr_host_pool_push(void);
extern "C" void qvr_host_pool_pop(void* pool);

namespace host {

template <class Body>
void guarded(Body&& body) {
  struct Frame {
    Body* body;
    std::exception_ptr error;
  } frame{&body, nullptr};
  void* thrown = nullptr;
  const char* className = nullptr;
  auto trampoline = [](void* context) {
    auto* f = static_cast<Frame*>(context);
    try {
      (*f->body)();
    } catch (const std::exception&) {
      f->error = std::current_exception();
    }
  };
  if (qvr_host_call_guarded(trampoline, &frame, &thrown, &className)) {
    throw ThrownObject(thrown, className ? className : "");
  }
  if (frame.error) std::rethrow_exception(frame.error);
}

}  // namespace host
