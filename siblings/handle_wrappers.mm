/* One wrapper per platform object: the wrapper's retain and its entry in the shared
   instances dictionary are taken and given back together. */
#import <Foundation/Foundation.h>

#include "siblings/handle_wrappers.h"

#include "siblings/exception_additions.h"

namespace siblings {

void ReleaseHandle(HandleData* data, REALobject self) {
  id object = data->Handle;
  if (object == nil) return;
  CFMutableDictionaryRef instances = [NSException GetInstancesDictionaryQVR];
  if (CFDictionaryGetValue(instances, object) == self) CFDictionaryRemoveValue(instances, object);
  data->Handle = nil;
  [object release];
}

void AdoptHandle(HandleData* data, REALobject self, id object) {
  ReleaseHandle(data, self);
  if (object == nil) return;
  data->Handle = [object retain];
  CFDictionarySetValue([NSException GetInstancesDictionaryQVR], object, self);
}

REALobject WrapperFor(id object, const char* className, HandleData* (*dataOf)(REALobject)) {
  if (object == nil) return nullptr;
  const void* existing = nullptr;
  if (CFDictionaryGetValueIfPresent([NSException GetInstancesDictionaryQVR], object, &existing) && existing) {
    auto wrapper = static_cast<REALobject>(const_cast<void*>(existing));
    LockObject(wrapper);
    return wrapper;
  }
  REALobject wrapper = NewInstance(className);
  if (wrapper != nullptr) AdoptHandle(dataOf(wrapper), wrapper, object);
  return wrapper;
}

}  // namespace siblings
