/* GIF writing through giflib, with colours chosen by libimagequant (dithered): one frame or
   an animation, transparency as one palette entry (partial alpha thresholded or dithered into
   on/off, the kept part laid over the background colour), a fixed colour table on request,
   and interlaced lines. */
#include <algorithm>
#include <cmath>
#include <cstring>

#include <gif_lib.h>
#include <libimagequant.h>

#include "codecs/codecs.h"

namespace qvr {

namespace {

int append_to_vector(GifFileType* gif, const GifByteType* data, int length) {
  std::vector<uint8_t>* out = static_cast<std::vector<uint8_t>*>(gif->UserData);
  out->insert(out->end(), data, data + length);
  return length;
}

// Straight RGBA with alpha decided: 0 (transparent, colour 0) or 255 (colour laid over the
// background where the source was partly transparent). Returns whether any pixel is clear.
bool binary_alpha_pixels(const Raster& raster, const EncodeOptions& options, std::vector<uint8_t>& rgba) {
  const int w = raster.width, h = raster.height;
  rgba.resize(size_t(w) * h * 4);
  std::vector<float> error_here(size_t(w) + 2, 0.0f), error_next(size_t(w) + 2, 0.0f);
  bool any_clear = false;
  for (int y = 0; y < h; ++y) {
    uint8_t* row = rgba.data() + size_t(y) * w * 4;
    raster_row_to_8_bits(raster, y, 4, options.background_rgb, row);
    std::fill(error_next.begin(), error_next.end(), 0.0f);
    for (int x = 0; x < w; ++x) {
      uint8_t* p = row + size_t(x) * 4;
      const unsigned a = p[3];
      bool opaque;
      if (options.dither_transparency) {
        // Floyd-Steinberg on the alpha channel alone.
        const float wanted = float(a) + error_here[size_t(x) + 1];
        opaque = wanted >= 127.5f;
        const float e = wanted - (opaque ? 255.0f : 0.0f);
        error_here[size_t(x) + 2] += e * 7.0f / 16.0f;
        error_next[size_t(x)] += e * 3.0f / 16.0f;
        error_next[size_t(x) + 1] += e * 5.0f / 16.0f;
        error_next[size_t(x) + 2] += e * 1.0f / 16.0f;
      } else {
        opaque = a >= 128;
      }
      if (!opaque) {
        std::memset(p, 0, 4);
        any_clear = true;
      } else if (a != 255) {
        for (int c = 0; c < 3; ++c) p[c] = uint8_t((p[c] * a + options.background_rgb[c] * (255 - a) + 127) / 255);
        p[3] = 255;
      }
    }
    error_here.swap(error_next);
  }
  return any_clear;
}

struct IndexedFrame {
  std::vector<uint8_t> indices;
  std::vector<GifColorType> colours;
  int transparent = NO_TRANSPARENT_COLOR;
};

// palette: a fixed colour table (RGB triples) to draw with, or empty to choose colours.
bool quantise(const Raster& raster, const EncodeOptions& options, const std::vector<uint8_t>& palette,
              IndexedFrame& frame) {
  std::vector<uint8_t> rgba;
  const bool any_clear = binary_alpha_pixels(raster, options, rgba);
  liq_attr* attr = liq_attr_create();
  if (attr == nullptr) return false;
  liq_image* image = liq_image_create_rgba(attr, rgba.data(), raster.width, raster.height, 0);
  bool ok = image != nullptr;
  const size_t fixed = std::min<size_t>(palette.size() / 3, any_clear ? 255 : 256);
  if (ok && fixed > 0) {
    for (size_t i = 0; i < fixed; ++i) {
      const uint8_t* c = palette.data() + i * 3;
      liq_image_add_fixed_color(image, liq_color{c[0], c[1], c[2], 255});
    }
    if (any_clear) liq_image_add_fixed_color(image, liq_color{0, 0, 0, 0});
    liq_set_max_colors(attr, int(std::max<size_t>(2, fixed + (any_clear ? 1 : 0))));
  }
  liq_result* result = nullptr;
  if (ok) ok = liq_image_quantize(image, attr, &result) == LIQ_OK && result != nullptr;
  if (ok) {
    liq_set_dithering_level(result, 1.0f);
    frame.indices.resize(size_t(raster.width) * raster.height);
    ok = liq_write_remapped_image(result, image, frame.indices.data(), frame.indices.size()) == LIQ_OK;
  }
  if (ok) {
    const liq_palette* palette = liq_get_palette(result);
    for (unsigned i = 0; i < palette->count; ++i) {
      const liq_color& c = palette->entries[i];
      frame.colours.push_back(GifColorType{c.r, c.g, c.b});
      if (c.a < 128 && frame.transparent == NO_TRANSPARENT_COLOR) frame.transparent = int(i);
    }
    if (frame.colours.empty()) ok = false;
  }
  if (result) liq_result_destroy(result);
  if (image) liq_image_destroy(image);
  liq_attr_destroy(attr);
  return ok;
}

bool put_loop_extension(GifFileType* gif, int loop_count) {
  const GifByteType data[3] = {1, GifByteType(loop_count & 0xFF), GifByteType((loop_count >> 8) & 0xFF)};
  return EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE) == GIF_OK &&
         EGifPutExtensionBlock(gif, 11, "NETSCAPE2.0") == GIF_OK && EGifPutExtensionBlock(gif, 3, data) == GIF_OK &&
         EGifPutExtensionTrailer(gif) == GIF_OK;
}

bool put_frame(GifFileType* gif, const Raster& raster, const IndexedFrame& frame, double duration, bool animated,
               bool interlaced) {
  if (frame.transparent != NO_TRANSPARENT_COLOR || animated) {
    GraphicsControlBlock gcb;
    gcb.DisposalMode = animated ? DISPOSE_BACKGROUND : DISPOSAL_UNSPECIFIED;
    gcb.UserInputFlag = false;
    gcb.DelayTime = int(std::lround(std::max(0.0, std::min(duration, 655.0)) * 100.0));
    gcb.TransparentColor = frame.transparent;
    GifByteType extension[4];
    const size_t length = EGifGCBToExtension(&gcb, extension);
    if (EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, int(length), extension) != GIF_OK) return false;
  }
  int map_size = 2;
  while (map_size < int(frame.colours.size())) map_size *= 2;
  std::vector<GifColorType> colours(frame.colours);
  colours.resize(size_t(map_size), GifColorType{0, 0, 0});
  ColorMapObject* map = GifMakeMapObject(map_size, colours.data());
  if (map == nullptr) return false;
  const bool described = EGifPutImageDesc(gif, 0, 0, raster.width, raster.height, interlaced, map) == GIF_OK;
  GifFreeMapObject(map);
  if (!described) return false;
  auto put_row = [&](int y) {
    return EGifPutLine(gif, const_cast<GifPixelType*>(frame.indices.data() + size_t(y) * raster.width),
                       raster.width) == GIF_OK;
  };
  if (interlaced) {
    static const int start[4] = {0, 4, 2, 1}, step[4] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass)
      for (int y = start[pass]; y < raster.height; y += step[pass])
        if (!put_row(y)) return false;
  } else {
    for (int y = 0; y < raster.height; ++y)
      if (!put_row(y)) return false;
  }
  return true;
}

}  // namespace

