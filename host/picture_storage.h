// Where a Picture's pixels live. A desktop application keeps them in a Core Graphics
// bitmap context (description type 8); a console or web application in the host row
// buffer (description type 10): a record of pointer-sized words whose word 1807 is a table
// of row addresses, pixels as bytes B, G, R and an ignored byte. Both storages carry a
// bitmap context over the same memory, so Graphics draws into either the same way.
#pragma once

#include "runtime_private.h"

#include <CoreGraphics/CoreGraphics.h>

#include <string>
#include <vector>

namespace host {

// Where red, green, blue and alpha (-1: none) sit in a pixel of `bytes` bytes; grey
// pixels keep their one level at `red`.
struct PixelLayout {
  int bytes = 4;
  int red = 1, green = 2, blue = 3, alpha = 0;
  bool grey = false;
};

// The row buffer record a type 10 description hands over: word 0 is 0, words 1 and 2
// the width and height, word 1806 the pixel memory, word 1807 the row table.
constexpr size_t kRowBufferWords = 1808;
constexpr size_t kRowBufferPixelsWord = 1806;
constexpr size_t kRowBufferRowTableWord = 1807;

struct PictureData {
  CGContextRef context = nullptr;
  int64_t width = 0, height = 0;
  bool hasAlpha = false;
  uint32_t drawingColor = 0;  // host Color: alpha in the top byte, 0 opaque
  int64_t penWidth = 1, penHeight = 1;
  int64_t horizontalResolution = 72, verticalResolution = 72;  // pixels per inch
  std::string textFont = "System";  // the Graphics' font: family, size (0 the default), styles
  double textSize = 0;
  bool bold = false, italic = false, underline = false;
  ObjectRef mask;
  PixelLayout layout;
  // Console storage: the row table of the context's memory and the record that names both.
  std::vector<unsigned char*> rowTable;
  std::vector<uintptr_t> rowBuffer;
  // Test knobs and counters (Runtime::refusePictureDescription, Runtime::pictureCounts).
  bool refusesDescription = false;
  size_t descriptionLocks = 0, descriptionUnlocks = 0, cacheClears = 0;

  ~PictureData() {
    if (context) CGContextRelease(context);
  }
  bool isRowBuffer() const { return !rowBuffer.empty(); }
};

// Gives a picture pixels of the storage the application kind calls for, of the
// background colour (white unless given) when it has no alpha channel and transparent
// when it has one; false when memory fails. (Console pictures have no alpha channel.)
bool allocatePicturePixels(const Options& options, PictureData* picture, int64_t width, int64_t height, bool alpha,
                           uint32_t background = 0x00FFFFFF);

unsigned char* picturePixelAt(PictureData* picture, int64_t x, int64_t y);
// A pixel as a host Color (alpha 0 opaque, 255 clear), its colour no longer premultiplied.
uint32_t pictureColorOf(const PictureData* picture, const unsigned char* pixel);
void pictureStoreColor(const PictureData* picture, unsigned char* pixel, uint32_t color);
// Every pixel of the picture set to one host Color.
void pictureFill(PictureData* picture, uint32_t color);
// The context's fill colour (and stroke colour, when asked) set to the picture's drawing colour.
void useDrawingColor(const PictureData* picture, bool stroke = false);
// Whether count Double arguments from first on are all finite (drawing skips the others).
bool finiteArguments(const std::vector<Value>& args, size_t first, size_t count);

// The picture data of a host Picture value; null for anything else.
PictureData* pictureOfValue(Runtime& runtime, const Value& picture);
// A new image of the picture's pixels with its mask applied (the caller releases it).
CGImageRef pictureImage(Runtime::Impl& impl, PictureData* picture);
// Picture.Open, FromData, Save and ToData, and FolderItem.OpenAsPicture.
void addPictureFiles(Runtime::Impl& impl);
// Picture.ApplyMask, CopyMask and CopyColorChannels.
void addPictureMasks(Runtime::Impl& impl);

// The picture a Graphics draws into; null after raising NilObjectException.
PictureData* graphicsPicture(Runtime& runtime, const Value& self, ClassInfo* graphicsClass, const char* member);
// The Graphics members that draw lines and shapes, and the pen they draw with.
void addGraphicsShapes(ClassInfo* graphicsClass);
// The Graphics members that draw and measure text, and the font they use.
void addGraphicsText(ClassInfo* graphicsClass);

}  // namespace host
