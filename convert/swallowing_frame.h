/* A frame in which an NSException ends the body quietly. */
#ifndef QVR_CONVERT_SWALLOWING_FRAME_H
#define QVR_CONVERT_SWALLOWING_FRAME_H

#ifdef __cplusplus
extern "C" {
#endif

typedef void (*SwallowingFrameBody)(void* context);

/* 1 when body(context) ran to its end, 0 when an NSException (or subclass) was raised
   and swallowed; any other thrown object is thrown on. */
int RunSwallowingNSExceptions(SwallowingFrameBody body, void* context);

#ifdef __cplusplus
}

#include <memory>
#include <type_traits>

template <typename Body>
void SwallowingFrameInvoke(void* context) {
  (*static_cast<Body*>(context))();
}

template <typename Body>
bool RunSwallowing(Body&& body) {
  using Callable = std::remove_reference_t<Body>;
  return RunSwallowingNSExceptions(&SwallowingFrameInvoke<Callable>,
                                   const_cast<void*>(static_cast<const void*>(std::addressof(body)))) == 1;
}
#endif

#endif