bool gif_encode(const std::vector<const Frame*>& frames, const EncodeOptions& options, std::vector<uint8_t>& out) {
  int canvas_w = 0, canvas_h = 0;
  for (const Frame* frame : frames) {
    if (frame == nullptr) return false;
    canvas_w = std::max(canvas_w, frame->raster.width);
    canvas_h = std::max(canvas_h, frame->raster.height);
  }
  return gif_encode(frames.size(), canvas_w, canvas_h, [&frames](size_t i) { return frames[i]; }, options, out);
}

bool gif_encode(size_t count, int canvas_w, int canvas_h, const std::function<const Frame*(size_t)>& frame_at,
                const EncodeOptions& options, std::vector<uint8_t>& out) {
  out.clear();
  if (count == 0 || canvas_w <= 0 || canvas_h <= 0 || canvas_w > 65535 || canvas_h > 65535) return false;
  int error = 0;
  GifFileType* gif = EGifOpen(&out, append_to_vector, &error);
  if (gif == nullptr) return false;
  const bool animated = count > 1;
  EGifSetGifVersion(gif, true);
  bool ok = EGifPutScreenDesc(gif, canvas_w, canvas_h, 8, 0, nullptr) == GIF_OK;
  if (ok && (animated || options.loop_count >= 0)) ok = put_loop_extension(gif, std::max(0, options.loop_count));
  for (size_t i = 0; ok && i < count; ++i) {
    const Frame* frame = frame_at(i);
    if (frame == nullptr || frame->raster.empty() || frame->raster.width > canvas_w ||
        frame->raster.height > canvas_h) {
      ok = false;
      break;
    }
    IndexedFrame indexed;
    // A frame read with a colour table of its own keeps it; the others take the options' one.
    const std::vector<uint8_t>& palette =
        frame->metadata.palette_rgb.empty() ? options.palette_rgb : frame->metadata.palette_rgb;
    ok = quantise(frame->raster, options, palette, indexed) &&
         put_frame(gif, frame->raster, indexed, frame->metadata.frame_duration, animated, options.interlaced);
  }
  if (EGifCloseFile(gif, &error) != GIF_OK) ok = false;
  if (!ok) out.clear();
  return ok && !out.empty();
}

}  // namespace qvr
