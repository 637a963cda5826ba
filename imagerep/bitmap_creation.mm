/* Making NSBitmapImageRepQVR representations: the constructors from a pixel layout and from
   encoded data, which store what the platform makes (nothing when it refuses, and no
   exception); the three shared factories; and the two methods that answer about or derive
   from a representation (canBeCompressedUsing, retagging with another colour space). */
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include "convert/data.h"
#include "convert/strings.h"
#include "convert/wrappers.h"
#include "imagerep/NSBitmapImageRepQVR_members.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "plugin/call_guard.h"
#include "plugin/errors.h"
#include "plugin/host_bridge.h"
#include "plugin/instance_data.h"

namespace {

/* A constructor's result becomes the instance's object (the creation reference is the
   wrapper's); one it may already hold is given back first. */
void Store(REALobject self, NSBitmapImageRep* representation) {
  NSImageRepQVRData* data = NSImageRepQVRDataOf(self);
  NSImageRep* previous = data->Handle;
  data->Handle = representation;
  [previous release];
}

/* The platform allocates the pixels; the arguments go through unchecked, as the platform
   checks them itself (and refuses what does not fit together). */
void ConstructorLayout(REALobject self, intptr_t pixelsWide, intptr_t pixelsHigh, intptr_t bitsPerSample,
                       intptr_t samplesPerPixel, bool hasAlpha, REALstring colorSpaceName, intptr_t bytesPerRow,
                       intptr_t bitsPerPixel) {
  CocoaGuardSimple([&] {
    NSString* name = [(NSString*)RBString2CFString(colorSpaceName) autorelease];
    Store(self, [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:NULL
                                                        pixelsWide:pixelsWide
                                                        pixelsHigh:pixelsHigh
                                                     bitsPerSample:bitsPerSample
                                                   samplesPerPixel:samplesPerPixel
                                                          hasAlpha:hasAlpha ? YES : NO
                                                          isPlanar:NO
                                                    colorSpaceName:name
                                                       bytesPerRow:bytesPerRow
                                                      bitsPerPixel:bitsPerPixel]);
  });
}

void ConstructorData(REALobject self, REALmemoryBlock data) {
  CocoaGuardSimple([&] { Store(self, [[NSBitmapImageRep alloc] initWithData:NewNSData(data)]); });
}

bool canBeCompressedUsing(REALobject self, intptr_t compression) {
  bool result = false;
  CocoaGuardSimple([&] { result = [NSBitmapImageRepOf(self) canBeCompressedUsing:NSTIFFCompression(compression)] == YES; });
  return result;
}

/* newSpace is a sibling NSColorSpaceQVR, whose colour space is first in its instance data. */
REALobject bitmapImageRepByRetaggingWithColorSpace(REALobject self, REALobject newSpace) {
  REALobject result = nullptr;
  CocoaGuardSimple([&] {
    NSColorSpace* space = newSpace != nullptr ? static_cast<NSColorSpace*>(*WrapperHandleSlot(newSpace)) : nil;
    result = NewNSBitmapImageRepQVR([NSBitmapImageRepOf(self) bitmapImageRepByRetaggingWithColorSpace:space]);
  });
  return result;
}

/* The factories wrap a new autoreleased representation, or give nil. */
template <typename Create>
REALobject Wrapped(Create&& create) {
  REALobject result = nullptr;
  CocoaGuardInitSimple([&] { result = NewNSBitmapImageRepQVR(create()); });
  return result;
}

REALobject imageRepWithData(REALmemoryBlock data) {
  return Wrapped([&] { return [NSBitmapImageRep imageRepWithData:NewNSData(data)]; });
}

/* Only a CGImageQVR of the sibling plugin will do, holding an image first in its data. */
REALobject imageRepWithCGImage(REALobject image) {
  return Wrapped([&]() -> NSBitmapImageRep* {
    REALclassRef cgImageClass = REALGetClassRef("CGImageQVR");
    if (image == nullptr || cgImageClass == nullptr || !REALObjectIsA(image, cgImageClass)) {
      RaiseException("IllegalCastException", "CGImage must be a CGImageQVR!");
      return nil;
    }
    auto cgImage = static_cast<CGImageRef>(*WrapperHandleSlot(image));
    if (cgImage == NULL) {
      RaiseException("NilObjectException", "CGImage is nil");
      return nil;
    }
    return [[[NSBitmapImageRep alloc] initWithCGImage:cgImage] autorelease];
  });
}

/* The integer is a CGImage reference as the platform hands them out, taken as it is. */
REALobject imageRepWithCGImageRef(intptr_t imageHandle) {
  return Wrapped([&]() -> NSBitmapImageRep* {
    auto cgImage = reinterpret_cast<CGImageRef>(imageHandle);
    if (cgImage == NULL) {
      RaiseException("NilObjectException", "CGImage is nil");
      return nil;
    }
    return [[[NSBitmapImageRep alloc] initWithCGImage:cgImage] autorelease];
  });
}

const REALmethodDefinition MethodRows[] = {
    MethodRow(&ConstructorLayout,
              "Constructor(pixelsWide as integer, pixelsHigh as integer, bitsPerSample as integer, "
              "samplesPerPixel as integer, hasAlpha as boolean, colorSpaceName as string, bytesPerRow as integer, "
              "bitsPerPixel as integer)"),
    MethodRow(&ConstructorData, "Constructor(data as Memoryblock)"),
    MethodRow(&canBeCompressedUsing, "canBeCompressedUsing(compression as integer) as Boolean"),
    MethodRow(&bitmapImageRepByRetaggingWithColorSpace,
              "bitmapImageRepByRetaggingWithColorSpace(newSpace as NSColorSpaceQVR) as NSBitmapImageRepQVR"),
};

const REALmethodDefinition SharedRows[] = {
    MethodRow(&imageRepWithData, "imageRepWithData(data as Memoryblock) as NSBitmapImageRepQVR"),
    MethodRow(&imageRepWithCGImage, "imageRepWithCGImage(CGImage as variant) as NSBitmapImageRepQVR"),
    MethodRow(&imageRepWithCGImageRef, "imageRepWithCGImageRef(CGImageHandle as Integer) as NSBitmapImageRepQVR"),
};

}  // namespace

const MemberRows<REALmethodDefinition> NSBitmapImageRepCreationMethods = RowsOf(MethodRows);
const MemberRows<REALmethodDefinition> NSBitmapImageRepCreationSharedMethods = RowsOf(SharedRows);
