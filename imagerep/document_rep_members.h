/* What the members of the EPS, PDF and PICT representation classes share: the platform
   object of an instance, rectangle results as NSRectQVR instances, and the constructor
   and factory from a MemoryBlock. All of it runs inside the simple form of the guard. */
#ifndef QVR_IMAGEREP_DOCUMENT_REP_MEMBERS_H
#define QVR_IMAGEREP_DOCUMENT_REP_MEMBERS_H

#import <AppKit/AppKit.h>

#include "convert/data.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "plugin/call_guard.h"

/* The representation in the instance's Handle, as the class's platform type. */
template <typename Representation>
Representation* RepresentationOf(REALobject self) {
  return static_cast<Representation*>(NSImageRepQVRDataOf(self)->Handle);
}

/* A new NSRectQVR holding the rectangle (x, y, width, height as 32-bit floats); nil when
   the host makes none (the sibling plugin is not loaded). */
REALobject NewNSRectQVRInstance(NSRect rect);

/* A rectangle result: the rectangle from the instance's representation, a zero one when
   it holds none. */
template <typename Body>
REALobject RectangleResult(REALobject self, Body&& rectangleOf) {
  REALobject result = nullptr;
  CocoaGuardSimple([&] {
    NSRect rect = NSImageRepQVRDataOf(self)->Handle != nil ? rectangleOf() : NSZeroRect;
    result = NewNSRectQVRInstance(rect);
  });
  return result;
}

/* "Constructor(data as Memoryblock)": the Handle takes the new representation as it comes,
   nil included, without an entry in the shared dictionary. */
template <typename Representation>
void ConstructWithData(REALobject self, REALmemoryBlock data) {
  CocoaGuardSimple([&] {
    NSData* bytes = NewNSData(data);
    NSImageRepQVRDataOf(self)->Handle = [[Representation alloc] initWithData:bytes];
  });
}

/* A getter of the representation's encoded bytes as a new MemoryBlock (nil for none). */
template <typename Body>
REALmemoryBlock DataResult(Body&& dataOf) {
  REALmemoryBlock result = nullptr;
  CocoaGuardSimple([&] { result = NSDataRB(dataOf()); });
  return result;
}

/* "imageRepWithData": the representation wrapped by the class's wrapper function. */
template <typename Representation>
REALobject FactoryWithData(REALmemoryBlock data, REALobject (*wrap)(Representation*)) {
  REALobject result = nullptr;
  CocoaGuardSimple([&] { result = wrap([Representation imageRepWithData:NewNSData(data)]); });
  return result;
}

#endif
