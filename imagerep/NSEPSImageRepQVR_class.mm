/* The class record of NSEPSImageRepQVR, a subclass of NSImageRepQVR that keeps its
   platform object in the base class's Handle, and its members: the PDF form, the
   bounding box, the EPS bytes, the constructor and the factory from a MemoryBlock. */
#include "imagerep/NSImageRepQVR_class.h"

#include "convert/wrappers.h"
#include "imagerep/MyNSEPSImageRepQVR.h"
#include "imagerep/document_rep_members.h"
#include "plugin/member_rows.h"

namespace {

REALobject pdfImage(REALobject self) {
  REALobject result = nullptr;
  CocoaGuardSimple([&] { result = NewNSPDFImageRepQVR([RepresentationOf<NSEPSImageRep>(self) pdfImage]); });
  return result;
}

REALobject boundingBox(REALobject self) {
  return RectangleResult(self, [&] { return [RepresentationOf<NSEPSImageRep>(self) boundingBox]; });
}

REALmemoryBlock EPSRepresentation(REALobject self) {
  return DataResult([&] { return [RepresentationOf<NSEPSImageRep>(self) EPSRepresentation]; });
}

void prepareGState(REALobject self) {
  CocoaGuardSimple([&] { [RepresentationOf<NSEPSImageRep>(self) prepareGState]; });
}

void ConstructorData(REALobject self, REALmemoryBlock data) {
  ConstructWithData<NSEPSImageRep>(self, data);
}

REALobject imageRepWithData(REALmemoryBlock data) {
  return FactoryWithData<NSEPSImageRep>(data, &NewNSEPSImageRepQVR);
}

REALmethodDefinition Methods[] = {
    MethodRow(&pdfImage, "pdfImage as NSPDFImageRepQVR"),
    MethodRow(&boundingBox, "boundingBox as NSRectQVR"),
    MethodRow(&EPSRepresentation, "EPSRepresentation as Memoryblock"),
    MethodRow(&prepareGState, "prepareGState"),
    MethodRow(&ConstructorData, "Constructor(data as Memoryblock)"),
};

REALmethodDefinition SharedMethods[] = {
    MethodRow(&imageRepWithData, "imageRepWithData(data as Memoryblock) as NSEPSImageRepQVR"),
};

}  // namespace

REALclassDefinition NSEPSImageRepQVRClass = {
    kREALCurrentControlVersion,
    "NSEPSImageRepQVR",
    "NSImageRepQVR",
    0,           // no instance data of its own
    0,
    nullptr,     // the base class's constructor and destructor serve it
    nullptr,
    nullptr, 0,  // properties
    Methods, sizeof(Methods) / sizeof(Methods[0]),
    nullptr, 0,  // events
    nullptr, 0,  // event instances
    nullptr,     // interfaces
    nullptr, 0,  // attributes
    nullptr, 0,  // constants
    0x4,         // class flags
    nullptr, 0,  // shared properties
    SharedMethods, sizeof(SharedMethods) / sizeof(SharedMethods[0]),
    nullptr, 0,  // delegates
    nullptr, 0,  // enums
};
