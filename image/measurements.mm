/* NSImageQVR's representations and measurements: the list of its representations as
   wrapper instances, the pixel size of one by index, and the six read-only properties
   that send the ImageAdditionsQVR measurement methods to the image. */
#import <AppKit/AppKit.h>
#include <objc/runtime.h>

#include "convert/dictionaries.h"
#include "convert/held_references.h"
#include "convert/wrappers.h"
#include "image/ImageAdditionsQVR.h"
#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "plugin/call_guard.h"
#include "plugin/errors.h"
#include "plugin/host_bridge.h"

namespace {

/* The host's element type code of object arrays. */
enum { kHostObjectArray = 4 };

NSImage* ImageOf(REALobject self) { return NSImageQVRDataOf(self)->Handle; }

/* A measurement: 0 (nil) for an instance without an image or after a converted exception. */
template <typename Result, typename Body>
Result Measure(REALobject self, Body&& body) {
  Result result{};
  CocoaGuardSimple([&] {
    NSImage* image = ImageOf(self);
    if (image != nil) result = body(image);
  });
  return result;
}

intptr_t RepresentationsCount(REALobject self, intptr_t) {
  return Measure<intptr_t>(self, [](NSImage* image) { return static_cast<intptr_t>([image representationsCount]); });
}
intptr_t MaximumPixelWidth(REALobject self, intptr_t) {
  return Measure<intptr_t>(self, [](NSImage* image) { return static_cast<intptr_t>([image MaximumWidth]); });
}
intptr_t MaximumPixelHeight(REALobject self, intptr_t) {
  return Measure<intptr_t>(self, [](NSImage* image) { return static_cast<intptr_t>([image MaximumHeight]); });
}
intptr_t MinimumPixelWidth(REALobject self, intptr_t) {
  return Measure<intptr_t>(self, [](NSImage* image) { return static_cast<intptr_t>([image MinimumWidth]); });
}
intptr_t MinimumPixelHeight(REALobject self, intptr_t) {
  return Measure<intptr_t>(self, [](NSImage* image) { return static_cast<intptr_t>([image MinimumHeight]); });
}
REALobject EXIFData(REALobject self, intptr_t) {
  return Measure<REALobject>(self, [](NSImage* image) { return NSDictionaryRB([image EXIFData]); });
}

/* The pixel width or height of the representation at index; an index outside the list
   raises OutOfBoundsException and gives 0. */
intptr_t RepresentationSize(REALobject self, intptr_t index, bool wide, const char* methodName) {
  intptr_t result = 0;
  CocoaGuardSimple([&] {
    NSImage* image = ImageOf(self);
    if (image == nil) return;
    NSArray* reps = [image representations];
    const intptr_t count = static_cast<intptr_t>([reps count]);
    if (index < 0 || index >= count) {
      RaiseOutOfBoundsException(index, 0, count, "index", methodName);
      return;
    }
    NSImageRep* rep = [reps objectAtIndex:static_cast<NSUInteger>(index)];
    result = static_cast<intptr_t>(wide ? [rep pixelsWide] : [rep pixelsHigh]);
  });
  return result;
}

intptr_t RepresentationHeight(REALobject self, intptr_t index) {
  return RepresentationSize(self, index, false, "RepresentationHeight");
}
intptr_t RepresentationWidth(REALobject self, intptr_t index) {
  return RepresentationSize(self, index, true, "RepresentationWidth");
}

/* Each representation as the wrapper of its own kind (bitmap, PDF, EPS, PICT, or the
   base class), in the platform's order; an empty array for an instance without an image. */
REALarray representations(REALobject self) {
  REALarray array = REALCreateArray(kHostObjectArray, -1);
  if (array == nullptr) return nullptr;
  CocoaGuardPooled([&] {
    NSImage* image = ImageOf(self);
    NSArray* reps = image != nil ? [image representations] : nil;
    if (reps == nil) return;
    Class base = objc_getClass("NSImageRep");
    NSEnumerator* each = [reps objectEnumerator];
    intptr_t i = 0;
    for (NSImageRep* rep = [each nextObject]; rep != nil; rep = [each nextObject], ++i) {
      HeldObject wrapper(NewNSObjectQVR(rep, base));
      REALInsertArrayValueObject(array, i, wrapper.get());
    }
  });
  return array;
}

const REALproperty PropertyRows[] = {
    ReadOnlyPropertyRow("MinimumPixelWidth", "Integer", &MinimumPixelWidth),
    ReadOnlyPropertyRow("MinimumPixelHeight", "Integer", &MinimumPixelHeight),
    ReadOnlyPropertyRow("MaximumPixelWidth", "Integer", &MaximumPixelWidth),
    ReadOnlyPropertyRow("MaximumPixelHeight", "Integer", &MaximumPixelHeight),
    ReadOnlyPropertyRow("RepresentationsCount", "Integer", &RepresentationsCount),
    ReadOnlyPropertyRow("EXIFData", "Dictionary", &EXIFData),
};

const REALmethodDefinition MethodRows[] = {
    MethodRow(&RepresentationHeight, "RepresentationHeight(index as integer) as integer"),
    MethodRow(&RepresentationWidth, "RepresentationWidth(index as integer) as integer"),
    MethodRow(&representations, "representations as NSImageRepQVR()"),
};

}  // namespace

const MemberRows<REALproperty> NSImageMeasurementProperties = RowsOf(PropertyRows);
const MemberRows<REALmethodDefinition> NSImageRepresentationMethods = RowsOf(MethodRows);
