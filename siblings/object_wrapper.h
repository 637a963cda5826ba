/* QVRREALobjectWrapper: a platform object that holds a host object, so host objects can
   travel inside platform collections. It holds one host reference while it lives. */
#ifndef QVR_SIBLINGS_OBJECT_WRAPPER_H
#define QVR_SIBLINGS_OBJECT_WRAPPER_H

#import <Foundation/Foundation.h>

#include "plugin/host_sdk.h"

@interface QVRREALobjectWrapper : NSObject {
  REALobject _object;
}
/* An autoreleased wrapper of object (nil for nil). */
+ (id)wrap:(REALobject)object;
- (id)initWithHostObject:(REALobject)object;
/* The host object, with a new reference for the caller: image plugins hand what they
   unwrap to the host as a result, or drop one reference on it. */
- (REALobject)unwrap;
/* The host object, without a new reference. */
- (REALobject)hostObject;
@end

#endif
