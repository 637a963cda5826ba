/* Host exceptions: raised by class name and message, for an index out of range, or
   converted from a platform exception. Raising only marks the exception pending in the
   host; the caller goes on, releases what it holds and returns its neutral value. */
#ifndef QVR_PLUGIN_ERRORS_H
#define QVR_PLUGIN_ERRORS_H

#include <stdint.h>

#ifdef __OBJC__
@class NSException;
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* message may be null or empty (the host's empty string). A class the host cannot make
   falls back to "RuntimeException"; a host that can make neither raises nothing. */
void RaiseException(const char* className, const char* message);

/* "Parameter <parameterName> to method <methodName> is too small|big. Range is
   <lowerBound> to <count - 1>, but value is <value>." as an OutOfBoundsException;
   a null methodName reads "?". */
void RaiseOutOfBoundsException(int64_t value, int64_t lowerBound, int64_t count, const char* parameterName,
                               const char* methodName);

#ifdef __OBJC__
/* Logs the platform exception in one line and raises its host counterpart. */
void RaiseNSExceptionQVR(NSException* exception);
#endif

#ifdef __cplusplus
}
#endif

#endif
