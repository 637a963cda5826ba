/* NSSize <-> NSSizeQVR. The host class belongs to a sibling plugin; its instance data is
   written and read directly, field by field. */
#import <Foundation/Foundation.h>

#include "convert/geometry.h"

#include "plugin/host_bridge.h"
#include "plugin/sibling_values.h"

REALobject NewNSSizeQVR(NSSize size) {
  REALobject result = REALnewInstance("NSSizeQVR");
  if (result == nullptr) return nullptr;
  NSSizeQVRData* fields = NSSizeQVRDataOf(result);
  fields->width = static_cast<float>(size.width);
  fields->height = static_cast<float>(size.height);
  return result;
}

NSSize NSSizeOfNSSizeQVR(REALobject value) {
  if (value == nullptr) return NSMakeSize(0, 0);
  return NSMakeSize(NSSizeQVRDataOf(value)->width, NSSizeQVRDataOf(value)->height);
}
