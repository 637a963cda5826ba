// Picture, its Graphics and its RGBSurface. A Picture's pixels live in a Core Graphics
// bitmap context of the platform: 8 bits per component, alpha (or a skipped byte)
// first, default byte order, so each pixel is the bytes A R G B, premultiplied when the
// picture has an alpha channel. New Picture(w, h) has an alpha channel and starts
// transparent; New Picture(w, h, 32) has none, starts white and can have a Mask (a
// picture of its size whose grey levels give transparency: black opaque, white clear).
// A Graphics and an RGBSurface hold a reference to their picture; the drawing state
// (DrawingColor) lives in the picture, so every Graphics of a picture shares it.
//
// Coordinates: Graphics and RGBSurface members take the host's top-left origin with y
// down. The CGContextRef that Graphics.Handle(Graphics.HandleTypeCGContextRef) hands
// out keeps Core Graphics' own coordinates (origin at the bottom-left corner, y up,
// 1 unit per pixel), as a bitmap context has on the platform, so that platform code
// drawing images into it draws them upright; a rectangle at Graphics (x, y, w, h) is
// at Core Graphics (x, Height - y - h, w, h).
#include "native_members.h"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <cmath>

namespace host {

namespace {

struct PictureData {
  CGContextRef context = nullptr;
  int64_t width = 0, height = 0;
  bool hasAlpha = false;
  uint32_t drawingColor = 0;  // host Color: alpha in the top byte, 0 opaque
  ObjectRef mask;

  ~PictureData() {
    if (context) CGContextRelease(context);
  }
};

// What a Graphics or an RGBSurface holds: the picture it draws into.
struct PictureView {
  ObjectRef picture;
};

constexpr int64_t kMaxSide = 32768;
constexpr const char* kHandleTypeCGContextRef = "2";

PictureData* pictureData(Runtime::Impl& impl, ObjectHeader* object) {
  return boxedData<PictureData>(impl, object, impl.pictureClass);
}

PictureData* pictureOf(Runtime& runtime, const Value& self) {
  return self.kind == Value::Kind::Object ? pictureData(runtime.impl(), self.object.get()) : nullptr;
}

// The picture behind a Graphics or RGBSurface; null after raising NilObjectException.
PictureData* viewedPicture(Runtime& runtime, const Value& self, ClassInfo* cls, const char* member) {
  PictureView* view = boxedData<PictureView>(runtime, self, cls);
  PictureData* picture = view ? pictureData(runtime.impl(), view->picture.get()) : nullptr;
  if (picture && picture->context) return picture;
  runtime.impl().raise("NilObjectException", cls->name + "." + member + ": there is no picture to draw into");
  return nullptr;
}

unsigned char* pixelAt(PictureData* picture, int64_t x, int64_t y) {
  auto* base = static_cast<unsigned char*>(CGBitmapContextGetData(picture->context));
  return base + size_t(y) * CGBitmapContextGetBytesPerRow(picture->context) + size_t(x) * 4;
}

// A pixel as a host Color (alpha 0 opaque, 255 clear), its colour no longer premultiplied.
uint32_t colorOf(const PictureData* picture, const unsigned char* p) {
  uint32_t a = picture->hasAlpha ? p[0] : 255;
  auto channel = [a](unsigned c) { return a == 0 ? 0u : std::min(255u, (c * 255 + a / 2) / a); };
  return ((255 - a) << 24) | (channel(p[1]) << 16) | (channel(p[2]) << 8) | channel(p[3]);
}

void storeColor(const PictureData* picture, unsigned char* p, uint32_t color) {
  uint32_t a = picture->hasAlpha ? 255 - (color >> 24) : 255;
  auto premultiplied = [a](uint32_t c) { return static_cast<unsigned char>((c * a + 127) / 255); };
  p[0] = static_cast<unsigned char>(a);
  p[1] = premultiplied((color >> 16) & 0xFF);
  p[2] = premultiplied((color >> 8) & 0xFF);
  p[3] = premultiplied(color & 0xFF);
}

CGContextRef newBitmapContext(int64_t width, int64_t height, bool alpha) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  uint32_t info = (alpha ? kCGImageAlphaPremultipliedFirst : kCGImageAlphaNoneSkipFirst) | kCGBitmapByteOrderDefault;
  CGContextRef context = CGBitmapContextCreate(nullptr, size_t(width), size_t(height), 8, 0, space, info);
  CGColorSpaceRelease(space);
  return context;
}

void fillWhite(PictureData* picture) {
  for (int64_t y = 0; y < picture->height; ++y) std::fill_n(pixelAt(picture, 0, y), size_t(picture->width) * 4, 0xFF);
}

// Gives an instance its pixels; false (with an exception raised) when it cannot have them.
bool setUp(Runtime& runtime, PictureData* picture, int64_t width, int64_t height, bool alpha) {
  if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) {
    runtime.impl().raise("InvalidArgumentException", "a Picture cannot be " + std::to_string(width) + " by " +
                                                         std::to_string(height) + " pixels (each side 1 to " +
                                                         std::to_string(kMaxSide) + ")");
    return false;
  }
  CGContextRef context = newBitmapContext(width, height, alpha);
  if (!context) {
    runtime.impl().raise("OutOfMemoryException", "no memory for a Picture of " + std::to_string(width) + " by " +
                                                     std::to_string(height) + " pixels");
    return false;
  }
  if (picture->context) CGContextRelease(picture->context);
  picture->context = context;
  picture->width = width;
  picture->height = height;
  picture->hasAlpha = alpha;
  if (!alpha) fillWhite(picture);
  return true;
}

