// ImageProbeQVR: shared methods of the image object tests that look at or set up what
// host code cannot reach through the image classes alone: an image's platform name,
// whether a property holds nil, the pasteboard, and CGImageQVR instances of the sibling
// plugin with an image inside.
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

NSImage* ImageOf(REALobject image) { return image != nullptr ? NSImageQVRDataOf(image)->Handle : nil; }

bool NameImage(REALobject image, REALstring name) {
  bool result = false;
  CocoaGuardSimple([&] {
    NSString* text = [(NSString*)RBString2CFString(name) autorelease];
    result = [ImageOf(image) setName:text] == YES;
  });
  return result;
}

bool AccessibilityIsNil(REALobject image) { return [ImageOf(image) accessibilityDescription] == nil; }

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

REALmethodDefinition ImageProbeSharedMethods[] = {
    SHARED(NameImage, "NameImage(image as NSImageQVR, name as String) as Boolean"),
    SHARED(AccessibilityIsNil, "AccessibilityIsNil(image as NSImageQVR) as Boolean"),
    SHARED(PutPNGOnPasteboard, "PutPNGOnPasteboard(bytes as String) as Boolean"),
    SHARED(NewCGImage, "NewCGImage(width as Integer, height as Integer) as CGImageQVR"),
};

}  // namespace

REALclassDefinition ImageProbeQVRClass = SHARED_METHODS_CLASS("ImageProbeQVR", ImageProbeSharedMethods, 0x4);
