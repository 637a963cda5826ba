/* The instance data of the sibling plugin's value classes that this plugin reads and
   writes directly. The layouts are the family's: 32-bit fields, right where the host
   places the instance data of a root class. */
#ifndef QVR_PLUGIN_SIBLING_VALUES_H
#define QVR_PLUGIN_SIBLING_VALUES_H

#include <stdint.h>

#include "plugin/host_sdk.h"
#include "plugin/instance_data.h"

struct NSSizeQVRData {
  float width;
  float height;
};

struct NSPointQVRData {
  float x;
  float y;
};

struct NSRangeQVRData {
  uint32_t location;
  uint32_t length;
};

struct NSRectQVRData {
  float x;
  float y;
  float width;
  float height;
};

/* The fields of an instance of one of these root classes. */
template <typename Data>
inline Data* SiblingValueDataOf(REALobject object) {
  return reinterpret_cast<Data*>(reinterpret_cast<char*>(object) + kHostRootInstanceDataOffset);
}

inline NSSizeQVRData* NSSizeQVRDataOf(REALobject object) { return SiblingValueDataOf<NSSizeQVRData>(object); }

#endif