// A rectangle in host coordinates as Core Graphics places it in the same picture.
CGRect cgRect(const PictureData* picture, double x, double y, double w, double h) {
  return CGRectMake(x, double(picture->height) - y - h, w, h);
}

// An image of a picture's pixels now, with its mask applied when it has one.
CGImageRef imageOf(Runtime::Impl& impl, PictureData* picture) {
  PictureData* mask = picture->mask ? pictureData(impl, picture->mask.get()) : nullptr;
  if (!mask || !mask->context) return CGBitmapContextCreateImage(picture->context);
  CGContextRef masked = newBitmapContext(picture->width, picture->height, true);
  if (!masked) return nullptr;
  PictureData view;
  view.context = masked;
  view.width = picture->width;
  view.height = picture->height;
  view.hasAlpha = true;
  for (int64_t y = 0; y < picture->height; ++y)
    for (int64_t x = 0; x < picture->width; ++x) {
      uint32_t color = colorOf(picture, pixelAt(picture, x, y)) & 0xFFFFFF;
      uint32_t grey = 0;
      if (x < mask->width && y < mask->height) {
        uint32_t m = colorOf(mask, pixelAt(mask, x, y));
        grey = (((m >> 16) & 0xFF) * 30 + ((m >> 8) & 0xFF) * 59 + (m & 0xFF) * 11 + 50) / 100;
      }
      storeColor(&view, pixelAt(&view, x, y), (grey << 24) | color);
    }
  CGImageRef image = CGBitmapContextCreateImage(masked);
  view.context = nullptr;
  CGContextRelease(masked);
  return image;
}

Value newView(Runtime& runtime, ClassInfo* cls, const Value& picture) {
  ObjectRef object = ObjectRef::adopt(runtime.impl().instantiate(cls));
  if (PictureView* view = object ? boxedData<PictureView>(runtime.impl(), object.get(), cls) : nullptr)
    view->picture = picture.object;
  return Value::ofObject(std::move(object));
}

void checkedPixel(Runtime& runtime, PictureData* picture, int64_t x, int64_t y, bool& inside) {
  inside = x >= 0 && y >= 0 && x < picture->width && y < picture->height;
  if (!inside)
    runtime.impl().raise("OutOfBoundsException", "RGBSurface.Pixel(" + std::to_string(x) + ", " + std::to_string(y) +
                                                     ") is outside the " + std::to_string(picture->width) + " by " +
                                                     std::to_string(picture->height) + " picture");
}

// Gives a picture without an alpha channel a mask, black (all opaque), unless it has one.
void makeMask(Runtime& runtime, PictureData* picture) {
  if (picture->mask || picture->hasAlpha || !picture->context) return;
  ObjectRef mask = ObjectRef::adopt(runtime.impl().instantiate(runtime.impl().pictureClass));
  PictureData* data = mask ? pictureData(runtime.impl(), mask.get()) : nullptr;
  if (!data || !setUp(runtime, data, picture->width, picture->height, false)) return;
  for (int64_t y = 0; y < data->height; ++y) std::fill_n(pixelAt(data, 0, y), size_t(data->width) * 4, 0);
  picture->mask = std::move(mask);
}

