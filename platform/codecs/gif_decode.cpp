/* GIF reading through giflib: every frame composited onto the canvas as a viewer shows it
   (disposal methods, transparency, interlace), with frame delays, colour tables and the loop
   count. */
#include <algorithm>
#include <cstring>

#include <gif_lib.h>

#include "codecs/codecs.h"

namespace qvr {

namespace {

// All frames together may take this many bytes of canvas snapshots.
constexpr size_t kMaxFrameBytes = size_t(1) << 30;

/* Whether every frame's raster is one the file can fill: giflib allocates each frame's
   pixels (width x height bytes) before it reads them, so a few dozen bytes claiming a frame
   of two billion pixels would cost gigabytes. A frame may not exceed kMaxPixels, nor the
   most its LZW data could decode to (a code of at least 3 bits gives at most 4,096
   pixels). Blocks it cannot walk are left to giflib. */
bool frames_fit_their_data(const uint8_t* d, size_t n) {
  size_t at = 13;
  if (d[10] & 0x80) at += size_t(3) << ((d[10] & 7) + 1);
  while (at < n) {
    const uint8_t kind = d[at++];
    int64_t area = -1;
    if (kind == 0x21) {
      ++at;  // the extension's label
    } else if (kind == 0x2C) {
      if (at + 9 > n) return true;
      area = int64_t(d[at + 4] | d[at + 5] << 8) * int64_t(d[at + 6] | d[at + 7] << 8);
      const uint8_t flags = d[at + 8];
      at += 9;
      if (flags & 0x80) at += size_t(3) << ((flags & 7) + 1);
      ++at;  // the LZW minimum code size
    } else {
      return true;  // the trailer, or something giflib will refuse
    }
    size_t data = 0;
    while (at < n && d[at] != 0) {
      data += d[at];
      at += size_t(d[at]) + 1;
    }
    ++at;
    if (area > kMaxPixels || area > (int64_t(data) * 8 / 3 + 1) * 4096) return false;
  }
  return true;
}

struct MemoryReader {
  const uint8_t* data;
  size_t size;
  size_t offset;
};

int read_from_memory(GifFileType* gif, GifByteType* out, int length) {
  MemoryReader* reader = static_cast<MemoryReader*>(gif->UserData);
  if (length <= 0) return 0;
  size_t n = std::min(size_t(length), reader->size - reader->offset);
  std::memcpy(out, reader->data + reader->offset, n);
  reader->offset += n;
  return int(n);
}

int loop_count_of(const SavedImage& first) {
  for (int i = 0; i + 1 < first.ExtensionBlockCount; ++i) {
    const ExtensionBlock& block = first.ExtensionBlocks[i];
    if (block.Function == APPLICATION_EXT_FUNC_CODE && block.ByteCount == 11 &&
        std::memcmp(block.Bytes, "NETSCAPE2.0", 11) == 0) {
      const ExtensionBlock& data = first.ExtensionBlocks[i + 1];
      if (data.ByteCount >= 3 && data.Bytes[0] == 1) return data.Bytes[1] | (data.Bytes[2] << 8);
    }
  }
  return -1;
}

struct Rect {
  int left, top, width, height;
};

// The frame's rectangle cut to the canvas.
Rect clip_to_canvas(const GifImageDesc& desc, int canvas_w, int canvas_h) {
  Rect r{desc.Left, desc.Top, desc.Width, desc.Height};
  if (r.left < 0 || r.top < 0 || r.left >= canvas_w || r.top >= canvas_h) return Rect{0, 0, 0, 0};
  r.width = std::min(r.width, canvas_w - r.left);
  r.height = std::min(r.height, canvas_h - r.top);
  return r;
}

void clear_rect(std::vector<uint8_t>& canvas, int canvas_w, const Rect& r) {
  for (int y = r.top; y < r.top + r.height; ++y)
    std::memset(canvas.data() + (size_t(y) * canvas_w + r.left) * 4, 0, size_t(r.width) * 4);
}

void draw_frame(std::vector<uint8_t>& canvas, int canvas_w, const SavedImage& image, const ColorMapObject* map,
                int transparent, const Rect& r) {
  const int frame_w = image.ImageDesc.Width;
  for (int y = 0; y < r.height; ++y) {
    const GifByteType* in = image.RasterBits + size_t(y) * frame_w;
    uint8_t* out = canvas.data() + (size_t(r.top + y) * canvas_w + r.left) * 4;
    for (int x = 0; x < r.width; ++x, out += 4) {
      const int index = in[x];
      if (index == transparent || index >= map->ColorCount) continue;
      const GifColorType& c = map->Colors[index];
      out[0] = c.Red;
      out[1] = c.Green;
      out[2] = c.Blue;
      out[3] = 255;
    }
  }
}

}  // namespace

bool gif_decode(const uint8_t* data, size_t size, std::vector<Frame>& frames) {
  frames.clear();
  if (data == nullptr || size < 13 || !frames_fit_their_data(data, size)) return false;
  MemoryReader reader{data, size, 0};
  int error = 0;
  GifFileType* gif = DGifOpen(&reader, read_from_memory, &error);
  if (gif == nullptr) return false;
  bool ok = DGifSlurp(gif) == GIF_OK && gif->ImageCount > 0;
  const int canvas_w = gif->SWidth, canvas_h = gif->SHeight;
  if (ok && (canvas_w <= 0 || canvas_h <= 0 || canvas_w > kMaxDimension || canvas_h > kMaxDimension ||
             int64_t(canvas_w) * canvas_h > kMaxPixels))
    ok = false;
  if (ok && size_t(canvas_w) * canvas_h * 4 * size_t(gif->ImageCount) > kMaxFrameBytes) ok = false;
  if (ok) {
    std::vector<uint8_t> canvas(size_t(canvas_w) * canvas_h * 4, 0);
    std::vector<uint8_t> saved;
    const int loops = loop_count_of(gif->SavedImages[0]);
    bool any_transparency = false;
    for (int i = 0; ok && i < gif->ImageCount; ++i) {
      const SavedImage& image = gif->SavedImages[i];
      const ColorMapObject* map = image.ImageDesc.ColorMap ? image.ImageDesc.ColorMap : gif->SColorMap;
      if (map == nullptr || image.RasterBits == nullptr) {
        ok = false;
        break;
      }
      GraphicsControlBlock gcb{DISPOSAL_UNSPECIFIED, false, 0, NO_TRANSPARENT_COLOR};
      DGifSavedExtensionToGCB(gif, i, &gcb);
      const Rect r = clip_to_canvas(image.ImageDesc, canvas_w, canvas_h);
      if (gcb.DisposalMode == DISPOSE_PREVIOUS) saved = canvas;
      draw_frame(canvas, canvas_w, image, map, gcb.TransparentColor, r);
      Frame frame;
      frame.raster.allocate(canvas_w, canvas_h, 4, 8, true);
      std::memcpy(frame.raster.pixels, canvas.data(), canvas.size());
      frame.metadata.frame_duration = gcb.DelayTime / 100.0;
      frame.metadata.loop_count = loops;
      frame.metadata.interlaced = image.ImageDesc.Interlace;
      for (int c = 0; c < map->ColorCount; ++c) {
        const GifColorType& colour = map->Colors[c];
        frame.metadata.palette_rgb.insert(frame.metadata.palette_rgb.end(), {colour.Red, colour.Green, colour.Blue});
      }
      for (size_t p = 3; p < canvas.size() && !any_transparency; p += 4) any_transparency = canvas[p] != 255;
      frames.push_back(std::move(frame));
      if (gcb.DisposalMode == DISPOSE_BACKGROUND) clear_rect(canvas, canvas_w, r);
      else if (gcb.DisposalMode == DISPOSE_PREVIOUS) canvas.swap(saved);
    }
    // A GIF that covers its canvas everywhere and never shows through is opaque RGB.
    if (ok && !any_transparency) {
      for (Frame& frame : frames) {
        Raster rgb;
        rgb.allocate(canvas_w, canvas_h, 3, 8, false);
        const uint8_t* in = frame.raster.pixels;
        uint8_t* out = rgb.pixels;
        for (size_t p = 0, n = size_t(canvas_w) * canvas_h; p < n; ++p, in += 4, out += 3) std::memcpy(out, in, 3);
        frame.raster = std::move(rgb);
      }
    }
  }
  DGifCloseFile(gif, &error);
  if (!ok) frames.clear();
  return ok && !frames.empty();
}

}  // namespace qvr
