/* QVRREALobjectWrapper: host objects inside platform collections. Two wrappers are equal
   when they hold the same host object, so a wrapped object can serve as a dictionary key. */
#import <Foundation/Foundation.h>

#include "siblings/object_wrapper.h"

#include "siblings/sibling_glue.h"

@implementation QVRREALobjectWrapper

+ (id)wrap:(REALobject)object {
  if (object == nullptr) return nil;
  return [[[self alloc] initWithHostObject:object] autorelease];
}

- (id)initWithHostObject:(REALobject)object {
  if ((self = [super init]) != nil) {
    _object = object;
    if (_object != nullptr) siblings::LockObject(_object);
  }
  return self;
}

- (void)dealloc {
  if (_object != nullptr) siblings::UnlockObject(_object);
  [super dealloc];
}

- (REALobject)unwrap {
  if (_object != nullptr) siblings::LockObject(_object);
  return _object;
}

- (REALobject)hostObject { return _object; }

- (BOOL)isEqual:(id)other {
  return [other isKindOfClass:[QVRREALobjectWrapper class]] && [(QVRREALobjectWrapper*)other hostObject] == _object;
}

- (NSUInteger)hash { return (NSUInteger)(uintptr_t)_object; }

- (NSString*)description {
  return [NSString stringWithFormat:@"<QVRREALobjectWrapper host object %p>", (void*)_object];
}

@end
