// Picture members between the two ways a picture keeps transparency, a mask beside it or
// an alpha channel in it: ApplyMask sets either from a grey picture, CopyMask gives
// either as a grey picture (white transparent), CopyColorChannels the colours alone.
#include "native_members.h"
#include "picture_storage.h"

namespace host {

namespace {

// The grey of a host Color, weighted as the eye sees the channels.
uint32_t greyOf(uint32_t color) {
  return (((color >> 16) & 0xFF) * 30 + ((color >> 8) & 0xFF) * 59 + (color & 0xFF) * 11 + 50) / 100;
}

// A new picture of that size, with an alpha channel or (depth 32) without; Nil and a
// pending exception when it cannot be made.
Value newPicture(Runtime& runtime, const PictureData* like, bool alpha) {
  std::vector<Value> size = {Value::ofInteger(like->width), Value::ofInteger(like->height)};
  if (!alpha) size.push_back(Value::ofInteger(32));
  try {
    return runtime.newInstance("Picture", size);
  } catch (const HostException&) {
    return Value::nil();
  }
}

// The picture of self, or null after raising for one without pixels.
PictureData* picturePixels(Runtime& runtime, const Value& self, const char* member) {
  PictureData* picture = pictureOfValue(runtime, self);
  if (!picture || !picture->context) {
    runtime.impl().raise("NilObjectException", std::string("Picture.") + member + ": the picture has no pixels");
    return nullptr;
  }
  return picture;
}

}  // namespace

void addPictureMasks(Runtime::Impl& impl) {
  ClassInfo* cls = impl.pictureClass;
  // Grey 255 in the mask is transparent, 0 opaque; outside the mask the picture is opaque.
  addNativeMethod(cls, "ApplyMask(mask as Picture)", [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    PictureData* picture = picturePixels(runtime, self, "ApplyMask");
    if (!picture) return Value::nil();
    PictureData* mask = pictureOfValue(runtime, args.at(0));
    if (!mask || !mask->context) {
      runtime.impl().raise("NilObjectException", "Picture.ApplyMask: the mask is Nil");
      return Value::nil();
    }
    PictureData* target = picture;
    if (!picture->hasAlpha) {
      Value own = runtime.call(self, "Mask(createIfNil as Boolean = True) as Picture", {Value::ofBoolean(true)});
      target = pictureOfValue(runtime, own);
      if (!target || !target->context) return Value::nil();
    }
    for (int64_t y = 0; y < target->height; ++y)
      for (int64_t x = 0; x < target->width; ++x) {
        const uint32_t m = x < mask->width && y < mask->height ? greyOf(pictureColorOf(mask, picturePixelAt(mask, x, y))) : 0;
        unsigned char* pixel = picturePixelAt(target, x, y);
        const uint32_t color = target == picture ? (m << 24) | (pictureColorOf(picture, pixel) & 0xFFFFFF) : (m << 16) | (m << 8) | m;
        pictureStoreColor(target, pixel, color);
      }
    return Value::nil();
  });
  addNativeMethod(cls, "CopyMask() as Picture", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    PictureData* picture = picturePixels(runtime, self, "CopyMask");
    if (!picture) return Value::nil();
    PictureData* mask = picture->hasAlpha ? picture : picture->mask ? pictureOfValue(runtime, Value::ofObject(picture->mask)) : nullptr;
    Value copy = newPicture(runtime, picture, false);
    PictureData* out = pictureOfValue(runtime, copy);
    if (!out) return copy;
    // A picture that has no mask yet is all opaque: its mask would be black.
    if (!mask || !mask->context) {
      pictureFill(out, 0);
      return copy;
    }
    for (int64_t y = 0; y < out->height; ++y)
      for (int64_t x = 0; x < out->width; ++x) {
        const uint32_t color = pictureColorOf(mask, picturePixelAt(mask, x, y));
        const uint32_t m = mask == picture ? color >> 24 : greyOf(color);
        pictureStoreColor(out, picturePixelAt(out, x, y), (m << 16) | (m << 8) | m);
      }
    return copy;
  });
  addNativeMethod(cls, "CopyColorChannels() as Picture", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    PictureData* picture = picturePixels(runtime, self, "CopyColorChannels");
    if (!picture) return Value::nil();
    Value copy = newPicture(runtime, picture, false);
    PictureData* out = pictureOfValue(runtime, copy);
    if (!out) return copy;
    for (int64_t y = 0; y < out->height; ++y)
      for (int64_t x = 0; x < out->width; ++x)
        pictureStoreColor(out, picturePixelAt(out, x, y), pictureColorOf(picture, picturePixelAt(picture, x, y)) & 0xFFFFFF);
    return copy;
  });
}

}  // namespace host
