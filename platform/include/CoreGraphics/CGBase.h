/* What every Core Graphics header builds on: CGFloat (Foundation's, a double on this
   64-bit system), the Core Foundation types, and the linkage of exported symbols. */
#ifndef QVR_CGBASE_H
#define QVR_CGBASE_H

#include <CoreFoundation/CoreFoundation.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* Objective-C code takes CGFloat from Foundation; plain C and C++ get the same type. */
#if defined(__OBJC__)
#import <Foundation/NSObjCRuntime.h>
#elif !defined(CGFLOAT_DEFINED)
#define CGFLOAT_DEFINED 1
#define CGFLOAT_IS_DBL 1
typedef double CGFloat;
#endif

#ifdef __cplusplus
#define CG_EXTERN extern "C"
#else
#define CG_EXTERN extern
#endif

#endif
