/* The rectangle results of the EPS, PDF and PICT representation classes: instances of the
   sibling plugin's NSRectQVR, made by class name through the host. */
#include "imagerep/document_rep_members.h"

#include "plugin/host_bridge.h"
#include "plugin/sibling_values.h"

REALobject NewNSRectQVRInstance(NSRect rect) {
  REALobject instance = REALnewInstance("NSRectQVR");
  if (instance == nullptr) return nullptr;
  *SiblingValueDataOf<NSRectQVRData>(instance) =
      NSRectQVRData{static_cast<float>(rect.origin.x), static_cast<float>(rect.origin.y),
                    static_cast<float>(rect.size.width), static_cast<float>(rect.size.height)};
  return instance;
}
