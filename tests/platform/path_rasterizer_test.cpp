/* The path rasterizer of the drawing layer on its own: exact coverage of pixel-aligned
   and half-pixel edges, the area of a slanted shape, both fill rules, aliased fills by
   pixel centre, strokes; and random paths (huge and non-finite coordinates, empty and
   degenerate contours) that must never crash nor write outside the mask. */
#include <gtest/gtest.h>

#include <math.h>

#include <random>

#include "coregraphics/path_rasterizer.h"
#include "coregraphics/path_stroker.h"

namespace {

using qvr::FillRule;
using qvr::Polygon;

Polygon Box(double x0, double y0, double x1, double y1) { return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}}; }

std::vector<uint8_t> Rasterize(const std::vector<Polygon>& shapes, int w, int h, FillRule rule = FillRule::kNonZero,
                               bool antialias = true) {
  std::vector<uint8_t> mask((size_t)w * h, 0x5A);
  qvr::RasterizeCoverage(shapes, rule, antialias, mask.data(), w, h, w, 0, 0);
  return mask;
}

TEST(PathRasterizer, CoverageOfEdgesAreasAndFillRules) {
  std::vector<uint8_t> m = Rasterize({Box(2, 3, 6, 7)}, 10, 10);
  for (int y = 0; y < 10; y++)
    for (int x = 0; x < 10; x++)
      EXPECT_EQ(m[y * 10 + x], (x >= 2 && x < 6 && y >= 3 && y < 7) ? 255 : 0) << x << "," << y;

  /* A quarter of pixel (1, 1), half of (2, 1), all of (2, 2). */
  m = Rasterize({Box(1.5, 1.5, 3, 3)}, 4, 4);
  EXPECT_EQ((std::vector<int>{m[1 * 4 + 1], m[1 * 4 + 2], m[2 * 4 + 2]}), (std::vector<int>{64, 128, 255}));

  /* A right triangle of area 32: the coverage sums to its area. */
  m = Rasterize({{{0, 0}, {8, 0}, {0, 8}}}, 8, 8);
  double sum = 0;
  for (uint8_t v : m) sum += v / 255.0;
  EXPECT_NEAR(sum, 32, 0.3);

  /* Two overlapping squares turned the same way: non-zero fills the overlap, even-odd not. */
  std::vector<Polygon> two = {Box(0, 0, 4, 4), Box(2, 2, 6, 6)};
  EXPECT_EQ(Rasterize(two, 6, 6, FillRule::kNonZero)[3 * 6 + 3], 255);
  EXPECT_EQ(Rasterize(two, 6, 6, FillRule::kEvenOdd)[3 * 6 + 3], 0);
  EXPECT_EQ(Rasterize(two, 6, 6, FillRule::kEvenOdd)[1 * 6 + 1], 255);

  /* Aliased: a pixel is in when its centre is. */
  EXPECT_EQ(Rasterize({Box(0.4, 0, 1.6, 1)}, 3, 1, FillRule::kNonZero, false), (std::vector<uint8_t>{255, 255, 0}));

  /* A stroke of width 2 along y = 5 from x = 1 to 9, butt ends: rows 4 and 5 only. */
  qvr::FlatPath line;
  line.MoveTo(1, 5);
  line.LineTo(9, 5);
  std::vector<Polygon> outline;
  qvr::StrokeOutline(line, qvr::StrokeStyle{2, qvr::LineCap::kButt, qvr::LineJoin::kMiter, 10}, &outline);
  m = Rasterize(outline, 10, 10);
  for (int y = 0; y < 10; y++) EXPECT_EQ(m[y * 10 + 5], y == 4 || y == 5 ? 255 : 0) << "row " << y;
  EXPECT_EQ(m[5 * 10 + 0], 0);
}

double RandomCoordinate(std::mt19937& random) {
  switch (random() % 10) {
    case 0: return NAN;
    case 1: return (random() & 1) ? INFINITY : -INFINITY;
    case 2: return ((random() & 1) ? 1 : -1) * pow(10.0, (double)(random() % 309));
    case 3: return 0;
    default: return std::uniform_real_distribution<double>(-20, 60)(random);
  }
}

TEST(PathRasterizer, RandomPathsNeverCrashNorWriteOutsideTheMask) {
  std::mt19937 random(20261123);
  const int w = 37, h = 23, stride = 41, guardRows = 2;
  std::vector<uint8_t> memory((size_t)stride * (h + 2 * guardRows));
  for (int round = 0; round < 3000; round++) {
    SCOPED_TRACE(round);
    qvr::FlatPath path;
    int contours = random() % 4;
    for (int c = 0; c < contours; c++) {
      path.MoveTo(RandomCoordinate(random), RandomCoordinate(random));
      int pieces = random() % 7;
      for (int i = 0; i < pieces; i++) {
        if (random() % 4 == 0)
          path.CurveTo(RandomCoordinate(random), RandomCoordinate(random), RandomCoordinate(random),
                       RandomCoordinate(random), RandomCoordinate(random), RandomCoordinate(random));
        else
          path.LineTo(RandomCoordinate(random), RandomCoordinate(random));
      }
      if (random() & 1) path.Close();
    }
    std::vector<Polygon> shapes = path.Polygons();
    if (random() & 1) {
      qvr::StrokeStyle style{RandomCoordinate(random), (qvr::LineCap)(random() % 3), (qvr::LineJoin)(random() % 3),
                             (double)(random() % 12)};
      shapes.clear();
      qvr::StrokeOutline(path, style, &shapes);
    }
    std::fill(memory.begin(), memory.end(), 0xA5);
    uint8_t* mask = memory.data() + (size_t)stride * guardRows;
    qvr::RasterizeCoverage(shapes, (random() & 1) ? FillRule::kEvenOdd : FillRule::kNonZero, random() % 3 != 0, mask,
                           w, h, stride, RandomCoordinate(random) * 0.1, 0);
    for (size_t i = 0; i < memory.size(); i++) {
      long offset = (long)i - (long)stride * guardRows;
      bool inside = offset >= 0 && offset < (long)stride * h && offset % stride < w;
      if (!inside) {
        ASSERT_EQ(memory[i], 0xA5) << "byte " << i << " lies outside the mask";
      }
    }
  }
}

}  // namespace
