/* A GIF as read: each frame as the file gives it (its colour indices, where it lands, its
   colour table, transparency and disposal), and the canvas as a viewer shows it at any
   frame, composited when asked. An animation so costs its frames' indices and one canvas,
   not a whole canvas per frame: optimised animations whose frames change a small part of
   a large canvas stay small, and a few bytes cannot claim gigabytes of snapshots. */
#ifndef QVR_CODECS_GIF_ANIMATION_H
#define QVR_CODECS_GIF_ANIMATION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "raster.h"

struct GifFileType;

namespace qvr {

class GifAnimation {
 public:
  // The GIF in the data; null for anything giflib or the size limits refuse.
  static std::unique_ptr<GifAnimation> read(const uint8_t* data, size_t size);
  ~GifAnimation();
  GifAnimation(const GifAnimation&) = delete;
  GifAnimation& operator=(const GifAnimation&) = delete;

  size_t frame_count() const { return frames_.size(); }
  int width() const { return width_; }
  int height() const { return height_; }
  // RGBA when some frame shows through somewhere, RGB when the canvas is always covered.
  bool has_alpha() const { return has_alpha_; }
  // What a frame carries: its duration, colour table, interlace and the loop count.
  const ImageMetadata& metadata(size_t index) const { return frames_[index].metadata; }

  // The canvas at frame index, straight 8-bit RGB or RGBA as has_alpha() says, written
  // into out: its own memory (allocated when out is empty) or a view of the same layout.
  // In frame order each call composites one frame; an earlier frame starts over.
  bool render(size_t index, Raster& out);

 private:
  struct Rect {
    int left = 0, top = 0, width = 0, height = 0;
  };
  struct FrameData {
    const uint8_t* indices = nullptr;  // giflib's, width x height of the frame's own
    int stride = 0;                     // the frame's own width
    Rect area;                          // where it lands, cut to the canvas
    std::vector<uint8_t> colours;       // RGB triples of the table it is drawn with
    int transparent = -1;
    int disposal = 0;
    ImageMetadata metadata;
  };

  GifAnimation() = default;
  // Composites frames until the canvas shows frame index; returns the region that changed
  // since the canvas showed frame index - 1 (the whole canvas when it started over).
  Rect advance_to(size_t index);
  void draw(const FrameData& frame);
  void dispose(const FrameData& frame);

  GifFileType* gif_ = nullptr;  // owns the frames' indices
  int width_ = 0, height_ = 0;
  bool has_alpha_ = false;
  std::vector<FrameData> frames_;
  std::vector<uint8_t> canvas_;  // RGBA, as it shows at frame shown_
  std::vector<uint8_t> saved_;   // what the frame shown_ covers, when it disposes to previous
  long shown_ = -1;              // -1: nothing composited yet
};

}  // namespace qvr

#endif
