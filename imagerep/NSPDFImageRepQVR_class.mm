/* The class record of NSPDFImageRepQVR, a subclass of NSImageRepQVR that keeps its
   platform object in the base class's Handle, and its members: the pages, the current
   page's bounds, the PDF bytes, the constructor and the factory from a MemoryBlock. */
#include "imagerep/NSImageRepQVR_class.h"

#include "convert/wrappers.h"
#include "imagerep/document_rep_members.h"
#include "plugin/member_rows.h"

namespace {

intptr_t pageCount(REALobject self, intptr_t) {
  intptr_t result = 0;
  CocoaGuardSimple([&] { result = [RepresentationOf<NSPDFImageRep>(self) pageCount]; });
  return result;
}

intptr_t currentPage(REALobject self, intptr_t) {
  intptr_t result = 0;
  CocoaGuardSimple([&] { result = [RepresentationOf<NSPDFImageRep>(self) currentPage]; });
  return result;
}

void setCurrentPage(REALobject self, intptr_t, intptr_t page) {
  CocoaGuardSimple([&] { [RepresentationOf<NSPDFImageRep>(self) setCurrentPage:page]; });
}

REALobject bounds(REALobject self, intptr_t) {
  return RectangleResult(self, [&] { return [RepresentationOf<NSPDFImageRep>(self) bounds]; });
}

REALmemoryBlock PDFRepresentation(REALobject self) {
  return DataResult([&] { return [RepresentationOf<NSPDFImageRep>(self) PDFRepresentation]; });
}

void ConstructorData(REALobject self, REALmemoryBlock data) {
  ConstructWithData<NSPDFImageRep>(self, data);
}

REALobject imageRepWithData(REALmemoryBlock data) {
  return FactoryWithData<NSPDFImageRep>(data, &NewNSPDFImageRepQVR);
}

REALproperty Properties[] = {
    {nullptr, "pageCount", "Integer", REALflagHost2 | REALflagHost4, reinterpret_cast<void*>(&pageCount), nullptr,
     0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "currentPage", "Integer", REALflagHost2 | REALflagHost4, reinterpret_cast<void*>(&currentPage),
     reinterpret_cast<void*>(&setCurrentPage), 0, nullptr, 0, nullptr, 0, nullptr},
    {nullptr, "bounds", "NSRectQVR", REALflagHost2 | REALflagHost4, reinterpret_cast<void*>(&bounds), nullptr, 0,
     nullptr, 0, nullptr, 0, nullptr},
};

REALmethodDefinition Methods[] = {
    MethodRow(&PDFRepresentation, "PDFRepresentation as Memoryblock"),
    MethodRow(&ConstructorData, "Constructor(data as Memoryblock)"),
};

REALmethodDefinition SharedMethods[] = {
    MethodRow(&imageRepWithData, "imageRepWithData(data as Memoryblock) as NSPDFImageRepQVR"),
};

}  // namespace

REALclassDefinition NSPDFImageRepQVRClass = {
    kREALCurrentControlVersion,
    "NSPDFImageRepQVR",
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
