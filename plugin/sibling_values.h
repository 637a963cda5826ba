/* The instance data of the sibling plugin's value classes that this plugin reads and
   writes directly. The layouts are the family's: 32-bit fields, right where the host
   places the instance data of a root class. */
#ifndef QVR_PLUGIN_SIBLING_VALUES_H
#define QVR_PLUGIN_SIBLING_VALUES_H

#include "plugin/host_sdk.h"
#include "plugin/instance_data.h"

struct NSSizeQVRData {
  float width;
  float height;
};

inline NSSizeQVRData* NSSizeQVRDataOf(REALobject object) {
  return reinterpret_cast<NSSizeQVRData*>(reinterpret_cast<char*>(object) + kHostRootInstanceDataOffset);
}

#endif
