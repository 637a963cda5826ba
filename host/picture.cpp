// Picture, its Graphics and its RGBSurface, and the entry points plugins reach pictures
// through. A Picture's pixels live in the storage of the application's kind
// (picture_storage.h): a desktop application's in a Core Graphics bitmap context, bytes
// A R G B, premultiplied when the picture has an alpha channel; a console or web
// application's in the host row buffer, bytes B G R X, never with an alpha channel.
// New Picture(w, h) has an alpha channel (desktop) and starts transparent; New
// Picture(w, h, 32) has none, starts white and can have a Mask (a picture of its size
// whose grey levels give transparency: black opaque, white clear).
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
#include "picture_storage.h"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace host {

namespace {

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

CGContextRef newBitmapContext(int64_t width, int64_t height, bool alpha) {
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  uint32_t info = (alpha ? kCGImageAlphaPremultipliedFirst : kCGImageAlphaNoneSkipFirst) | kCGBitmapByteOrderDefault;
  CGContextRef context = CGBitmapContextCreate(nullptr, size_t(width), size_t(height), 8, 0, space, info);
  CGColorSpaceRelease(space);
  return context;
}

// Gives an instance its pixels; false (with an exception raised) when it cannot have them.
bool setUp(Runtime& runtime, PictureData* picture, int64_t width, int64_t height, bool alpha,
           uint32_t background = 0x00FFFFFF) {
  if (width < 1 || height < 1 || width > kMaxSide || height > kMaxSide) {
    runtime.impl().raise("InvalidArgumentException", "a Picture cannot be " + std::to_string(width) + " by " +
                                                         std::to_string(height) + " pixels (each side 1 to " +
                                                         std::to_string(kMaxSide) + ")");
    return false;
  }
  if (!allocatePicturePixels(runtime.impl().options, picture, width, height, alpha, background)) {
    runtime.impl().raise("OutOfMemoryException", "no memory for a Picture of " + std::to_string(width) + " by " +
                                                     std::to_string(height) + " pixels");
    return false;
  }
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
      uint32_t color = pictureColorOf(picture, picturePixelAt(picture, x, y)) & 0xFFFFFF;
      uint32_t grey = 0;
      if (x < mask->width && y < mask->height) {
        uint32_t m = pictureColorOf(mask, picturePixelAt(mask, x, y));
        grey = (((m >> 16) & 0xFF) * 30 + ((m >> 8) & 0xFF) * 59 + (m & 0xFF) * 11 + 50) / 100;
      }
      pictureStoreColor(&view, picturePixelAt(&view, x, y), (grey << 24) | color);
    }
  CGImageRef image = CGBitmapContextCreateImage(masked);
  view.context = nullptr;
  CGContextRelease(masked);
  return image;
}

