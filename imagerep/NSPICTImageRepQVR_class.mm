/* The class record of NSPICTImageRepQVR, a subclass of NSImageRepQVR that keeps its
   platform object in the base class's Handle, and its members: the picture frame, the
   PICT bytes, the constructor and the factory from a MemoryBlock. */
#include "imagerep/NSImageRepQVR_class.h"

#include "convert/wrappers.h"
#include "imagerep/document_rep_members.h"
#include "plugin/member_rows.h"

namespace {

REALobject boundingBox(REALobject self, intptr_t) {
  return RectangleResult(self, [&] { return [RepresentationOf<NSPICTImageRep>(self) boundingBox]; });
}

REALmemoryBlock PICTRepresentation(REALobject self) {
  return DataResult([&] { return [RepresentationOf<NSPICTImageRep>(self) PICTRepresentation]; });
}

void ConstructorData(REALobject self, REALmemoryBlock data) {
  ConstructWithData<NSPICTImageRep>(self, data);
}

REALobject imageRepWithData(REALmemoryBlock data) {
  return FactoryWithData<NSPICTImageRep>(data, &NewNSPICTImageRepQVR);
}

REALproperty Properties[] = {
    {nullptr, "boundingBox", "NSRectQVR", REALflagHost2 | REALflagHost4, reinterpret_cast<void*>(&boundingBox),
     nullptr, 0, nullptr, 0, nullptr, 0, nullptr},
};

REALmethodDefinition Methods[] = {
    MethodRow(&PICTRepresentation, "PICTRepresentation as Memoryblock"),
    MethodRow(&ConstructorData, "Constructor(data as Memoryblock)"),
};

REALmethodDefinition SharedMethods[] = {
    MethodRow(&imageRepWithData, "imageRepWithData(data as Memoryblock) as NSPICTImageRepQVR"),
};

}  // namespace

REALclassDefinition NSPICTImageRepQVRClass = {
    kREALCurrentControlVersion,
    "NSPICTImageRepQVR",
    "NSImageRepQVR",
    0,           // no instance data of its own
    0,
    nullptr,     // the base class's constructor and destructor serve it
    nullptr,
    Properties, sizeof(Properties) / sizeof(Properties[0]),
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