void installPicture(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<PictureData>(impl, "Picture");
  impl.pictureClass = cls;
  addNativeMethod(cls, "Constructor(width as Integer, height as Integer)", [](Runtime& runtime, const Value& self,
                                                                              std::vector<Value>& args) {
    if (PictureData* picture = pictureOf(runtime, self)) setUp(runtime, picture, args.at(0).integer, args.at(1).integer, true);
    return Value::nil();
  });
  addNativeMethod(cls, "Constructor(width as Integer, height as Integer, depth as Integer)",
                  [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    PictureData* picture = pictureOf(runtime, self);
                    int64_t depth = args.at(2).integer;
                    if (depth != 32 && depth != 24) {
                      runtime.impl().raise("UnsupportedOperationException",
                                           "a Picture has a depth of 32 (or 24), not " + std::to_string(depth));
                      return Value::nil();
                    }
                    if (picture) setUp(runtime, picture, args[0].integer, args.at(1).integer, false);
                    return Value::nil();
                  });
  addNativeProperty(cls, "Width", "Integer", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    PictureData* picture = pictureOf(runtime, self);
    return Value::ofInteger(picture ? picture->width : 0);
  });
  addNativeProperty(cls, "Height", "Integer", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    PictureData* picture = pictureOf(runtime, self);
    return Value::ofInteger(picture ? picture->height : 0);
  });
  addNativeProperty(cls, "Depth", "Integer", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    PictureData* picture = pictureOf(runtime, self);
    return Value::ofInteger(picture && picture->context ? 32 : 0);
  });
  addNativeProperty(cls, "HasAlphaChannel", "Boolean", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    PictureData* picture = pictureOf(runtime, self);
    return Value::ofBoolean(picture && picture->hasAlpha);
  });
  addNativeProperty(cls, "Graphics", "Graphics", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    PictureData* picture = pictureOf(runtime, self);
    if (!picture || !picture->context) return Value::nil();
    return newView(runtime, runtime.impl().graphicsClass, self);
  });
  addNativeProperty(cls, "RGBSurface", "RGBSurface", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    PictureData* picture = pictureOf(runtime, self);
    if (!picture || !picture->context) return Value::nil();
    return newView(runtime, runtime.impl().rgbSurfaceClass, self);
  });
  // The mask of a picture without an alpha channel, made (black: all opaque) on first use.
  addNativeMethod(cls, "Mask(createIfNil as Boolean = True) as Picture", [](Runtime& runtime, const Value& self,
                                                                           std::vector<Value>& args) {
    PictureData* picture = pictureOf(runtime, self);
    if (!picture || !picture->context) return Value::nil();
    if (picture->hasAlpha) {
      runtime.impl().raise("UnsupportedOperationException", "a Picture with an alpha channel has no Mask");
      return Value::nil();
    }
    if (args.at(0).boolean) makeMask(runtime, picture);
    return Value::ofObject(picture->mask);
  });
}

