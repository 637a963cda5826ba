/* The PICT reader: a walk over the opcodes (one byte each in version 1, two and word-aligned
   in version 2), skipping what it does not draw by the lengths QuickDraw documents, and a
   small aliased rasterizer for the bitmaps (indexed 1 to 8 bits with colour tables, direct
   16 and 32 bits, every pack type) and the shapes (rects, ovals, round rects, arcs, lines,
   polygons, regions; frame, paint, erase, invert, fill) with pens, patterns and colours. */
#include "codecs/pict_decode.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace qvr {

namespace {

struct Rect {
  int top = 0, left = 0, bottom = 0, right = 0;
  int width() const { return right - left; }
  int height() const { return bottom - top; }
  bool empty() const { return right <= left || bottom <= top; }
};

struct Rgb {
  uint8_t r = 0, g = 0, b = 0;
};

/* Bytes read big-endian; running past the end sets failed and reads zeros. */
struct Reader {
  const uint8_t* data;
  size_t size, pos;
  bool failed = false;
  bool has(size_t n) const { return !failed && size - pos >= n; }
  uint8_t u8() {
    if (!has(1)) return failed = true, 0;
    return data[pos++];
  }
  uint16_t u16() {
    if (!has(2)) return failed = true, 0;
    uint16_t v = uint16_t(data[pos] << 8 | data[pos + 1]);
    pos += 2;
    return v;
  }
  int s16() { return int16_t(u16()); }
  uint32_t u32() {
    uint32_t hi = u16();
    return hi << 16 | u16();
  }
  void skip(size_t n) {
    if (!has(n)) failed = true, pos = size;
    else pos += n;
  }
  const uint8_t* take(size_t n) {
    if (!has(n)) return failed = true, nullptr;
    const uint8_t* p = data + pos;
    pos += n;
    return p;
  }
  Rect rect() {
    Rect r;
    r.top = s16(), r.left = s16(), r.bottom = s16(), r.right = s16();
    return r;
  }
};

/* A region as a mask over its bounding box. */
struct Region {
  Rect box;
  std::vector<uint8_t> mask;  // box.width() x box.height(), 1 inside
  bool contains(int x, int y) const {
    if (x < box.left || x >= box.right || y < box.top || y >= box.bottom) return false;
    return mask[size_t(y - box.top) * box.width() + (x - box.left)] != 0;
  }
};

/* Region data: size, bounding box, then for a non-rectangular region lines of inversion
   points (y, then x pairs, 0x7FFF), ended by 0x7FFF; each line toggles the spans below it. */
bool ReadRegion(Reader& in, Region& region) {
  size_t start = in.pos;
  unsigned size = in.u16();
  region.box = in.rect();
  if (in.failed || size < 10) return false;
  size_t end = start + size;
  if (end > in.size) return false;
  int64_t area = int64_t(std::max(0, region.box.width())) * std::max(0, region.box.height());
  if (region.box.empty() || area > kMaxPictPixels) {
    region.box = Rect();
    region.mask.clear();
    in.pos = end;
    return true;
  }
  const int w = region.box.width();
  region.mask.assign(size_t(area), size == 10 ? 1 : 0);
  if (size > 10) {
    std::vector<uint8_t> row(size_t(w), 0);
    int lastY = region.box.top;
    while (in.pos + 2 <= end) {
      int y = in.s16();
      if (y == 0x7FFF) break;
      /* Rows down to this line keep the spans so far. */
      for (int fill = std::max(lastY, region.box.top); fill < std::min(y, region.box.bottom); ++fill)
        std::memcpy(&region.mask[size_t(fill - region.box.top) * w], row.data(), size_t(w));
      lastY = std::max(lastY, y);
      while (in.pos + 2 <= end) {
        int x0 = in.s16();
        if (x0 == 0x7FFF || in.pos + 2 > end) break;
        int x1 = in.s16();
        for (int x = std::max(x0, region.box.left); x < std::min(x1, region.box.right); ++x)
          row[size_t(x - region.box.left)] ^= 1;
      }
    }
    for (int fill = std::max(lastY, region.box.top); fill < region.box.bottom; ++fill)
      std::memcpy(&region.mask[size_t(fill - region.box.top) * w], row.data(), size_t(w));
  }
  in.pos = end;
  return true;
}

enum class Verb { frame, paint, erase, invert, fill };

struct Pattern {
  uint8_t bits[8];
};

class Painter {
 public:
  Painter(Raster& raster, const Rect& space)
      : raster_(raster), space_(space), budget(int64_t(64) * raster.width * raster.height + (int64_t(1) << 24)) {}

