/* Host wrappers of one retained platform object (the Handle, first in the instance
   data), kept one per platform object while it lives through the shared instances
   dictionary, as image plugins of the family expect. */
#ifndef QVR_SIBLINGS_HANDLE_WRAPPERS_H
#define QVR_SIBLINGS_HANDLE_WRAPPERS_H

#import <Foundation/Foundation.h>

#include "plugin/host_sdk.h"
#include "siblings/sibling_glue.h"

namespace siblings {

struct HandleData {
  id Handle;
};

/* Gives back the wrapper's retain and its entry in instances (when the entry is its own). */
void ReleaseHandle(HandleData* data, REALobject self);
/* Stores object retained in the wrapper and enters it in instances. */
void AdoptHandle(HandleData* data, REALobject self, id object);
/* The wrapper instances holds for object (new reference), or a new one of className. */
REALobject WrapperFor(id object, const char* className, HandleData* (*dataOf)(REALobject));

template <REALclassDefinition* Definition>
HandleData* HandleDataOf(REALobject self) {
  return InstanceData<HandleData>(*Definition, self);
}

template <REALclassDefinition* Definition>
void HandleDestructor(REALobject self) {
  ReleaseHandle(HandleDataOf<Definition>(self), self);
}

/* The Handle of an instance of the class, as the platform class it holds. */
template <REALclassDefinition* Definition, typename Platform = id>
Platform HandleOf(REALobject self) {
  return (Platform)HandleDataOf<Definition>(self)->Handle;
}

}  // namespace siblings

#endif