void installGraphics(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<PictureView>(impl, "Graphics");
  impl.graphicsClass = cls;
  addConstant(cls, "HandleTypeCGContextRef", "Integer", kHandleTypeCGContextRef);
  auto size = [cls](bool width) {
    return [cls, width](Runtime& runtime, const Value& self, std::vector<Value>&) {
      PictureData* picture = viewedPicture(runtime, self, cls, width ? "Width" : "Height");
      return Value::ofInteger(!picture ? 0 : width ? picture->width : picture->height);
    };
  };
  addNativeProperty(cls, "Width", "Integer", size(true));
  addNativeProperty(cls, "Height", "Integer", size(false));
  for (const char* name : {"DrawingColor", "ForeColor"})
    addNativeProperty(
        cls, name, "Color",
        [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
          PictureData* picture = viewedPicture(runtime, self, cls, "DrawingColor");
          return Value::ofColor(picture ? picture->drawingColor : 0);
        },
        [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
          if (PictureData* picture = viewedPicture(runtime, self, cls, "DrawingColor"))
            picture->drawingColor = static_cast<uint32_t>(args.at(0).integer);
          return Value::nil();
        });
  addNativeMethod(cls, "FillRect(x as Double, y as Double, width as Double, height as Double)",
                  [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    PictureData* picture = viewedPicture(runtime, self, cls, "FillRect");
                    if (!picture) return Value::nil();
                    uint32_t c = picture->drawingColor;
                    CGContextSetRGBFillColor(picture->context, ((c >> 16) & 0xFF) / 255.0, ((c >> 8) & 0xFF) / 255.0,
                                             (c & 0xFF) / 255.0, (255 - (c >> 24)) / 255.0);
                    CGContextFillRect(picture->context, cgRect(picture, args.at(0).real, args.at(1).real,
                                                               args.at(2).real, args.at(3).real));
                    return Value::nil();
                  });
  // Clearing makes pixels transparent, or white in a picture without an alpha channel.
  addNativeMethod(cls, "ClearRect(x as Double, y as Double, width as Double, height as Double)",
                  [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    PictureData* picture = viewedPicture(runtime, self, cls, "ClearRect");
                    if (!picture) return Value::nil();
                    CGRect rect = cgRect(picture, args.at(0).real, args.at(1).real, args.at(2).real, args.at(3).real);
                    if (picture->hasAlpha) {
                      CGContextClearRect(picture->context, rect);
                    } else {
                      CGContextSetRGBFillColor(picture->context, 1, 1, 1, 1);
                      CGContextFillRect(picture->context, rect);
                    }
                    return Value::nil();
                  });
  addNativeMethod(
      cls,
      "DrawPicture(image as Picture, x as Double, y as Double, destWidth as Double = -1, destHeight as Double = -1, "
      "sourceX as Double = 0, sourceY as Double = 0, sourceWidth as Double = -1, sourceHeight as Double = -1)",
      [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        PictureData* target = viewedPicture(runtime, self, cls, "DrawPicture");
        if (!target) return Value::nil();
        PictureData* source = pictureOf(runtime, args.at(0));
        if (!source || !source->context) {
          runtime.impl().raise("NilObjectException", "Graphics.DrawPicture: the picture is Nil");
          return Value::nil();
        }
        auto given = [&](size_t i, double whenOmitted) { return args.at(i).real < 0 ? whenOmitted : args[i].real; };
        double sw = given(7, double(source->width)), sh = given(8, double(source->height));
        double dw = given(3, sw), dh = given(4, sh);
        double sx = args.at(5).real, sy = args.at(6).real;
        if (sw <= 0 || sh <= 0 || dw <= 0 || dh <= 0) return Value::nil();
        CGImageRef image = imageOf(runtime.impl(), source);
        if (!image) return Value::nil();
        // Scale the whole source so that its source rectangle covers the destination,
        // and clip to the destination.
        double scaleX = dw / sw, scaleY = dh / sh;
        double x = args.at(1).real - sx * scaleX, y = args.at(2).real - sy * scaleY;
        CGContextSaveGState(target->context);
        CGContextClipToRect(target->context, cgRect(target, args[1].real, args[2].real, dw, dh));
        CGContextDrawImage(target->context,
                           cgRect(target, x, y, double(source->width) * scaleX, double(source->height) * scaleY), image);
        CGContextRestoreGState(target->context);
        CGImageRelease(image);
        return Value::nil();
      });
  addNativeMethod(cls, "Handle(type as Integer) as Integer", [cls](Runtime& runtime, const Value& self,
                                                                 std::vector<Value>& args) {
    PictureData* picture = viewedPicture(runtime, self, cls, "Handle");
    if (!picture) return Value::ofInteger(0);
    if (args.at(0).integer != std::stoll(kHandleTypeCGContextRef)) {
      runtime.impl().raise("UnsupportedOperationException",
                           "Graphics.Handle: this host has no handle of type " + std::to_string(args[0].integer));
      return Value::ofInteger(0);
    }
    return Value::ofInteger(static_cast<int64_t>(reinterpret_cast<intptr_t>(picture->context)));
  });
}

void installRGBSurface(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<PictureView>(impl, "RGBSurface");
  impl.rgbSurfaceClass = cls;
  addNativeMethod(
      cls, "Pixel(x as Integer, y as Integer) as Color",
      [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        PictureData* picture = viewedPicture(runtime, self, cls, "Pixel");
        bool inside = false;
        if (picture) checkedPixel(runtime, picture, args.at(0).integer, args.at(1).integer, inside);
        return Value::ofColor(inside ? colorOf(picture, pixelAt(picture, args[0].integer, args[1].integer)) : 0);
      },
      [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        PictureData* picture = viewedPicture(runtime, self, cls, "Pixel");
        bool inside = false;
        if (picture) checkedPixel(runtime, picture, args.at(0).integer, args.at(1).integer, inside);
        if (inside)
          storeColor(picture, pixelAt(picture, args[0].integer, args[1].integer), static_cast<uint32_t>(args.at(2).integer));
        return Value::nil();
      });
}

// ---- the entry points plugins reach pictures through

