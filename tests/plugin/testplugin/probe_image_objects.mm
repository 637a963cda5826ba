// ImageProbeQVR: shared methods of the image object tests that look at or set up what host code cannot reach through
// the image classes alone: an image's pixels, its platform name, whether a property holds
// nil, and CGImageQVR instances of the sibling plugin with an image inside.
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include "tests/plugin/testplugin/probe.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include "convert/string_bytes.h"
#include "convert/strings.h"
#include "image/NSImageQVR_class.h"
#include "plugin/call_guard.h"
#include "plugin/host_bridge.h"
#include "plugin/instance_data.h"

namespace {

NSImage* ImageOf(REALobject image) {
  return image != nullptr ? NSImageQVRDataOf(image)->Handle : nil;
}

// The image drawn at its own size into an RGBA bitmap (premultiplied, row 0 on top), as a
// MemoryBlock: width and height as two 32-bit words, then the pixels. Nil without pixels.
REALmemoryBlock DrawnPixels(REALobject image) {
  REALmemoryBlock result = nullptr;
  CocoaGuardFull([&] {
    CGImageRef drawn = [ImageOf(image) CGImageForProposedRect:NULL context:nil hints:nil];
    if (drawn == NULL) return;
    uint32_t size[2] = {static_cast<uint32_t>(CGImageGetWidth(drawn)), static_cast<uint32_t>(CGImageGetHeight(drawn))};
    std::vector<unsigned char> pixels(static_cast<size_t>(size[0]) * size[1] * 4);
    CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    CGContextRef context = CGBitmapContextCreate(pixels.data(), size[0], size[1], 8, size[0] * 4, space,
                                                 kCGImageAlphaPremultipliedLast);
    CGColorSpaceRelease(space);
    if (context == NULL) return;
    CGContextDrawImage(context, CGRectMake(0, 0, size[0], size[1]), drawn);
    CGContextRelease(context);
    result = REALNewMemoryBlockOriginal(static_cast<intptr_t>(sizeof size + pixels.size()));
    auto* bytes = static_cast<unsigned char*>(REALMemoryBlockGetPtr(result));
    if (bytes == nullptr) return;
    std::memcpy(bytes, size, sizeof size);
    std::memcpy(bytes + sizeof size, pixels.data(), pixels.size());
  });
  return result;
}

bool NameImage(REALobject image, REALstring name) {
  bool result = false;
  CocoaGuardSimple([&] {
    NSString* text = [(NSString*)RBString2CFString(name) autorelease];
    result = [ImageOf(image) setName:text] == YES;
  });
  return result;
}

bool AccessibilityIsNil(REALobject image) {
  return [ImageOf(image) accessibilityDescription] == nil;
}

// A CGImageQVR holding a width x height image, red growing to the right and green
// downwards, blue 0x40, opaque; Handle null when width is 0.
REALobject NewCGImage(intptr_t width, intptr_t height) {
  REALobject wrapper = REALnewInstance("CGImageQVR");
  if (wrapper == nullptr || width <= 0 || height <= 0) return wrapper;
  CocoaGuardFull([&] {
    std::vector<unsigned char> pixels(static_cast<size_t>(width * height * 4));
    for (intptr_t y = 0; y < height; ++y)
      for (intptr_t x = 0; x < width; ++x) {
        unsigned char* p = &pixels[static_cast<size_t>((y * width + x) * 4)];
        p[0] = static_cast<unsigned char>(x * 255 / (width > 1 ? width - 1 : 1));
        p[1] = static_cast<unsigned char>(y * 255 / (height > 1 ? height - 1 : 1));
        p[2] = 0x40;
        p[3] = 0xFF;
      }
    CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    CGContextRef context = CGBitmapContextCreate(pixels.data(), static_cast<size_t>(width), static_cast<size_t>(height),
                                                 8, static_cast<size_t>(width * 4), space, kCGImageAlphaPremultipliedLast);
    CGColorSpaceRelease(space);
    if (context == NULL) return;
    *WrapperHandleSlot(wrapper) = CGBitmapContextCreateImage(context);
    CGContextRelease(context);
  });
  return wrapper;
}

// Puts the string's bytes on the general pasteboard as PNG data.
bool PutPNGOnPasteboard(REALstring bytes) {
  bool result = false;
  CocoaGuardFull([&] {
    HostStringBytes stored(bytes);
    NSData* data = [NSData dataWithBytes:stored.bytes() length:stored.length()];
    NSPasteboard* pasteboard = [NSPasteboard generalPasteboard];
    [pasteboard declareTypes:[NSArray arrayWithObject:NSPasteboardTypePNG] owner:nil];
    result = [pasteboard setData:data forType:NSPasteboardTypePNG] == YES;
  });
  return result;
}

#define SHARED(function, declaration) {reinterpret_cast<void*>(&function), nullptr, declaration, 0x4, 0, nullptr}

REALmethodDefinition ImageProbeSharedMethods[] = {
    SHARED(DrawnPixels, "ImagePixels(image as NSImageQVR) as MemoryBlock"),
    SHARED(NameImage, "NameImage(image as NSImageQVR, name as String) as Boolean"),
    SHARED(AccessibilityIsNil, "AccessibilityIsNil(image as NSImageQVR) as Boolean"),
    SHARED(PutPNGOnPasteboard, "PutPNGOnPasteboard(bytes as String) as Boolean"),
    SHARED(NewCGImage, "NewCGImage(width as Integer, height as Integer) as CGImageQVR"),
};

#undef SHARED

}  // namespace

REALclassDefinition ImageProbeQVRClass = {
    kREALCurrentControlVersion, "ImageProbeQVR", nullptr, 0, 0, nullptr, nullptr,
    nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, nullptr, 0, nullptr, 0, 0x4, nullptr, 0,
    ImageProbeSharedMethods, sizeof(ImageProbeSharedMethods) / sizeof(ImageProbeSharedMethods[0]),
    nullptr, 0, nullptr, 0,
};