// An image over the picture's own memory, without a copy, for drawing it once while
// nothing writes to it (not into itself: that needs imageOf's copy).
CGImageRef borrowedImageOf(PictureData* picture) {
  CGContextRef c = picture->context;
  size_t bytes = CGBitmapContextGetBytesPerRow(c) * CGBitmapContextGetHeight(c);
  CGDataProviderRef provider = CGDataProviderCreateWithData(nullptr, CGBitmapContextGetData(c), bytes, nullptr);
  if (!provider) return nullptr;
  CGImageRef image = CGImageCreate(CGBitmapContextGetWidth(c), CGBitmapContextGetHeight(c),
                                   CGBitmapContextGetBitsPerComponent(c), CGBitmapContextGetBitsPerPixel(c),
                                   CGBitmapContextGetBytesPerRow(c), CGBitmapContextGetColorSpace(c),
                                   CGBitmapContextGetBitmapInfo(c), provider, nullptr, true, kCGRenderingIntentDefault);
  CGDataProviderRelease(provider);
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
  if (!data || !setUp(runtime, data, picture->width, picture->height, false, 0)) return;
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
  // Pixels per inch, as image files record them (72 unless set or read from a file).
  for (const bool horizontal : {true, false})
    addNativeProperty(
        cls, horizontal ? "HorizontalResolution" : "VerticalResolution", "Integer",
        [horizontal](Runtime& runtime, const Value& self, std::vector<Value>&) {
          PictureData* picture = pictureOf(runtime, self);
          return Value::ofInteger(!picture ? 0 : horizontal ? picture->horizontalResolution : picture->verticalResolution);
        },
        [horizontal](Runtime& runtime, const Value& self, std::vector<Value>& args) {
          PictureData* picture = pictureOf(runtime, self);
          const int64_t dpi = args.at(0).integer;
          if (picture && dpi > 0) (horizontal ? picture->horizontalResolution : picture->verticalResolution) = dpi;
          return Value::nil();
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

// Graphics.DrawPicture: place holds x, y, destination width and height, source x, y,
// width and height; omitted(v) tells a size left to default (the source's, then the
// source rectangle's).
template <typename Omitted>
Value drawPicture(Runtime& runtime, ClassInfo* cls, const Value& self, const Value& image,
                  const std::array<double, 8>& place, Omitted omitted) {
  PictureData* target = viewedPicture(runtime, self, cls, "DrawPicture");
  if (!target) return Value::nil();
  PictureData* source = pictureOf(runtime, image);
  if (!source || !source->context) {
    runtime.impl().raise("NilObjectException", "Graphics.DrawPicture: the picture is Nil");
    return Value::nil();
  }
  auto given = [&](size_t i, double whenOmitted) { return omitted(place[i]) ? whenOmitted : place[i]; };
  double sw = given(6, double(source->width)), sh = given(7, double(source->height));
  double dw = given(2, sw), dh = given(3, sh);
  double sx = place[4], sy = place[5];
  if (sw <= 0 || sh <= 0 || dw <= 0 || dh <= 0) return Value::nil();
  CGImageRef picture = source != target && !source->mask ? borrowedImageOf(source) : imageOf(runtime.impl(), source);
  if (!picture) return Value::nil();
  // Scale the whole source so that its source rectangle covers the destination, and
  // clip to the destination.
  double scaleX = dw / sw, scaleY = dh / sh;
  double x = place[0] - sx * scaleX, y = place[1] - sy * scaleY;
  CGContextSaveGState(target->context);
  CGContextClipToRect(target->context, cgRect(target, place[0], place[1], dw, dh));
  CGContextDrawImage(target->context, cgRect(target, x, y, double(source->width) * scaleX, double(source->height) * scaleY),
                     picture);
  CGContextRestoreGState(target->context);
  CGImageRelease(picture);
  return Value::nil();
}

}  // namespace

PictureData* pictureOfValue(Runtime& runtime, const Value& picture) { return pictureOf(runtime, picture); }

CGImageRef pictureImage(Runtime::Impl& impl, PictureData* picture) { return imageOf(impl, picture); }

PictureData* graphicsPicture(Runtime& runtime, const Value& self, ClassInfo* graphicsClass, const char* member) {
  return viewedPicture(runtime, self, graphicsClass, member);
}

namespace {

// Pixel(x, y), read and set, of the picture an RGBSurface or a Graphics shows.
void addPixel(ClassInfo* cls) {
  addNativeMethod(
      cls, "Pixel(x as Integer, y as Integer) as Color",
      [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        PictureData* picture = viewedPicture(runtime, self, cls, "Pixel");
        bool inside = false;
        if (picture) checkedPixel(runtime, picture, args.at(0).integer, args.at(1).integer, inside);
        return Value::ofColor(inside ? pictureColorOf(picture, picturePixelAt(picture, args[0].integer, args[1].integer)) : 0);
      },
      [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        PictureData* picture = viewedPicture(runtime, self, cls, "Pixel");
        bool inside = false;
        if (picture) checkedPixel(runtime, picture, args.at(0).integer, args.at(1).integer, inside);
        if (inside)
          pictureStoreColor(picture, picturePixelAt(picture, args[0].integer, args[1].integer), static_cast<uint32_t>(args.at(2).integer));
        return Value::nil();
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
  // Each drawing member also answers to its later name (FillRectangle, ClearRectangle).
  for (const char* name : {"FillRect", "FillRectangle"})
    addNativeMethod(cls, (std::string(name) + "(x as Double, y as Double, width as Double, height as Double)").c_str(),
                    [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                      PictureData* picture = viewedPicture(runtime, self, cls, "FillRect");
                      if (!picture) return Value::nil();
                      useDrawingColor(picture);
                      CGContextFillRect(picture->context, cgRect(picture, args.at(0).real, args.at(1).real,
                                                                 args.at(2).real, args.at(3).real));
                      return Value::nil();
                    });
  // Clearing makes pixels transparent, or white in a picture without an alpha channel.
  for (const char* name : {"ClearRect", "ClearRectangle"})
    addNativeMethod(cls, (std::string(name) + "(x as Double, y as Double, width as Double, height as Double)").c_str(),
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
        std::array<double, 8> place;
        for (size_t i = 0; i < place.size(); ++i) place[i] = args.at(i + 1).real;
        return drawPicture(runtime, cls, self, args.at(0), place, [](double v) { return v < 0; });
      });
  // The form plugins load by its declaration; -10000 stands for an omitted size.
  if (impl.options.drawPictureLoadable)
    addNativeMethod(cls,
                    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
                    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)",
                    [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                      std::array<double, 8> place;
                      for (size_t i = 0; i < place.size(); ++i) place[i] = double(args.at(i + 1).integer);
                      return drawPicture(runtime, cls, self, args.at(0), place, [](double v) { return v == -10000; });
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
  addPixel(cls);
  addGraphicsShapes(cls);
  addGraphicsText(cls);
}

// The older global form of New Picture: Nil where the picture cannot be made.
void installNewPicture(Runtime::Impl& impl) {
  impl.globals.push_back(nativeMember("NewPicture(width as Integer, height as Integer, depth as Integer) as Picture",
                                      [](Runtime& runtime, const Value&, std::vector<Value>& args) {
                                        try {
                                          return runtime.newInstance("Picture", {args.at(0), args.at(1), args.at(2)});
                                        } catch (const HostException&) {
                                          return Value::nil();
                                        }
                                      }));
}

void installRGBSurface(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<PictureView>(impl, "RGBSurface");
  impl.rgbSurfaceClass = cls;
  addPixel(cls);
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

// The pixels live in the storage itself: there is no other copy to drop; the call is
// counted for tests.
void pictureClearCacheEntry(ObjectHeader* object) {
  Runtime::Impl* impl = currentImpl();
  if (PictureData* picture = impl ? pictureData(*impl, object) : nullptr) ++picture->cacheClears;
}

// The description record a lock fills (24 bytes): the type as a 32-bit word, at byte 8
// the data pointer (type 8: the CGContextRef; type 10: the row buffer record), at 16
// and 20 width and height as 32-bit words.
struct PictureDescription {
  int32_t type;
  int32_t unused;
  void* data;
  int32_t width, height;
};
static_assert(sizeof(PictureDescription) == 24, "the description record is 24 bytes");
constexpr uint32_t kDescriptionBitmapContext = 8;
constexpr uint32_t kDescriptionRowBuffer = 10;

// A lock of the type asked for succeeds only when that is the picture's storage.
bool lockDescription(ObjectHeader* object, PictureDescription* description, uint32_t type) {
  Runtime::Impl* impl = currentImpl();
  PictureData* picture = impl ? pictureData(*impl, object) : nullptr;
  if (!picture || !picture->context || !description || picture->refusesDescription) return false;
  void* data = nullptr;
  if (type == kDescriptionBitmapContext && !picture->isRowBuffer()) data = picture->context;
  if (type == kDescriptionRowBuffer && picture->isRowBuffer()) data = picture->rowBuffer.data();
  if (!data) return false;
  *description = {int32_t(type), 0, data, int32_t(picture->width), int32_t(picture->height)};
  ++picture->descriptionLocks;
  return true;
}

// Without a type asked, a plugin gets the bitmap context to draw into, in either
// storage (a row buffer picture's context works on the row buffer's own memory).
bool lockDescriptionAnyType(ObjectHeader* object, PictureDescription* description) {
  Runtime::Impl* impl = currentImpl();
  PictureData* picture = impl ? pictureData(*impl, object) : nullptr;
  if (!picture || !picture->context || !description || picture->refusesDescription) return false;
  *description = {int32_t(kDescriptionBitmapContext), 0, picture->context, int32_t(picture->width),
                  int32_t(picture->height)};
  ++picture->descriptionLocks;
  return true;
}

void unlockDescription(ObjectHeader* object) {
  Runtime::Impl* impl = currentImpl();
  if (PictureData* picture = impl ? pictureData(*impl, object) : nullptr) ++picture->descriptionUnlocks;
}

// Pixel types of "REALBuildPictureFromBuffer": where red, green, blue and alpha sit in
// the buffer's pixels (alpha straight, not premultiplied).
enum BufferPixelType : int32_t { kPixelRGB24 = 1, kPixelBGR24 = 2, kPixelXRGB32 = 3, kPixelBGRX32 = 4, kPixelARGB32 = 5 };

// A new picture with a copy of the buffer's pixels (rows top first, rowBytes apart); an
// ARGB buffer gives a picture with an alpha channel. Null for an unknown pixel type, a
// null buffer or rows shorter than their pixels.
ObjectHeader* buildPictureFromBufferEntry(intptr_t width, intptr_t height, int32_t pixelType, const void* buffer,
                                          intptr_t rowBytes) {
  static const struct {
    int32_t type;
    PixelLayout layout;
  } kTypes[] = {{kPixelRGB24, {3, 0, 1, 2, -1, false}},
                {kPixelBGR24, {3, 2, 1, 0, -1, false}},
                {kPixelXRGB32, {4, 1, 2, 3, -1, false}},
                {kPixelBGRX32, {4, 2, 1, 0, -1, false}},
                {kPixelARGB32, {4, 1, 2, 3, 0, false}}};
  const PixelLayout* layout = nullptr;
  for (const auto& t : kTypes)
    if (t.type == pixelType) layout = &t.layout;
  if (!layout || !buffer || width < 1 || rowBytes < width * layout->bytes) return nullptr;
  ObjectHeader* object = newPictureEntry(int32_t(width), int32_t(height), layout->alpha >= 0 ? 0 : 32);
  Runtime::Impl* impl = currentImpl();
  PictureData* picture = object ? pictureData(*impl, object) : nullptr;
  if (!picture) return object;
  for (int64_t y = 0; y < picture->height; ++y) {
    const auto* in = static_cast<const unsigned char*>(buffer) + size_t(y) * size_t(rowBytes);
    for (int64_t x = 0; x < picture->width; ++x, in += layout->bytes) {
      uint32_t alpha = layout->alpha >= 0 ? in[layout->alpha] : 255;
      pictureStoreColor(picture, picturePixelAt(picture, x, y),
                        ((255 - alpha) << 24) | (uint32_t(in[layout->red]) << 16) | (uint32_t(in[layout->green]) << 8) |
                            in[layout->blue]);
    }
  }
  return object;
}

}  // namespace

void installPictureClasses(Runtime::Impl& impl) {
  installPicture(impl);
  installGraphics(impl);
  installRGBSurface(impl);
  installNewPicture(impl);
  addPictureFiles(impl);
  addPictureMasks(impl);
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
  table.push_back({"REALBuildPictureFromBuffer", guardedEntryPoint<&buildPictureFromBufferEntry>("REALBuildPictureFromBuffer")});
}

void Runtime::refusePictureDescription(const Value& picture) {
  if (PictureData* data = pictureOf(*this, picture)) data->refusesDescription = true;
}

PictureCounts Runtime::pictureCounts(const Value& picture) const {
  PictureData* data = pictureOf(const_cast<Runtime&>(*this), picture);
  return data ? PictureCounts{data->descriptionLocks, data->descriptionUnlocks, data->cacheClears} : PictureCounts{};
}

}  // namespace host
