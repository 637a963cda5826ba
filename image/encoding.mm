/* NSImageQVR members that encode the held image as TIFF, JPEG, PNG, BMP or GIF on the
   calling thread and return the bytes as a new MemoryBlock (nil when there is no image
   or the encoder gives nothing). The threaded twins are in encoding_threaded.mm. */
#import <AppKit/AppKit.h>

#include "convert/data.h"
#include "image/ImageAdditionsQVR.h"
#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "plugin/call_guard.h"

namespace {

/* The simple members send their message even to a nil Handle (which answers nil). */
template <typename Encode>
REALmemoryBlock EncodeSimple(REALobject self, Encode encode) {
  REALmemoryBlock result = nullptr;
  CocoaGuardSimple([&] { result = NSDataRB(encode(NSImageQVRDataOf(self)->Handle)); });
  return result;
}

template <typename Encode>
REALmemoryBlock EncodePooled(REALobject self, Encode encode) {
  REALmemoryBlock result = nullptr;
  CocoaGuardPooled([&] {
    NSImage* image = NSImageQVRDataOf(self)->Handle;
    if (image == nil) return;
    result = NSDataRB(encode(image));
  });
  return result;
}

}  // namespace

static REALmemoryBlock GIFRepresentationQVR(REALobject self) {
  return EncodeSimple(self, [](NSImage* image) { return [image GIFRepresentationQVR]; });
}

static REALmemoryBlock BMPRepresentationQVR(REALobject self) {
  return EncodeSimple(self, [](NSImage* image) { return [image BMPRepresentationQVR]; });
}

static REALmemoryBlock PNGRepresentationQVR(REALobject self) {
  return EncodeSimple(self, [](NSImage* image) { return [image PNGRepresentationQVR]; });
}

static REALmemoryBlock JPEGRepresentationQVR(REALobject self) {
  return EncodeSimple(self, [](NSImage* image) { return [image JPEGRepresentationQVR]; });
}

static REALmemoryBlock TIFFRepresentation(REALobject self) {
  return EncodeSimple(self, [](NSImage* image) { return [image TIFFRepresentation]; });
}

static REALmemoryBlock JPEGRepresentationWithCompressionFactorQVR(REALobject self, double factor) {
  return EncodePooled(self,
                      [&](NSImage* image) { return [image JPEGRepresentationWithCompressionFactorQVR:(float)factor]; });
}

/* comp is one of the platform's TIFF compression codes, passed on as it is. */
static REALmemoryBlock TIFFRepresentationUsingCompression(REALobject self, intptr_t comp, double factor) {
  return EncodePooled(self, [&](NSImage* image) {
    return [image TIFFRepresentationUsingCompression:(NSTIFFCompression)comp factor:(float)factor];
  });
}

static const REALmethodDefinition EncodingRows[] = {
    MethodRow(&GIFRepresentationQVR, "GIFRepresentation as Memoryblock"),
    MethodRow(&BMPRepresentationQVR, "BMPRepresentation as Memoryblock"),
    MethodRow(&PNGRepresentationQVR, "PNGRepresentation as Memoryblock"),
    MethodRow(&JPEGRepresentationQVR, "JPEGRepresentation as Memoryblock"),
    MethodRow(&JPEGRepresentationWithCompressionFactorQVR,
              "JPEGRepresentationWithCompressionFactor(factor as double) as Memoryblock"),
    MethodRow(&TIFFRepresentation, "TIFFRepresentation as Memoryblock"),
    MethodRow(&TIFFRepresentationUsingCompression,
              "TIFFRepresentationUsingCompression(comp as integer, factor as double) as Memoryblock"),
};

const MemberRows<REALmethodDefinition> NSImageEncodingMethods = RowsOf(EncodingRows);
