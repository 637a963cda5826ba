/* NSException's family additions and the host exception class NSExceptionQVR. */
#ifndef QVR_SIBLINGS_EXCEPTION_ADDITIONS_H
#define QVR_SIBLINGS_EXCEPTION_ADDITIONS_H

#import <Foundation/Foundation.h>
#include <CoreFoundation/CoreFoundation.h>

#include "plugin/host_sdk.h"

@interface NSException (SiblingAdditionsQVR)
+ (CFMutableDictionaryRef)GetInstancesDictionaryQVR;
+ (void)PrepareNSExceptionQVR;
+ (void*)NewNSExceptionQVR:(NSException*)exception;
@end

extern REALclassDefinition NSExceptionQVRClass;

#endif
