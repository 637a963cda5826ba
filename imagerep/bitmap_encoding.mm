/* NSBitmapImageRepQVR members that encode the representation as TIFF, PNG, GIF, BMP or JPEG
   data with a host Dictionary of encoder properties (keyed by the property-key strings),
   and read and set the representation's own properties by key. An instance without a
   representation encodes to nil, without an exception. */
#import <AppKit/AppKit.h>

#include "convert/data.h"
#include "convert/dictionaries.h"
#include "convert/strings.h"
#include "convert/variants.h"
#include "imagerep/NSBitmapImageRepQVR_members.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "plugin/call_guard.h"

namespace {

REALmemoryBlock TIFFRepresentation(REALobject self) {
  REALmemoryBlock result = nullptr;
  CocoaGuardSimple([&] { result = NSDataRB([NSBitmapImageRepOf(self) TIFFRepresentation]); });
  return result;
}

template <NSBitmapImageFileType type>
REALmemoryBlock Representation(REALobject self, REALobject properties) {
  REALmemoryBlock result = nullptr;
  CocoaGuardPooled([&] {
    NSBitmapImageRep* rep = NSBitmapImageRepOf(self);
    if (rep == nil) return;
    result = NSDataRB([rep representationUsingType:type properties:NewNSDictionary(properties)]);
  });
  return result;
}

/* The key as a platform string; an empty key is nil, which the platform ignores. */
NSString* KeyOf(REALstring key) {
  return [(NSString*)RBString2CFString(key) autorelease];
}

REALobject valueForProperty(REALobject self, REALstring key) {
  REALobject result = nullptr;
  CocoaGuardSimple([&] { result = NewVariantFromNSObject([NSBitmapImageRepOf(self) valueForProperty:KeyOf(key)]); });
  return result;
}

void setValueForProperty(REALobject self, REALstring key, REALobject value) {
  CocoaGuardSimple([&] { [NSBitmapImageRepOf(self) setProperty:KeyOf(key) withValue:GetVariantAsNSObject(value)]; });
}

const REALmethodDefinition MethodRows[] = {
    MethodRow(&TIFFRepresentation, "TIFFRepresentation as Memoryblock"),
    {reinterpret_cast<void*>(&valueForProperty), reinterpret_cast<void*>(&setValueForProperty),
     "valueForProperty(key as string) as Variant", REALflagHost4, 0, nullptr},
    MethodRow(&Representation<NSPNGFileType>, "PNGRepresentation(properties as dictionary = nil) as Memoryblock"),
    MethodRow(&Representation<NSGIFFileType>, "GIFRepresentation(properties as dictionary = nil) as Memoryblock"),
    MethodRow(&Representation<NSBMPFileType>, "BMPRepresentation(properties as dictionary = nil) as Memoryblock"),
    MethodRow(&Representation<NSJPEGFileType>, "JPEGRepresentation(properties as dictionary = nil) as Memoryblock"),
    MethodRow(&Representation<NSTIFFFileType>, "TIFFRepresentation(properties as dictionary = nil) as Memoryblock"),
};

}  // namespace

const MemberRows<REALmethodDefinition> NSBitmapImageRepEncodingMethods = RowsOf(MethodRows);
