/* GIF reading through giflib: the frames kept as the file gives them, and the canvas as a
   viewer shows it at a frame (disposal methods, transparency, interlace) composited from
   them when asked, with frame delays, colour tables and the loop count. */
#include <algorithm>
#include <cstring>

#include <gif_lib.h>

#include "codecs/codecs.h"

namespace qvr {

namespace {

// All frames' colour indices together may take this many bytes.
constexpr size_t kMaxIndexBytes = size_t(1) << 30;

// The most pixels LZW data of this many bytes can decode to: no code is narrower than its
// string is long in bits' worth (a w-bit code stands for at most 2^w pixels, 12 bits at most).
int64_t most_pixels_from(size_t lzw_bytes) { return (int64_t(lzw_bytes) * 8 / 12 + 1) * 4096; }

/* Whether every frame's raster is one the file can fill, and the canvas one the file can
   claim: giflib allocates each frame's pixels (width x height bytes) before it reads them,
   so a few dozen bytes claiming a frame of two billion pixels would cost gigabytes. Blocks
   it cannot walk are left to giflib. */
bool sizes_fit_their_data(const uint8_t* d, size_t n) {
  const int64_t canvas = int64_t(d[6] | d[7] << 8) * int64_t(d[8] | d[9] << 8);
  if (too_little_data_for(canvas, int64_t(n))) return false;
  size_t at = 13;
  if (d[10] & 0x80) at += size_t(3) << ((d[10] & 7) + 1);
  int64_t all_frames = 0;
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
    if (area > kMaxPixels || area > most_pixels_from(data)) return false;
    if (area > 0 && (all_frames += area) > int64_t(kMaxIndexBytes)) return false;
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

}  // namespace

std::unique_ptr<GifAnimation> GifAnimation::read(const uint8_t* data, size_t size) {
  if (data == nullptr || size < 13 || !sizes_fit_their_data(data, size)) return nullptr;
  MemoryReader reader{data, size, 0};
  int error = 0;
  GifFileType* gif = DGifOpen(&reader, read_from_memory, &error);
  if (gif == nullptr) return nullptr;
  std::unique_ptr<GifAnimation> animation(new GifAnimation);
  animation->gif_ = gif;  // closed with the animation, whatever happens below
  if (DGifSlurp(gif) != GIF_OK || gif->ImageCount <= 0) return nullptr;
  gif->UserData = nullptr;  // the reader goes with this call
  const int w = gif->SWidth, h = gif->SHeight;
  if (w <= 0 || h <= 0 || w > kMaxDimension || h > kMaxDimension || int64_t(w) * h > kMaxPixels) return nullptr;
  animation->width_ = w;
  animation->height_ = h;
  const int loops = loop_count_of(gif->SavedImages[0]);
  for (int i = 0; i < gif->ImageCount; ++i) {
    const SavedImage& image = gif->SavedImages[i];
    const ColorMapObject* map = image.ImageDesc.ColorMap ? image.ImageDesc.ColorMap : gif->SColorMap;
    if (map == nullptr || image.RasterBits == nullptr) return nullptr;
    GraphicsControlBlock gcb{DISPOSAL_UNSPECIFIED, false, 0, NO_TRANSPARENT_COLOR};
    DGifSavedExtensionToGCB(gif, i, &gcb);
    FrameData frame;
    frame.indices = image.RasterBits;
    frame.stride = image.ImageDesc.Width;
    const GifImageDesc& desc = image.ImageDesc;
    if (desc.Left >= 0 && desc.Top >= 0 && desc.Left < w && desc.Top < h)
      frame.area = Rect{desc.Left, desc.Top, std::min(desc.Width, w - desc.Left), std::min(desc.Height, h - desc.Top)};
    for (int c = 0; c < map->ColorCount; ++c)
      frame.colours.insert(frame.colours.end(), {map->Colors[c].Red, map->Colors[c].Green, map->Colors[c].Blue});
    frame.transparent = gcb.TransparentColor;
    frame.disposal = gcb.DisposalMode;
    frame.metadata.frame_duration = gcb.DelayTime / 100.0;
    frame.metadata.loop_count = loops;
    frame.metadata.interlaced = desc.Interlace;
    frame.metadata.palette_rgb = frame.colours;
    animation->frames_.push_back(std::move(frame));
  }
  // A GIF whose canvas every frame covers and never shows through is opaque RGB. Only what
  // changed from one frame to the next needs looking at.
  for (size_t i = 0; i < animation->frames_.size() && !animation->has_alpha_; ++i) {
    const Rect changed = animation->advance_to(i);
    for (int y = changed.top; y < changed.top + changed.height && !animation->has_alpha_; ++y) {
      const uint8_t* p = animation->canvas_.data() + (size_t(y) * w + changed.left) * 4;
      for (int x = 0; x < changed.width; ++x, p += 4)
        if (p[3] != 255) {
          animation->has_alpha_ = true;
          break;
        }
    }
  }
  return animation;
}

GifAnimation::~GifAnimation() {
  int error = 0;
  if (gif_) DGifCloseFile(gif_, &error);
}

void GifAnimation::draw(const FrameData& frame) {
  const Rect& r = frame.area;
  const int colours = int(frame.colours.size() / 3);
  for (int y = 0; y < r.height; ++y) {
    const uint8_t* in = frame.indices + size_t(y) * frame.stride;
    uint8_t* out = canvas_.data() + (size_t(r.top + y) * width_ + r.left) * 4;
    for (int x = 0; x < r.width; ++x, out += 4) {
      const int index = in[x];
      if (index == frame.transparent || index >= colours) continue;
      std::memcpy(out, &frame.colours[size_t(index) * 3], 3);
      out[3] = 255;
    }
  }
}

void GifAnimation::dispose(const FrameData& frame) {
  const Rect& r = frame.area;
  const size_t row = size_t(r.width) * 4;
  for (int y = 0; y < r.height; ++y) {
    uint8_t* at = canvas_.data() + (size_t(r.top + y) * width_ + r.left) * 4;
    if (frame.disposal == DISPOSE_BACKGROUND) std::memset(at, 0, row);
    else if (frame.disposal == DISPOSE_PREVIOUS) std::memcpy(at, saved_.data() + y * row, row);
  }
}

GifAnimation::Rect GifAnimation::advance_to(size_t index) {
  Rect changed{0, 0, width_, height_};
  if (shown_ < 0 || size_t(shown_) > index) {
    canvas_.assign(size_t(width_) * height_ * 4, 0);
    shown_ = -1;
  }
  while (size_t(shown_ + 1) <= index) {
    if (shown_ >= 0) dispose(frames_[size_t(shown_)]);
    const FrameData& frame = frames_[size_t(++shown_)];
    if (frame.disposal == DISPOSE_PREVIOUS) {
      const Rect& r = frame.area;
      saved_.resize(size_t(r.width) * r.height * 4);
      for (int y = 0; y < r.height; ++y)
        std::memcpy(saved_.data() + size_t(y) * r.width * 4,
                    canvas_.data() + (size_t(r.top + y) * width_ + r.left) * 4, size_t(r.width) * 4);
    }
    draw(frame);
    if (shown_ > 0) {
      // The frame's own area and what the one before gave back on disposing.
      const Rect& a = frame.area;
      const Rect& b = frames_[size_t(shown_) - 1].area;
      const bool disposed = frames_[size_t(shown_) - 1].disposal == DISPOSE_BACKGROUND ||
                            frames_[size_t(shown_) - 1].disposal == DISPOSE_PREVIOUS;
      if (!disposed || b.width == 0 || b.height == 0) {
        changed = a;
      } else if (a.width == 0 || a.height == 0) {
        changed = b;
      } else {
        const int left = std::min(a.left, b.left), top = std::min(a.top, b.top);
        changed = Rect{left, top, std::max(a.left + a.width, b.left + b.width) - left,
                       std::max(a.top + a.height, b.top + b.height) - top};
      }
    }
  }
  return changed;
}

bool GifAnimation::render(size_t index, Raster& out) {
  if (index >= frames_.size()) return false;
  const int samples = has_alpha_ ? 4 : 3;
  if (out.empty()) {
    if (!out.allocate(width_, height_, samples, 8, has_alpha_, false)) return false;
  } else if (out.width != width_ || out.height != height_ || out.samples != samples || out.bits != 8) {
    return false;
  }
  advance_to(index);
  for (int y = 0; y < height_; ++y) {
    const uint8_t* in = canvas_.data() + size_t(y) * width_ * 4;
    uint8_t* row = out.row(y);
    if (has_alpha_) {
      std::memcpy(row, in, size_t(width_) * 4);
    } else {
      for (int x = 0; x < width_; ++x, in += 4, row += 3) std::memcpy(row, in, 3);
    }
  }
  return true;
}

}  // namespace qvr
