// PictureProbeQVR: the picture machinery below the NSImageQVR members, called the way
// those members call it: opening a PictureEditor, drawing one picture into another, the
// row copy, Core Graphics images of a picture and mask, and the raw samples of an
// image's first representation.
#import <AppKit/AppKit.h>

#include "tests/plugin/testplugin/probe.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "image/NSImageQVR_class.h"
#include "picture/picture_editor.h"
#include "picture/pictures.h"
#include "plugin/call_guard.h"
#include "plugin/host_bridge.h"

namespace {

REALstring Text(const std::string& text) { return originalREALBuildString(text.data(), intptr_t(text.size())); }

// "format width x height rowBytes" of an editor opened on p, then "past-end-is-base" when
// a row past the last resolves to row 0's address, and the red, green and blue bytes of
// its first pixel; "" when it does not open.
REALstring OpenEditor(REALpicture p, bool read, bool write) {
  std::string text;
  PictureEditor editor;
  if (editor.GetPictureEditor(p, read ? 1 : 0, write ? 1 : 0)) {
    char line[160];
    PictureChannels c = PictureChannelsOf(editor.format);
    std::snprintf(line, sizeof line, "%d %dx%d %d %s %d,%d,%d", int(editor.format), int(editor.width),
                  int(editor.height), int(editor.rowBytes),
                  editor.RowStart(editor.height) == editor.baseAddress ? "past-end-is-base" : "past-end-elsewhere",
                  editor.current[c.red], editor.current[c.green], editor.current[c.blue]);
    text = line;
  }
  return Text(text);
}

// Which storage the process has settled on.
REALstring StorageFlags() { return Text(std::string(IsDesktop ? "desktop" : "") + (IsConsole ? "console" : "")); }

bool OwnCopyOf(REALpicture dest, REALpicture src, intptr_t w, intptr_t h, intptr_t sw, intptr_t sh) {
  return OwnCopy(dest, src, 0, 0, int(w), int(h), 0, 0, int(sw), int(sh));
}

bool DrawPicture(REALpicture dest, REALpicture src, intptr_t w, intptr_t h) {
  return GraphicsDrawPicture(dest, src, 0, 0, int(w), int(h), 0, 0, int(w), int(h));
}

// The image CreateCGImageInternal makes, drawn (copy) into premultiplied RGBA of its own
// size; nil when it makes none.
REALmemoryBlock CGImagePixels(REALpicture p, REALpicture mask) {
  CGImageRef image = CreateCGImageInternal(p, mask);
  if (image == nullptr) return nullptr;
  size_t w = CGImageGetWidth(image), h = CGImageGetHeight(image);
  REALmemoryBlock block = REALNewMemoryBlockOriginal(intptr_t(w * h * 4));
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGContextRef context = CGBitmapContextCreate(REALMemoryBlockGetPtr(block), w, h, 8, w * 4, space,
                                               kCGImageAlphaPremultipliedLast | kCGBitmapByteOrder32Big);
  CGContextSetBlendMode(context, kCGBlendModeCopy);
  CGContextDrawImage(context, CGRectMake(0, 0, CGFloat(w), CGFloat(h)), image);
  CGContextRelease(context);
  CGColorSpaceRelease(space);
  CGImageRelease(image);
  return block;
}

// The first representation's samples as RGBA rows (alpha 255 without alpha), after one
// byte holding its samples per pixel; nil for an instance without a bitmap.
REALmemoryBlock RepresentationSamples(REALobject image) {
  REALmemoryBlock block = nullptr;
  CocoaGuardPooled([&] {
    NSImage* platform = image ? NSImageQVRDataOf(image)->Handle : nil;
    NSArray* reps = [platform representations];
    NSBitmapImageRep* rep = [reps count] ? [reps objectAtIndex:0] : nil;
    if (rep == nil || ![rep isKindOfClass:[NSBitmapImageRep class]]) return;
    NSInteger w = [rep pixelsWide], h = [rep pixelsHigh], spp = [rep samplesPerPixel];
    NSInteger step = [rep bitsPerPixel] / 8, rowBytes = [rep bytesPerRow];
    block = REALNewMemoryBlockOriginal(intptr_t(1 + w * h * 4));
    auto* out = static_cast<unsigned char*>(REALMemoryBlockGetPtr(block));
    *out++ = uint8_t(spp);
    const unsigned char* data = [rep bitmapData];
    for (NSInteger y = 0; y < h; ++y)
      for (NSInteger x = 0; x < w; ++x, out += 4) {
        const unsigned char* in = data + y * rowBytes + x * step;
        std::memcpy(out, in, 3);
        out[3] = spp == 4 ? in[3] : 255;
      }
  });
  return block;
}

REALmethodDefinition PictureProbeSharedMethods[] = {
    SHARED(OpenEditor, "OpenEditor(p as Picture, read as Boolean, write as Boolean) as String"),
    SHARED(StorageFlags, "StorageFlags() as String"),
    SHARED(OwnCopyOf, "OwnCopy(dest as Picture, src as Picture, w as Integer, h as Integer, sw as Integer, sh as Integer) as Boolean"),
    SHARED(DrawPicture, "DrawPicture(dest as Picture, src as Picture, w as Integer, h as Integer) as Boolean"),
    SHARED(CGImagePixels, "CGImagePixels(p as Picture, mask as Picture) as MemoryBlock"),
    SHARED(RepresentationSamples, "RepresentationSamples(image as NSImageQVR) as MemoryBlock"),
};

}  // namespace

REALclassDefinition PictureProbeQVRClass = SHARED_METHODS_CLASS("PictureProbeQVR", PictureProbeSharedMethods, 0x4);
