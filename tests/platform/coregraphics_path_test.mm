/* The current path of a bitmap context, filled and stroked, checked by the alpha it leaves
   in an alpha-only context (rows top first): the fill rules, stroke widths, caps and the
   convenience calls, and a path that is emptied by painting it. */
#import "drawing_pixels.h"

#include <functional>
#include <string>

namespace {

class ContextPath : public PoolTest {};

struct PathCase {
  const char* name;
  std::function<void(CGContextRef)> draw;
  const char* map; /* 8 x 6, top row first: '#' full, '.' empty, '+' partial, '?' anything */
};

TEST_F(ContextPath, PathsPaintTheirArea) {
  /* A rectangle with a smaller one inside it, turned the same way. */
  static const auto nested = [](CGContextRef c) {
    CGContextAddRect(c, CGRectMake(0, 0, 8, 6));
    CGContextAddRect(c, CGRectMake(2, 2, 4, 2));
  };
  const PathCase cases[] = {
      {"even-odd leaves the inner square empty", [](CGContextRef c) { nested(c), CGContextEOFillPath(c); },
       "########" "########" "##....##" "##....##" "########" "########"},
      {"non-zero fills it", [](CGContextRef c) { nested(c), CGContextFillPath(c); },
       "########" "########" "########" "########" "########" "########"},
      {"a triangle of whole-pixel corners is not its bounding box",
       [](CGContextRef c) {
         CGContextMoveToPoint(c, 0, 0);
         CGContextAddLineToPoint(c, 8, 0);
         CGContextAddLineToPoint(c, 0, 6);
         CGContextClosePath(c);
         CGContextFillPath(c);
       },
       "++......" "#++....." "##++...." "####++.." "#####++." "######++"},
      {"a two-unit stroke centred on its rectangle's edges",
       [](CGContextRef c) { CGContextStrokeRectWithWidth(c, CGRectMake(1, 1, 6, 4), 2); },
       "########" "########" "##....##" "##....##" "########" "########"},
      {"butt and square caps",
       [](CGContextRef c) {
         CGContextSetLineWidth(c, 2);
         const CGPoint butt[] = {CGPointMake(2, 5), CGPointMake(6, 5)};
         CGContextStrokeLineSegments(c, butt, 2);
         CGContextSetLineCap(c, kCGLineCapSquare);
         const CGPoint square[] = {CGPointMake(2, 1), CGPointMake(6, 1)};
         CGContextStrokeLineSegments(c, square, 2);
       },
       "..####.." "..####.." "........" "........" ".######." ".######."},
      {"an ellipse: its middle full, its corners empty",
       [](CGContextRef c) { CGContextFillEllipseInRect(c, CGRectMake(0, 0, 8, 6)); },
       ".??????." "????????" "?######?" "?######?" "????????" ".??????."},
      {"a stroked ellipse is hollow",
       [](CGContextRef c) { CGContextStrokeEllipseInRect(c, CGRectMake(1, 1, 6, 4)); },
       "????????" "????????" "???..???" "???..???" "????????" "????????"},
      {"a line needs a current point; an empty path paints nothing",
       [](CGContextRef c) {
         CGContextAddLineToPoint(c, 8, 6);
         CGContextSetLineWidth(c, 4);
         CGContextStrokePath(c);
         CGContextFillPath(c);
       },
       "........" "........" "........" "........" "........" "........"},
  };
  for (const PathCase& pc : cases) {
    SCOPED_TRACE(pc.name);
    std::vector<uint8_t> alpha(8 * 6, 0);
    CGContextRef c = Pooled(CGBitmapContextCreate(alpha.data(), 8, 6, 8, 8, NULL, kCGImageAlphaOnly));
    ASSERT_TRUE(c != NULL);
    pc.draw(c);
    EXPECT_TRUE(CGContextIsPathEmpty(c));
    std::string got;
    for (uint8_t a : alpha) got += a == 255 ? '#' : a == 0 ? '.' : '+';
    for (size_t i = 0; i < got.size(); i++)
      if (pc.map[i] != '?' && pc.map[i] != got[i]) {
        ADD_FAILURE() << "at (" << i % 8 << ", " << i / 8 << "): " << got;
        break;
      }
  }
}

TEST_F(ContextPath, TheStrokeColourAndWidthAreStateSavedAndRestored) {
  uint32_t pixels[4 * 4] = {0};
  CGColorSpaceRef space = Pooled(CGColorSpaceCreateDeviceRGB());
  CGContextRef c = Pooled(CGBitmapContextCreate(pixels, 4, 4, 8, 16, space,
                                                kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Little));
  CGContextSetRGBFillColor(c, 1, 0, 0, 1);
  CGContextSaveGState(c);
  CGContextSetGrayStrokeColor(c, 0, 1);
  CGContextSetLineWidth(c, 8);
  CGContextRestoreGState(c);
  CGContextStrokeRect(c, CGRectMake(0, 0, 4, 4));  // one unit, black, centred on the edges
  EXPECT_EQ(pixels[1], 0x80000000u);               // half of an edge pixel, black
  EXPECT_EQ(pixels[5], 0u);                        // inside: untouched
  CGContextMoveToPoint(c, 0, 0);
  EXPECT_FALSE(CGContextIsPathEmpty(c));
  CGContextBeginPath(c);
  EXPECT_TRUE(CGContextIsPathEmpty(c));
}

}  // namespace
