// Image probes: NSImageQVR instances made from pixels a test gives, the pixels of an
// image read back, and Core Graphics bitmap contexts that a test hands to the drawing
// members as integers and reads back. Pixels are 8-bit RGBA, premultiplied, top row
// first, in both directions; an image can also be made from RGB without alpha, as a
// photo decoded from a file would be.
#import <AppKit/AppKit.h>

#include "tests/plugin/testplugin/probe.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "convert/wrappers.h"
#include "image/NSImageQVR_class.h"
#include "plugin/call_guard.h"
#include "plugin/errors.h"
#include "plugin/host_bridge.h"

namespace {

REALmemoryBlock BlockWith(const void* bytes, size_t length) {
  REALmemoryBlock block = REALNewMemoryBlockOriginal(static_cast<intptr_t>(length));
  if (block != nullptr && length > 0) std::memcpy(REALMemoryBlockGetPtr(block), bytes, length);
  return block;
}

NSBitmapImageRep* NewRGBRep(intptr_t width, intptr_t height, bool alpha) {
  const intptr_t samples = alpha ? 4 : 3;
  return [[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr pixelsWide:width pixelsHigh:height bitsPerSample:8
                                            samplesPerPixel:samples hasAlpha:alpha isPlanar:NO
                                             colorSpaceName:NSDeviceRGBColorSpace bytesPerRow:width * samples
                                               bitsPerPixel:samples * 8];
}

NSBitmapImageRep* NewRGBARep(intptr_t width, intptr_t height) { return NewRGBRep(width, height, true); }

}  // namespace

// width * height * 4 bytes give RGBA, width * height * 3 bytes RGB.
REALobject ImageFromPixels(intptr_t width, intptr_t height, REALmemoryBlock rgba) {
  const intptr_t size = rgba ? REALMemoryBlockGetSize(rgba) : 0;
  if (width < 1 || height < 1 || (size != width * height * 4 && size != width * height * 3)) {
    RaiseException("OutOfBoundsException", "need width * height * 4 or 3 bytes");
    return nullptr;
  }
  REALobject result = nullptr;
  CocoaGuardFull([&] {
    NSBitmapImageRep* rep = [NewRGBRep(width, height, size == width * height * 4) autorelease];
    std::memcpy([rep bitmapData], REALMemoryBlockGetPtr(rgba), size_t(size));
    NSImage* image = [[[NSImage alloc] initWithSize:NSMakeSize(width, height)] autorelease];
    [image addRepresentation:rep];
    result = NewNSImageQVR(image);
  });
  return result;
}

// The image drawn (copy operation, full opacity) into a bitmap of its size in points,
// rounded up.
REALmemoryBlock ImagePixels(REALobject image) {
  return GuardedResult([&]() -> REALmemoryBlock {
    NSImage* platform = image ? NSImageQVRDataOf(image)->Handle : nil;
    if (platform == nil) return nullptr;
    NSSize size = [platform size];
    intptr_t width = intptr_t(std::ceil(size.width)), height = intptr_t(std::ceil(size.height));
    if (width < 1 || height < 1) return nullptr;
    NSBitmapImageRep* rep = [NewRGBARep(width, height) autorelease];
    std::memset([rep bitmapData], 0, size_t(width * height * 4));
    [NSGraphicsContext saveGraphicsState];
    [NSGraphicsContext setCurrentContext:[NSGraphicsContext graphicsContextWithBitmapImageRep:rep]];
    [platform drawInRect:NSMakeRect(0, 0, width, height) fromRect:NSZeroRect operation:NSCompositeCopy fraction:1];
    [NSGraphicsContext restoreGraphicsState];
    return BlockWith([rep bitmapData], size_t(width * height * 4));
  });
}

// "width x height flipped" of the held image, in points.
REALstring ImageGeometry(REALobject image) {
  char text[96] = "nil";
  CocoaGuardSimple([&] {
    NSImage* platform = image ? NSImageQVRDataOf(image)->Handle : nil;
    if (platform == nil) return;
    NSSize size = [platform size];
    std::snprintf(text, sizeof text, "%g x %g%s", double(size.width), double(size.height),
                  [platform isFlipped] ? " flipped" : "");
  });
  return originalREALBuildString(text, intptr_t(std::strlen(text)));
}

// A bitmap context of RGBA, premultiplied, cleared to transparent; 0 when it cannot
// be made. The test owns it until ReleaseCGContext.
intptr_t NewCGContext(intptr_t width, intptr_t height) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGContextRef context = CGBitmapContextCreate(nullptr, size_t(width), size_t(height), 8, size_t(width) * 4, space,
                                               kCGImageAlphaPremultipliedLast | kCGBitmapByteOrder32Big);
  CGColorSpaceRelease(space);
  return reinterpret_cast<intptr_t>(context);
}

REALmemoryBlock CGContextPixels(intptr_t context) {
  CGContextRef port = reinterpret_cast<CGContextRef>(context);
  if (port == nullptr) return nullptr;
  return BlockWith(CGBitmapContextGetData(port), CGBitmapContextGetBytesPerRow(port) * CGBitmapContextGetHeight(port));
}

void ReleaseCGContext(intptr_t context) {
  if (context != 0) CGContextRelease(reinterpret_cast<CGContextRef>(context));
}
