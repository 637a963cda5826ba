/* The read-only properties of NSBitmapImageRepQVR. Each getter forwards to the
   NSBitmapImageRep in the Handle inside the simple form of the call guard (CGImage in the
   pooled form); an instance without a representation answers 0, false or nil. colorSpace
   comes back as the one NSColorSpaceQVR the instances dictionary keeps for that colour
   space; CGImage as a new CGImageQVR each time. */
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include "convert/wrappers.h"
#include "imagerep/NSBitmapImageRepQVR_members.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "plugin/call_guard.h"
#include "plugin/host_bridge.h"
#include "plugin/instance_data.h"

namespace {

template <typename Result, typename Body>
Result Get(Body&& body) {
  Result result{};
  CocoaGuardSimple([&] { result = body(); });
  return result;
}

#define QVR_INTEGER_PROPERTY(name) \
  intptr_t name(REALobject self, intptr_t) { return Get<intptr_t>([&] { return intptr_t([NSBitmapImageRepOf(self) name]); }); }

QVR_INTEGER_PROPERTY(bitsPerPixel)
QVR_INTEGER_PROPERTY(bytesPerRow)
QVR_INTEGER_PROPERTY(bytesPerPlane)
QVR_INTEGER_PROPERTY(samplesPerPixel)
QVR_INTEGER_PROPERTY(numberOfPlanes)
QVR_INTEGER_PROPERTY(bitmapFormat)

#undef QVR_INTEGER_PROPERTY

bool isPlanar(REALobject self, intptr_t) {
  return Get<bool>([&] { return [NSBitmapImageRepOf(self) isPlanar] == YES; });
}

void* bitmapData(REALobject self, intptr_t) {
  return Get<void*>([&] { return static_cast<void*>([NSBitmapImageRepOf(self) bitmapData]); });
}

REALobject colorSpace(REALobject self, intptr_t) {
  return Get<REALobject>([&]() -> REALobject {
    NSColorSpace* space = [NSBitmapImageRepOf(self) colorSpace];
    return space != nil ? NewFixedClassWrapper(space, "NSColorSpaceQVR") : nullptr;
  });
}

/* The sibling's CGImageQVR keeps its retained image first in its instance data. */
REALobject CGImage(REALobject self, intptr_t) {
  REALobject result = nullptr;
  CocoaGuardPooled([&] {
    NSBitmapImageRep* rep = NSBitmapImageRepOf(self);
    if (rep == nil) return;
    CGImageRef image = [rep CGImage];
    if (image == NULL) return;
    result = REALnewInstance("CGImageQVR");
    if (result != nullptr) *WrapperHandleSlot(result) = const_cast<void*>(static_cast<const void*>(CGImageRetain(image)));
  });
  return result;
}

REALproperty ReadOnly(const char* name, const char* type, void* getter) {
  return {nullptr, name, type, REALflagHost2 | REALflagHost4, getter, nullptr, 0, nullptr, 0, nullptr, 0, nullptr};
}

const REALproperty PropertyRows[] = {
    ReadOnly("bitsPerPixel", "Integer", reinterpret_cast<void*>(&bitsPerPixel)),
    ReadOnly("bytesPerRow", "Integer", reinterpret_cast<void*>(&bytesPerRow)),
    ReadOnly("bytesPerPlane", "Integer", reinterpret_cast<void*>(&bytesPerPlane)),
    ReadOnly("samplesPerPixel", "Integer", reinterpret_cast<void*>(&samplesPerPixel)),
    ReadOnly("isPlanar", "Boolean", reinterpret_cast<void*>(&isPlanar)),
    ReadOnly("numberOfPlanes", "Integer", reinterpret_cast<void*>(&numberOfPlanes)),
    ReadOnly("bitmapFormat", "Integer", reinterpret_cast<void*>(&bitmapFormat)),
    ReadOnly("colorSpace", "NSColorSpaceQVR", reinterpret_cast<void*>(&colorSpace)),
    ReadOnly("bitmapData", "Ptr", reinterpret_cast<void*>(&bitmapData)),
    ReadOnly("CGImage", "Variant", reinterpret_cast<void*>(&CGImage)),
};

}  // namespace

const MemberRows<REALproperty> NSBitmapImageRepPropertyRows = RowsOf(PropertyRows);
