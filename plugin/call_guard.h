/* The Cocoa call guard around the platform work of every host-called function, in its
   five forms: Full (CocoaInit, pooled frame), Pooled, Init and simple (CocoaInit, simple
   frame), Simple, and Init only. The frames live in plain Objective-C (call_guard.m),
   where typed @catch clauses are safe on this toolchain; these templates hand them a
   lambda through a C callback.

   A frame runs the body; an NSException escaping it is logged and raised as a host
   exception (RaiseNSExceptionQVR) and the form returns false; any other thrown object
   goes on to the host unchanged (after the pool is released, in the pooled forms). The
   body stores its result in a variable of the caller, set to the neutral value before. */
#ifndef QVR_PLUGIN_CALL_GUARD_H
#define QVR_PLUGIN_CALL_GUARD_H

#include "plugin/cocoa_state.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef void (*CocoaGuardBody)(void* context);

enum { kCocoaGuardConverted = 0, kCocoaGuardCompleted = 1 };

/* Run body(context) in a platform exception frame; the pooled frame first opens an
   autorelease pool inside it and releases that pool on every way out. */
int CocoaRunSimpleFrame(CocoaGuardBody body, void* context);
int CocoaRunPooledFrame(CocoaGuardBody body, void* context);

#ifdef __OBJC__
/* YES for an NSException or an instance of a subclass, decided by the class chain. */
BOOL CocoaIsNSException(id object);
#endif

#ifdef __cplusplus
}

#include <memory>
#include <type_traits>

template <typename Body>
void CocoaGuardInvoke(void* context) {
  (*static_cast<Body*>(context))();
}

/* Each form returns true when the body ran to its end, false when a platform exception
   was converted into a host exception. */
template <typename Body>
bool CocoaGuardSimple(Body&& body) {
  using Callable = std::remove_reference_t<Body>;
  return CocoaRunSimpleFrame(&CocoaGuardInvoke<Callable>, const_cast<void*>(static_cast<const void*>(std::addressof(body)))) ==
         kCocoaGuardCompleted;
}

template <typename Body>
bool CocoaGuardPooled(Body&& body) {
  using Callable = std::remove_reference_t<Body>;
  return CocoaRunPooledFrame(&CocoaGuardInvoke<Callable>, const_cast<void*>(static_cast<const void*>(std::addressof(body)))) ==
         kCocoaGuardCompleted;
}

template <typename Body>
bool CocoaGuardInitSimple(Body&& body) {
  CocoaInit();
  return CocoaGuardSimple(static_cast<Body&&>(body));
}

template <typename Body>
bool CocoaGuardFull(Body&& body) {
  CocoaInit();
  return CocoaGuardPooled(static_cast<Body&&>(body));
}

/* Init only: the shared state is prepared and the body runs without a frame. */
template <typename Body>
void CocoaGuardInitOnly(Body&& body) {
  CocoaInit();
  body();
}

#endif

#endif
