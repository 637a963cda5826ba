/* NSBitmapImageRepQVR members that encode the representation. An instance without a
   representation encodes to nil, without an exception. */
#import <AppKit/AppKit.h>

#include "convert/data.h"
#include "imagerep/NSBitmapImageRepQVR_members.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "plugin/call_guard.h"

namespace {

REALmemoryBlock TIFFRepresentation(REALobject self) {
  REALmemoryBlock result = nullptr;
  CocoaGuardSimple([&] { result = NSDataRB([NSBitmapImageRepOf(self) TIFFRepresentation]); });
  return result;
}

const REALmethodDefinition MethodRows[] = {
    MethodRow(&TIFFRepresentation, "TIFFRepresentation as Memoryblock"),
};

}  // namespace

const MemberRows<REALmethodDefinition> NSBitmapImageRepEncodingMethods = RowsOf(MethodRows);
