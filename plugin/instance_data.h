/* Where a class's instance data lives inside a host object: the host writes the offset
   into the class record's forSystemUse word when it registers the class. Wrapper classes
   of the whole family keep their platform object as the first word of that data, which
   the host places right after its 24-byte object header for a root class. */
#ifndef QVR_PLUGIN_INSTANCE_DATA_H
#define QVR_PLUGIN_INSTANCE_DATA_H

#include <stddef.h>

#include "plugin/host_sdk.h"

enum { kHostRootInstanceDataOffset = 24 };

template <typename Data>
Data* ClassData(const REALclassDefinition& definition, REALobject object) {
  return reinterpret_cast<Data*>(reinterpret_cast<char*>(object) + definition.forSystemUse);
}

/* The platform object slot of a wrapper of any root class of the family, ours or a
   sibling's, when its class record is not at hand. */
inline void** WrapperHandleSlot(REALobject object) {
  return reinterpret_cast<void**>(reinterpret_cast<char*>(object) + kHostRootInstanceDataOffset);
}

#endif
