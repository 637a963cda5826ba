// The two storages of a Picture's pixels and reading and writing one pixel in either.
// Desktop: a bitmap context of its own memory, bytes A R G B (premultiplied) or X R G B,
// or, as a test knob, R G B or grey and alpha. Console and web: the host row buffer, rows
// of B G R X whose start addresses the row table lists; rows lie a few bytes apart, not
// back to back, so code that walks rows by the table and code that assumes contiguous
// rows see different pixels.
#include "picture_storage.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace host {

namespace {

constexpr size_t kRowPadding = 16;  // bytes between the end of one row and the next

CGContextRef newDesktopContext(int bitsPerPixel, int64_t width, int64_t height, bool alpha, PixelLayout& layout) {
  bool grey = bitsPerPixel == 16;
  CGColorSpaceRef space = grey ? CGColorSpaceCreateDeviceGray() : CGColorSpaceCreateDeviceRGB();
  uint32_t info = kCGBitmapByteOrderDefault;
  if (bitsPerPixel == 24) {
    info |= kCGImageAlphaNone;
    layout = {3, 0, 1, 2, -1, false};
  } else if (grey) {
    info |= kCGImageAlphaPremultipliedLast;
    layout = {2, 0, 0, 0, 1, true};
  } else {
    info |= alpha ? kCGImageAlphaPremultipliedFirst : kCGImageAlphaNoneSkipFirst;
    layout = {4, 1, 2, 3, alpha ? 0 : -1, false};
  }
  CGContextRef context = CGBitmapContextCreate(nullptr, size_t(width), size_t(height), 8, 0, space, info);
  CGColorSpaceRelease(space);
  return context;
}

bool allocateRowBuffer(PictureData* picture, int64_t width, int64_t height) {
  size_t stride = size_t(width) * 4 + kRowPadding;
  // The context Graphics draws through owns the memory: 32-bit words X R G B in
  // little-endian order, which is B G R X in memory, rows `stride` bytes apart.
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  picture->context = CGBitmapContextCreate(nullptr, size_t(width), size_t(height), 8, stride, space,
                                           kCGImageAlphaNoneSkipFirst | kCGBitmapByteOrder32Little);
  CGColorSpaceRelease(space);
  auto* base = picture->context ? static_cast<unsigned char*>(CGBitmapContextGetData(picture->context)) : nullptr;
  if (!base) return false;
  picture->rowTable.resize(size_t(height));
  for (int64_t y = 0; y < height; ++y) picture->rowTable[size_t(y)] = base + size_t(y) * stride;
  picture->rowBuffer.assign(kRowBufferWords, 0);
  picture->rowBuffer[1] = uintptr_t(width);
  picture->rowBuffer[2] = uintptr_t(height);
  picture->rowBuffer[kRowBufferPixelsWord] = reinterpret_cast<uintptr_t>(base);
  picture->rowBuffer[kRowBufferRowTableWord] = reinterpret_cast<uintptr_t>(picture->rowTable.data());
  picture->layout = {4, 2, 1, 0, -1, false};
  return true;
}

}  // namespace

bool allocatePicturePixels(const Options& options, PictureData* picture, int64_t width, int64_t height, bool alpha,
                            uint32_t background) {
  if (picture->context) CGContextRelease(picture->context);
  picture->context = nullptr;
  picture->rowBuffer.clear();
  picture->rowTable.clear();
  picture->width = width;
  picture->height = height;
  bool rowBuffer = options.kind != AppKind::Desktop;
  picture->hasAlpha = alpha && !rowBuffer && options.pictureBitsPerPixel == 32;
  bool made = rowBuffer ? allocateRowBuffer(picture, width, height)
                        : (picture->context = newDesktopContext(options.pictureBitsPerPixel, width, height,
                                                                picture->hasAlpha, picture->layout)) != nullptr;
  if (!made) {
    picture->width = picture->height = 0;
    return false;
  }
  // New contexts start zeroed (which is also how pictures with alpha start transparent),
  // so a background whose bytes are all 0, as black is, is there already.
  unsigned char pixel[4] = {};
  pictureStoreColor(picture, pixel, background);
  bool zero = std::all_of(pixel, pixel + picture->layout.bytes, [](unsigned char b) { return b == 0; });
  if (!picture->hasAlpha && !zero) pictureFill(picture, background);
  return true;
}

unsigned char* picturePixelAt(PictureData* picture, int64_t x, int64_t y) {
  if (picture->isRowBuffer()) return picture->rowTable[size_t(y)] + size_t(x) * 4;
  auto* base = static_cast<unsigned char*>(CGBitmapContextGetData(picture->context));
  return base + size_t(y) * CGBitmapContextGetBytesPerRow(picture->context) + size_t(x) * size_t(picture->layout.bytes);
}

uint32_t pictureColorOf(const PictureData* picture, const unsigned char* p) {
  const PixelLayout& l = picture->layout;
  uint32_t a = picture->hasAlpha && l.alpha >= 0 ? p[l.alpha] : 255;
  auto channel = [a](unsigned c) { return a == 0 ? 0u : std::min(255u, (c * 255 + a / 2) / a); };
  return ((255 - a) << 24) | (channel(p[l.red]) << 16) | (channel(p[l.green]) << 8) | channel(p[l.blue]);
}

void pictureStoreColor(const PictureData* picture, unsigned char* p, uint32_t color) {
  const PixelLayout& l = picture->layout;
  uint32_t a = picture->hasAlpha ? 255 - (color >> 24) : 255;
  auto premultiplied = [a](uint32_t c) { return static_cast<unsigned char>((c * a + 127) / 255); };
  uint32_t r = (color >> 16) & 0xFF, g = (color >> 8) & 0xFF, b = color & 0xFF;
  if (l.grey) {
    p[l.red] = premultiplied((r * 30 + g * 59 + b * 11 + 50) / 100);
  } else {
    p[l.red] = premultiplied(r);
    p[l.green] = premultiplied(g);
    p[l.blue] = premultiplied(b);
  }
  if (l.alpha >= 0) p[l.alpha] = static_cast<unsigned char>(a);
}

void pictureFill(PictureData* picture, uint32_t color) {
  if (picture->width < 1 || picture->height < 1) return;
  size_t pixelBytes = size_t(picture->layout.bytes);
  std::vector<unsigned char> row(size_t(picture->width) * pixelBytes, 0);
  pictureStoreColor(picture, row.data(), color);
  for (size_t filled = pixelBytes; filled < row.size(); filled *= 2)
    std::memcpy(row.data() + filled, row.data(), std::min(filled, row.size() - filled));
  for (int64_t y = 0; y < picture->height; ++y) std::memcpy(picturePixelAt(picture, 0, y), row.data(), row.size());
}

void useDrawingColor(const PictureData* picture, bool stroke) {
  const uint32_t color = picture->drawingColor;
  const double r = ((color >> 16) & 0xFF) / 255.0, g = ((color >> 8) & 0xFF) / 255.0, b = (color & 0xFF) / 255.0;
  const double a = (255 - (color >> 24)) / 255.0;
  CGContextSetRGBFillColor(picture->context, r, g, b, a);
  if (stroke) CGContextSetRGBStrokeColor(picture->context, r, g, b, a);
}

bool finiteArguments(const std::vector<Value>& args, size_t first, size_t count) {
  for (size_t i = first; i < first + count; ++i)
    if (!std::isfinite(args.at(i).real)) return false;
  return true;
}

}  // namespace host