  /* Drawing state. */
  Rgb fg{0, 0, 0}, bg{255, 255, 255};
  Pattern penPat{{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
  Pattern fillPat{{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};
  Pattern bkPat{{0, 0, 0, 0, 0, 0, 0, 0}};
  int penW = 1, penH = 1;
  bool penXor = false;
  bool hasClip = false;
  Region clip;

  /* Whether the picture point x, y is on the canvas and inside the clip. */
  uint8_t* at(int x, int y) {
    int px = x - space_.left, py = y - space_.top;
    if (px < 0 || py < 0 || px >= raster_.width || py >= raster_.height) return nullptr;
    if (hasClip && !clip.contains(x, y)) return nullptr;
    return raster_.row(py) + size_t(px) * 4;
  }

  static void Put(uint8_t* p, const Rgb& c) {
    p[0] = c.r, p[1] = c.g, p[2] = c.b, p[3] = 255;
  }

  /* One pixel of a shape painted with a verb. */
  void Plot(int x, int y, Verb verb) {
    --budget;
    uint8_t* p = at(x, y);
    if (p == nullptr) return;
    if (verb == Verb::invert || (penXor && (verb == Verb::frame || verb == Verb::paint))) {
      for (int i = 0; i < 3; ++i) p[i] = uint8_t(255 - (p[3] ? p[i] : 255));
      p[3] = 255;
      return;
    }
    const Pattern& pat = verb == Verb::erase ? bkPat : verb == Verb::fill ? fillPat : penPat;
    bool on = (pat.bits[(y - space_.top) & 7] >> (7 - ((x - space_.left) & 7))) & 1;
    Put(p, on ? fg : bg);
  }

  void Span(int y, int x0, int x1, Verb verb) {
    if (y < space_.top || y >= space_.bottom) return;
    x0 = std::max(x0, space_.left);
    x1 = std::min(x1, space_.right);
    for (int x = x0; x < x1; ++x) Plot(x, y, verb);
  }

  /* Rects, ovals, round rects and arcs: the spans of each row of the shape inside r, with
     corner ovals of cw x ch (the whole rect for an oval, 0 for a rect). */
  static bool RowOf(const Rect& r, double cw, double ch, int y, int& x0, int& x1) {
    if (r.empty() || y < r.top || y >= r.bottom) return false;
    cw = std::min<double>(cw, r.width());
    ch = std::min<double>(ch, r.height());
    double yc = y + 0.5, inset = 0;
    if (cw > 0 && ch > 0) {
      /* In a corner band the row is as wide as the corner oval there. */
      double ry = ch / 2, rx = cw / 2, cy = yc;
      if (yc < r.top + ry) cy = r.top + ry;
      else if (yc > r.bottom - ry) cy = r.bottom - ry;
      double d = (yc - cy) / ry;
      if (d * d >= 1) return false;
      inset = rx - rx * std::sqrt(1 - d * d);
    }
    x0 = int(std::ceil(r.left + inset - 0.5));
    x1 = int(std::floor(r.right - inset - 0.5)) + 1;
    return x1 > x0;
  }

  /* In the wedge from start through start + arc degrees (0 up, clockwise) of r's centre. */
  static bool InWedge(const Rect& r, int x, int y, int start, int arc) {
    if (arc >= 360 || arc <= -360) return true;
    double dx = (x + 0.5 - (r.left + r.right) / 2.0) / std::max(1, r.width());
    double dy = (y + 0.5 - (r.top + r.bottom) / 2.0) / std::max(1, r.height());
    double a = std::atan2(dx, -dy) * 180 / M_PI;
    if (arc < 0) start += arc, arc = -arc;
    double from = std::fmod(std::fmod(double(start), 360) + 360, 360);
    double rel = std::fmod(a - from + 720, 360);
    return rel < arc;
  }

  void Shape(const Rect& r, double cw, double ch, Verb verb, bool wedge = false, int start = 0, int arc = 360) {
    Rect inner{r.top + penH, r.left + penW, r.bottom - penH, r.right - penW};
    double icw = std::max(0.0, cw - 2 * penW), ich = std::max(0.0, ch - 2 * penH);
    if (cw > 0 && (icw <= 0 || ich <= 0)) icw = ich = 0;
    if (verb == Verb::frame && (penW <= 0 || penH <= 0)) return;
    for (int y = std::max(r.top, space_.top); y < std::min(r.bottom, space_.bottom) && !exhausted(); ++y) {
      int x0, x1;
      if (!RowOf(r, cw, ch, y, x0, x1)) continue;
      int i0 = x1, i1 = x1;
      bool hole = verb == Verb::frame && RowOf(inner, icw, ich, y, i0, i1);
      for (int x = std::max(x0, space_.left); x < std::min(x1, space_.right); ++x) {
        if (hole && x >= i0 && x < i1) continue;
        if (wedge && !InWedge(r, x, y, start, arc)) continue;
        Plot(x, y, verb);
      }
    }
  }

  /* The pen's rectangle at every point of the line (Bresenham). */
  void Line(int x0, int y0, int x1, int y1) {
    if (penW <= 0 || penH <= 0) return;
    int dx = std::abs(x1 - x0), dy = -std::abs(y1 - y0), sx = x0 < x1 ? 1 : -1, sy = y0 < y1 ? 1 : -1;
    int err = dx + dy;
    for (int steps = 0; steps <= 70000 && !exhausted(); ++steps) {
      for (int y = y0; y < y0 + penH; ++y) Span(y, x0, x0 + penW, Verb::paint);
      if (x0 == x1 && y0 == y1) break;
      int e2 = 2 * err;
      if (e2 >= dy) err += dy, x0 += sx;
      if (e2 <= dx) err += dx, y0 += sy;
    }
  }

  void Polygon(const std::vector<std::pair<int, int>>& pts, Verb verb) {
    if (pts.size() < 2) return;
    if (verb == Verb::frame) {
      for (size_t i = 1; i < pts.size(); ++i) Line(pts[i - 1].first, pts[i - 1].second, pts[i].first, pts[i].second);
      return;
    }
    int top = pts[0].second, bottom = top;
    for (auto& p : pts) top = std::min(top, p.second), bottom = std::max(bottom, p.second);
    std::vector<double> xs;
    for (int y = std::max(top, space_.top); y < std::min(bottom, space_.bottom) && !exhausted(); ++y) {
      double yc = y + 0.5;
      xs.clear();
      for (size_t i = 0; i < pts.size(); ++i) {
        auto a = pts[i], b = pts[(i + 1) % pts.size()];
        if ((a.second <= yc) != (b.second <= yc))
          xs.push_back(a.first + (yc - a.second) * double(b.first - a.first) / double(b.second - a.second));
      }
      std::sort(xs.begin(), xs.end());
      for (size_t i = 0; i + 1 < xs.size(); i += 2)
        Span(y, int(std::ceil(xs[i] - 0.5)), int(std::floor(xs[i + 1] - 0.5)) + 1, verb);
    }
  }

  void RegionShape(const Region& region, Verb verb) {
    const Rect& b = region.box;
    for (int y = std::max(b.top, space_.top); y < std::min(b.bottom, space_.bottom) && !exhausted(); ++y)
      for (int x = std::max(b.left, space_.left); x < std::min(b.right, space_.right); ++x) {
        if (!region.contains(x, y)) continue;
        /* Framing draws the region's edge: its pixels next to one outside. */
        if (verb == Verb::frame && region.contains(x - 1, y) && region.contains(x + 1, y) &&
            region.contains(x, y - 1) && region.contains(x, y + 1))
          continue;
        Plot(x, y, verb);
      }
  }

  Raster& raster_;
  Rect space_;
  /* Pixels left to paint: a few bytes of opcodes can ask for vast areas again and again,
     so a picture may cover its frame 64 times over and no more; drawing stops there. */
  int64_t budget;
  bool exhausted() const { return budget < 0; }
};

Rgb OldColor(uint32_t code) {
  switch (code) {
    case 30: return {255, 255, 255};
    case 205: return {221, 8, 6};
    case 341: return {0, 171, 17};
    case 409: return {0, 0, 212};
    case 273: return {2, 171, 234};
    case 137: return {242, 8, 132};
    case 69: return {252, 243, 5};
    default: return {0, 0, 0};
  }
}

Rgb ReadRgb(Reader& in) {
  Rgb c;
  c.r = uint8_t(in.u16() >> 8), c.g = uint8_t(in.u16() >> 8), c.b = uint8_t(in.u16() >> 8);
  return c;
}

/* A pixel map's description after its rowBytes word. */
struct PixMap {
  int rowBytes = 0;
  bool isPixMap = false;
  Rect bounds;
  int packType = 0, pixelSize = 1, cmpCount = 1;
  Rgb table[256];
};

bool ReadPixMapFields(Reader& in, PixMap& pm) {
  pm.bounds = in.rect();
  if (!pm.isPixMap) return !in.failed;
  in.u16();  // version
  pm.packType = in.u16();
  in.skip(4 + 4 + 4);  // packSize, hRes, vRes
  in.u16();            // pixelType
  pm.pixelSize = in.u16();
  pm.cmpCount = in.u16();
  in.u16();            // cmpSize
  in.skip(4 + 4 + 4);  // planeBytes, pmTable, pmReserved
  return !in.failed;
}

/* The colour table: seed, flags (0x8000: entries in order), last index, then the entries. */
bool ReadColorTable(Reader& in, PixMap& pm) {
  in.skip(4);
  unsigned flags = in.u16();
  unsigned last = in.u16();
  if (in.failed || last > 0x7FFF) return false;
  for (unsigned i = 0; i <= last && !in.failed; ++i) {
    unsigned value = in.u16();
    Rgb c = ReadRgb(in);
    unsigned index = (flags & 0x8000) ? i : value;
    if (index < 256) pm.table[index] = c;
  }
  return !in.failed;
}

/* PackBits into out (exactly out.size() bytes, zeros where the data ran short); unit 2
   counts 16-bit words. */
void Unpack(const uint8_t* src, size_t n, int unit, std::vector<uint8_t>& out) {
  size_t o = 0, i = 0;
  std::fill(out.begin(), out.end(), 0);
  while (i < n && o < out.size()) {
    int flag = src[i++];
    if (flag < 128) {
      size_t count = size_t(flag + 1) * unit;
      for (size_t k = 0; k < count && i < n && o < out.size(); ++k) out[o++] = src[i++];
    } else if (flag > 128) {
      size_t count = size_t(257 - flag);
      if (i + unit > n) break;
      for (size_t k = 0; k < count && o < out.size(); ++k)
        for (int u = 0; u < unit && o < out.size(); ++u) out[o++] = src[i + u];
      i += unit;
    }
  }
}

/* The rows of a bitmap opcode: each row read (raw or packed) and converted to RGBA, then
   drawn scaled from srcRect into dstRect through the optional mask region. */
bool DrawBits(Reader& in, Painter& painter, bool direct, bool packed, bool withRegion) {
  PixMap pm;
  if (direct) in.skip(4);  // baseAddr
  unsigned rowWord = in.u16();
  pm.isPixMap = (rowWord & 0x8000) != 0 || direct;
  pm.rowBytes = int(rowWord & 0x3FFF);
  if (!ReadPixMapFields(in, pm)) return false;
  if (pm.isPixMap && !direct && !ReadColorTable(in, pm)) return false;
  if (!pm.isPixMap) {
    pm.table[0] = painter.bg;
    pm.table[1] = painter.fg;
  }
  Rect src = in.rect(), dst = in.rect();
  int mode = in.u16() & 0x3F;
  Region mask;
  if (withRegion && !ReadRegion(in, mask)) return false;
  if (in.failed) return false;
  const int width = pm.bounds.width(), height = pm.bounds.height();
  const int bits = pm.pixelSize;
  if (width <= 0 || height <= 0 || width > 0x7FFF) return false;
  if (bits != 1 && bits != 2 && bits != 4 && bits != 8 && bits != 16 && bits != 32) return false;
  if (int64_t(width) * height > kMaxPictPixels) return false;
  if (pm.cmpCount < 1 || pm.cmpCount > 4) pm.cmpCount = 3;
  /* How each row is stored. */
  int packType = pm.packType;
  if (bits == 32 && packType == 0) packType = 4;
  if (bits == 16 && packType == 0) packType = 3;
  if (pm.rowBytes < 8 || !packed) packType = 1;
  size_t rowLength = size_t(pm.rowBytes);
  if (bits == 32 && packType == 2) rowLength = size_t(width) * 3;
  if (bits == 32 && packType == 4) rowLength = size_t(width) * pm.cmpCount;
  const size_t needed = bits == 32 ? size_t(width) * (packType == 1 ? 4 : packType == 2 ? 3 : pm.cmpCount)
                                   : (size_t(width) * bits + 7) / 8;
  if (rowLength < needed) return false;
  std::vector<uint8_t> raw(rowLength), rgba(size_t(width) * 4);
  int rowsRead = 0;
  auto readRow = [&]() -> bool {
    if (packType == 1 || packType == 2) {
      const uint8_t* p = in.take(rowLength);
      if (p == nullptr) return false;
      std::memcpy(raw.data(), p, rowLength);
    } else {
      size_t count = pm.rowBytes > 250 ? in.u16() : in.u8();
      const uint8_t* p = in.take(count);
      if (p == nullptr) return false;
      Unpack(p, count, bits == 16 ? 2 : 1, raw);
    }
    for (int x = 0; x < width; ++x) {
      uint8_t* o = &rgba[size_t(x) * 4];
      Rgb c;
      if (bits <= 8) {
        size_t bit = size_t(x) * bits;
        unsigned index = (raw[bit / 8] >> (8 - bits - bit % 8)) & ((1u << bits) - 1);
        c = pm.table[index];
      } else if (bits == 16) {
        unsigned v = unsigned(raw[size_t(x) * 2] << 8 | raw[size_t(x) * 2 + 1]);
        c.r = uint8_t((v >> 10 & 31) * 255 / 31), c.g = uint8_t((v >> 5 & 31) * 255 / 31),
        c.b = uint8_t((v & 31) * 255 / 31);
      } else if (packType == 1) {
        c = {raw[size_t(x) * 4 + 1], raw[size_t(x) * 4 + 2], raw[size_t(x) * 4 + 3]};
      } else if (packType == 2) {
        c = {raw[size_t(x) * 3], raw[size_t(x) * 3 + 1], raw[size_t(x) * 3 + 2]};
      } else {
        /* Component planes of the row: alpha first when there are four, one grey plane
           when there are fewer than three. */
        const int first = pm.cmpCount == 4 ? 1 : 0;
        c.r = c.g = c.b = raw[size_t(first) * width + x];
        if (pm.cmpCount >= 3) c.g = raw[size_t(first + 1) * width + x], c.b = raw[size_t(first + 2) * width + x];
      }
      o[0] = c.r, o[1] = c.g, o[2] = c.b;
      /* srcOr and transparent leave background pixels of one-bit pictures undrawn. */
      o[3] = (bits == 1 && (mode == 1 || mode == 36) && !(raw[size_t(x) / 8] >> (7 - x % 8) & 1)) ? 0 : 255;
    }
    ++rowsRead;
    return true;
  };
  /* The source rectangle within the bounds, mapped onto the destination by nearest pixel. */
  Rect s{std::max(src.top, pm.bounds.top), std::max(src.left, pm.bounds.left), std::min(src.bottom, pm.bounds.bottom),
         std::min(src.right, pm.bounds.right)};
  bool drawable = !s.empty() && !src.empty() && !dst.empty();
  for (int dy = dst.top; drawable && dy < dst.bottom && !painter.exhausted(); ++dy) {
    int sy = src.top + int(int64_t(dy - dst.top) * src.height() / dst.height());
    if (sy < s.top || sy >= s.bottom) continue;
    while (rowsRead <= sy - pm.bounds.top)
      if (!readRow()) return false;
    if (dy < painter.space_.top || dy >= painter.space_.bottom) continue;
    for (int dx = std::max(dst.left, painter.space_.left); dx < std::min(dst.right, painter.space_.right); ++dx) {
      int sx = src.left + int(int64_t(dx - dst.left) * src.width() / dst.width());
      if (sx < s.left || sx >= s.right) continue;
      if (withRegion && !mask.contains(dx, dy)) continue;
      const uint8_t* c = &rgba[size_t(sx - pm.bounds.left) * 4];
      uint8_t* p = painter.at(dx, dy);
      --painter.budget;
      if (p == nullptr || c[3] == 0) continue;
      std::memcpy(p, c, 4);
    }
  }
  /* The rest of the rows, to reach the next opcode. */
  while (rowsRead < height)
    if (!readRow()) return false;
  return true;
}

/* A colour pattern: type, the one-bit pattern, then a pixel map (type 1) or an RGB colour
   (type 2). The one-bit pattern stands for it, with the RGB colour as a solid one. */
bool ReadPixPat(Reader& in, Pattern& pattern, Rgb* solid) {
  unsigned type = in.u16();
  const uint8_t* bits = in.take(8);
  if (bits == nullptr) return false;
  std::memcpy(pattern.bits, bits, 8);
  if (type == 2) {
    Rgb c = ReadRgb(in);
    if (solid) *solid = c;
    std::memset(pattern.bits, 0xFF, 8);
    return !in.failed;
  }
  if (type != 1) return type == 0;
  PixMap pm;
  pm.rowBytes = int(in.u16() & 0x3FFF);
  pm.isPixMap = true;
  if (!ReadPixMapFields(in, pm) || !ReadColorTable(in, pm)) return false;
  int height = pm.bounds.height();
  if (height < 0 || height > 0x7FFF) return false;
  for (int y = 0; y < height; ++y) {
    if (pm.rowBytes < 8) {
      in.skip(size_t(pm.rowBytes));
    } else {
      size_t count = pm.rowBytes > 250 ? in.u16() : in.u8();
      in.skip(count);
    }
    if (in.failed) return false;
  }
  return true;
}

/* Lengths of the opcodes that are skipped, by Apple's table; -1 for a word of length
   first, -2 for a long, -3 for none known. */
int SkipLength(unsigned op) {
  if (op >= 0x17 && op <= 0x19) return 0;
  if (op >= 0x24 && op <= 0x27) return -1;
  if (op >= 0x2C && op <= 0x2F) return -1;
  if (op >= 0x92 && op <= 0x97) return -1;
  if (op >= 0x9C && op <= 0x9F) return -1;
  if (op >= 0xA2 && op <= 0xAF) return -1;
  if (op >= 0xB0 && op <= 0xCF) return 0;
  if (op >= 0xD0 && op <= 0xFE) return -2;
  if (op >= 0x0100 && op <= 0x7FFF) return int(op >> 8) * 2;
  if (op >= 0x8000 && op <= 0x80FF) return 0;
  if (op >= 0x8100) return -2;
  return -3;
}

}  // namespace

bool pict_read_header(const uint8_t* data, size_t size, PictHeader& header) {
  for (size_t start : {size_t(0), size_t(512)}) {
    if (data == nullptr || size < start + 12) continue;
    Reader in{data, size, start + 2};
    Rect frame = in.rect();
    const uint8_t* v = data + start + 10;
    int version = v[0] == 0x11 && v[1] == 0x01                                             ? 1
                  : size >= start + 14 && v[0] == 0 && v[1] == 0x11 && v[2] == 2 && v[3] == 0xFF ? 2
                                                                                          : 0;
    if (version == 0 || frame.empty()) continue;
    header.start = start;
    header.version = version;
    header.top = frame.top, header.left = frame.left, header.bottom = frame.bottom, header.right = frame.right;
    return true;
  }
  return false;
}

bool pict_decode(const uint8_t* data, size_t size, Frame& out) {
  PictHeader header;
  if (!pict_read_header(data, size, header)) return false;
  const bool v2 = header.version == 2;
  Reader in{data, size, header.start + 10 + (v2 ? 4 : 2)};
  Rect space{header.top, header.left, header.bottom, header.right};
  /* Version 2's header opcode: an extended header names the drawing's own resolution. */
  if (v2 && in.has(2) && data[in.pos] == 0x0C && data[in.pos + 1] == 0x00) {
    in.u16();
    int kind = in.s16();
    in.u16();
    in.skip(8);
    Rect source = in.rect();
    in.skip(4);
    if (kind == -2 && !source.empty()) space = source;
  }
  if (in.failed) return false;
  if (int64_t(space.width()) * space.height() > kMaxPictPixels) return false;
  Raster& raster = out.raster;
  if (!raster.allocate(space.width(), space.height(), 4, 8, true, true)) return false;
  Painter painter(raster, space);
  Rect lastRect, lastOval, lastRRect, lastArc;
  Region lastRegion;
  std::vector<std::pair<int, int>> lastPoly;
  int ovalW = 0, ovalH = 0, penX = 0, penY = 0;
  int arcStart = 0, arcAngle = 0;
  while (!in.failed && !painter.exhausted()) {
    if (v2 && (in.pos - header.start) % 2) in.skip(1);
    unsigned op = v2 ? in.u16() : in.u8();
    if (in.failed || op == 0xFF) break;
    unsigned family = op & ~7u, shapeVerb = op & 7u;
    Verb verb = Verb(shapeVerb < 5 ? shapeVerb : 0);
    bool known = shapeVerb < 5;
    if (op <= 0x16 || (op >= 0x1A && op <= 0x23) || (op >= 0x28 && op <= 0x2B)) {
      switch (op) {
        case 0x00: break;
        case 0x01: {
          Region region;
          if (!ReadRegion(in, region)) return true;
          /* A clip that covers the drawing clips nothing. */
          painter.hasClip = !(region.mask.size() == size_t(region.box.width()) * region.box.height() &&
                              std::all_of(region.mask.begin(), region.mask.end(), [](uint8_t m) { return m; }) &&
                              region.box.left <= space.left && region.box.top <= space.top &&
                              region.box.right >= space.right && region.box.bottom >= space.bottom);
          painter.clip = std::move(region);
          break;
        }
        case 0x02: { const uint8_t* p = in.take(8); if (p) std::memcpy(painter.bkPat.bits, p, 8); break; }
        case 0x03: case 0x05: in.skip(2); break;
        case 0x08: painter.penXor = (in.u16() & 0x3F) == 10; break;
        case 0x04: in.skip(1); break;
        case 0x06: in.skip(4); break;
        case 0x07: painter.penH = in.s16(), painter.penW = in.s16(); break;
        case 0x09: { const uint8_t* p = in.take(8); if (p) std::memcpy(painter.penPat.bits, p, 8); break; }
        case 0x0A: { const uint8_t* p = in.take(8); if (p) std::memcpy(painter.fillPat.bits, p, 8); break; }
        case 0x0B: ovalH = in.s16(), ovalW = in.s16(); break;
        case 0x0C: in.skip(4); break;
        case 0x0D: in.skip(2); break;
        case 0x0E: painter.fg = OldColor(in.u32()); break;
        case 0x0F: painter.bg = OldColor(in.u32()); break;
        case 0x10: in.skip(8); break;
        case 0x11: in.skip(v2 ? 2 : 1); break;
        case 0x12: if (!ReadPixPat(in, painter.bkPat, &painter.bg)) return true; break;
        case 0x13: if (!ReadPixPat(in, painter.penPat, &painter.fg)) return true; break;
        case 0x14: if (!ReadPixPat(in, painter.fillPat, &painter.fg)) return true; break;
        case 0x15: case 0x16: in.skip(2); break;
        case 0x1A: painter.fg = ReadRgb(in); break;
        case 0x1B: painter.bg = ReadRgb(in); break;
        case 0x1C: case 0x1E: break;
        case 0x1D: case 0x1F: in.skip(6); break;
        case 0x20: {
          int y0 = in.s16(), x0 = in.s16(), y1 = in.s16(), x1 = in.s16();
          if (!in.failed) painter.Line(x0, y0, x1, y1);
          penX = x1, penY = y1;
          break;
        }
        case 0x21: {
          int y1 = in.s16(), x1 = in.s16();
          if (!in.failed) painter.Line(penX, penY, x1, y1);
          penX = x1, penY = y1;
          break;
        }
        case 0x22: {
          int y0 = in.s16(), x0 = in.s16();
          int dh = int8_t(in.u8()), dv = int8_t(in.u8());
          if (!in.failed) painter.Line(x0, y0, x0 + dh, y0 + dv);
          penX = x0 + dh, penY = y0 + dv;
          break;
        }
        case 0x23: {
          int dh = int8_t(in.u8()), dv = int8_t(in.u8());
          if (!in.failed) painter.Line(penX, penY, penX + dh, penY + dv);
          penX += dh, penY += dv;
          break;
        }
        case 0x28: in.skip(4); in.skip(in.u8()); break;
        case 0x29: case 0x2A: in.skip(1); in.skip(in.u8()); break;
        case 0x2B: in.skip(2); in.skip(in.u8()); break;
        default: break;
      }
      continue;
    }
    if (family >= 0x30 && family <= 0x8F) {
      bool same = (op & 8) != 0;
      /* Reserved verbs (5 to 7) carry the data of their family and draw nothing. */
      switch (family & ~8u) {
        case 0x30:
          if (!same) lastRect = in.rect();
          if (known && !in.failed) painter.Shape(lastRect, 0, 0, verb);
          break;
        case 0x40:
          if (!same) lastRRect = in.rect();
          if (known && !in.failed) painter.Shape(lastRRect, ovalW, ovalH, verb);
          break;
        case 0x50:
          if (!same) lastOval = in.rect();
          if (known && !in.failed) painter.Shape(lastOval, lastOval.width(), lastOval.height(), verb);
          break;
        case 0x60:
          if (!same) lastArc = in.rect();
          arcStart = in.s16(), arcAngle = in.s16();
          if (known && !in.failed)
            painter.Shape(lastArc, lastArc.width(), lastArc.height(), verb, true, arcStart, arcAngle);
          break;
        case 0x70:
          if (!same) {
            size_t start = in.pos;
            unsigned polySize = in.u16();
            in.rect();
            if (polySize < 10 || start + polySize > in.size) return true;
            lastPoly.clear();
            for (size_t n = (polySize - 10) / 4; n > 0; --n) {
              int y = in.s16(), x = in.s16();
              lastPoly.emplace_back(x, y);
            }
            in.pos = start + polySize;
          }
          if (known && !in.failed) painter.Polygon(lastPoly, verb);
          break;
        case 0x80:
          if (!same && !ReadRegion(in, lastRegion)) return true;
          if (known && !in.failed) painter.RegionShape(lastRegion, verb);
          break;
      }
      continue;
    }
    switch (op) {
      case 0x90: case 0x91: case 0x98: case 0x99: case 0x9A: case 0x9B:
        if (!DrawBits(in, painter, op >= 0x9A, op >= 0x98, op & 1)) return true;
        continue;
      case 0xA0: in.skip(2); continue;
      case 0xA1: in.skip(2); in.skip(in.u16()); continue;
      case 0x02FF: in.skip(2); continue;
      case 0x0C00: in.skip(24); continue;
      default: break;
    }
    int length = SkipLength(op);
    if (length == -1) in.skip(in.u16());
    else if (length == -2) in.skip(in.u32());
    else if (length >= 0) in.skip(size_t(length));
    else break;  // no documented length: the picture cannot be read further
  }
  return true;
}

}  // namespace qvr