// A new picture: depth 0 with an alpha channel, 32 (or 24) without; null when it cannot be.
ObjectHeader* newPictureEntry(int32_t width, int32_t height, int32_t depth) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || (depth != 0 && depth != 32 && depth != 24)) return nullptr;
  ObjectRef object = ObjectRef::adopt(impl->instantiate(impl->pictureClass));
  PictureData* picture = object ? pictureData(*impl, object.get()) : nullptr;
  if (!picture || width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) return nullptr;
  if (!setUp(impl->runtime, picture, width, height, depth == 0)) {
    ObjectHeader* pending = impl->pendingException;  // a failed entry point raises nothing
    impl->pendingException = nullptr;
    if (pending) impl->unlockObject(pending);
    return nullptr;
  }
  return object.release();
}

// The picture's mask with a reference for the caller, made when asked; null for pictures
// with an alpha channel and, without create, for pictures without a mask.
ObjectHeader* pictureMaskEntry(ObjectHeader* object, bool create) {
  Runtime::Impl* impl = currentImpl();
  PictureData* picture = impl ? pictureData(*impl, object) : nullptr;
  if (!picture || !picture->context || picture->hasAlpha) return nullptr;
  if (create) makeMask(impl->runtime, picture);
  if (!picture->mask) return nullptr;
  impl->lockObject(picture->mask.get());
  return picture->mask.get();
}

ObjectHeader* pictureGraphicsEntry(ObjectHeader* object) {
  Runtime::Impl* impl = currentImpl();
  PictureData* picture = impl ? pictureData(*impl, object) : nullptr;
  if (!picture || !picture->context) return nullptr;
  return newView(impl->runtime, impl->graphicsClass, Value::ofObject(ObjectRef::retain(object))).object.release();
}

// A retained image of the picture's pixels with its mask applied, or null.
CGImageRef copyPictureImageEntry(ObjectHeader* object) {
  Runtime::Impl* impl = currentImpl();
  PictureData* picture = impl ? pictureData(*impl, object) : nullptr;
  return picture && picture->context ? imageOf(*impl, picture) : nullptr;
}

// The pixels live in the bitmap context itself: there is no other copy to drop.
void pictureClearCacheEntry(ObjectHeader*) {}

// The description record a lock fills (24 bytes): the type (8: a bitmap context) as a
// 32-bit word, then at byte 8 the CGContextRef, at 16 and 20 width and height as 32-bit
// words.
struct PictureDescription {
  int32_t type;
  int32_t unused;
  void* data;
  int32_t width, height;
};
static_assert(sizeof(PictureDescription) == 24, "the description record is 24 bytes");
constexpr int32_t kDescriptionBitmapContext = 8;

bool lockDescription(ObjectHeader* object, PictureDescription* description, uint32_t type) {
  Runtime::Impl* impl = currentImpl();
  PictureData* picture = impl ? pictureData(*impl, object) : nullptr;
  if (!picture || !picture->context || !description || type != kDescriptionBitmapContext) return false;
  *description = {kDescriptionBitmapContext, 0, picture->context, int32_t(picture->width), int32_t(picture->height)};
  return true;
}

bool lockDescriptionAnyType(ObjectHeader* object, PictureDescription* description) {
  return lockDescription(object, description, kDescriptionBitmapContext);
}

void unlockDescription(ObjectHeader*) {}

}  // namespace

void installPictureClasses(Runtime::Impl& impl) {
  installPicture(impl);
  installGraphics(impl);
  installRGBSurface(impl);
}

void addPictureEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"newPicture", guardedEntryPoint<&newPictureEntry>("newPicture")});
  table.push_back({"REALGetPictureMask", guardedEntryPoint<&pictureMaskEntry>("REALGetPictureMask")});
  table.push_back({"pluginPictureGraphicsGetter", guardedEntryPoint<&pictureGraphicsEntry>("pluginPictureGraphicsGetter")});
  table.push_back({"REALCopyPictureCGImage", guardedEntryPoint<&copyPictureImageEntry>("REALCopyPictureCGImage")});
  table.push_back({"REALPictureClearCache", guardedEntryPoint<&pictureClearCacheEntry>("REALPictureClearCache")});
  table.push_back({"REALLockPictureDescription", guardedEntryPoint<&lockDescription>("REALLockPictureDescription")});
  table.push_back({"lockPictureDescription", guardedEntryPoint<&lockDescriptionAnyType>("lockPictureDescription")});
  table.push_back({"unlockPictureDescription", guardedEntryPoint<&unlockDescription>("unlockPictureDescription")});
}

}  // namespace host
