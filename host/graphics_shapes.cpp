// The Graphics members that draw lines and shapes in the DrawingColor: DrawLine, DrawRect,
// FillOval, DrawOval, FillRoundRect, DrawRoundRect (also by their later names DrawRectangle,
// FillRoundRectangle, DrawRoundRectangle), FillPolygon and DrawPolygon (points as
// x, y pairs from element 1 on; element 0 is not a coordinate), with the pen of PenWidth and
// PenHeight (PenSize sets both). Coordinates are the host's, top-left origin and y down,
// in pixels; the pen hangs below and to the right of the points it is drawn through, so a
// line from (0, 0) to (9, 0) with a one-pixel pen fills exactly the top row's first ten
// pixels, and an outline lies inside its rectangle. Drawn through the picture's Core
// Graphics context (either storage has one), antialiased as the platform draws.
#include "native_members.h"
#include "picture_storage.h"

#include <CoreGraphics/CoreGraphics.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

namespace host {

namespace {

// A cubic Bezier's control distance for a quarter of a circle.
constexpr double kQuarterArc = 0.5522847498307936;

// Opens drawing in host coordinates with the picture's colour as fill and stroke; the
// caller closes it with CGContextRestoreGState.
CGContextRef beginDrawing(PictureData* picture) {
  CGContextRef c = picture->context;
  CGContextSaveGState(c);
  CGContextConcatCTM(c, CGAffineTransformMake(1, 0, 0, -1, 0, double(picture->height)));
  useDrawingColor(picture, true);
  return c;
}

// Fills the closed polygon through the corners, in the coordinates drawing was opened in.
void fillCorners(CGContextRef c, const std::vector<CGPoint>& corners) {
  CGContextBeginPath(c);
  CGContextMoveToPoint(c, corners[0].x, corners[0].y);
  for (size_t i = 1; i < corners.size(); ++i) CGContextAddLineToPoint(c, corners[i].x, corners[i].y);
  CGContextClosePath(c);
  CGContextFillPath(c);
}

// A rectangle with corners rounded by radii rx and ry, as a closed path.
void addRoundRect(CGContextRef c, double x, double y, double w, double h, double rx, double ry) {
  rx = std::clamp(rx, 0.0, w / 2);
  ry = std::clamp(ry, 0.0, h / 2);
  const double kx = rx * kQuarterArc, ky = ry * kQuarterArc;
  CGContextMoveToPoint(c, x + rx, y);
  CGContextAddLineToPoint(c, x + w - rx, y);
  CGContextAddCurveToPoint(c, x + w - rx + kx, y, x + w, y + ry - ky, x + w, y + ry);
  CGContextAddLineToPoint(c, x + w, y + h - ry);
  CGContextAddCurveToPoint(c, x + w, y + h - ry + ky, x + w - rx + kx, y + h, x + w - rx, y + h);
  CGContextAddLineToPoint(c, x + rx, y + h);
  CGContextAddCurveToPoint(c, x + rx - kx, y + h, x, y + h - ry + ky, x, y + h - ry);
  CGContextAddLineToPoint(c, x, y + ry);
  CGContextAddCurveToPoint(c, x, y + ry - ky, x + rx - kx, y, x + rx, y);
  CGContextClosePath(c);
}

enum class Shape { kRect, kOval, kRoundRect };

// Fills a shape, or strokes its outline inside the rectangle with the pen.
void drawShape(PictureData* picture, Shape shape, bool fill, double x, double y, double w, double h, double arcW = 0,
               double arcH = 0) {
  if (w <= 0 || h <= 0) return;
  CGContextRef c = beginDrawing(picture);
  const double pen = double(std::max(picture->penWidth, picture->penHeight));
  // An outline whose pen would meet itself is the filled shape.
  if (!fill && (2 * pen >= w || 2 * pen >= h)) fill = true;
  const double inset = fill ? 0 : pen / 2;
  x += inset;
  y += inset;
  w -= 2 * inset;
  h -= 2 * inset;
  CGContextBeginPath(c);
  switch (shape) {
    case Shape::kRect: CGContextAddRect(c, CGRectMake(x, y, w, h)); break;
    case Shape::kOval: CGContextAddEllipseInRect(c, CGRectMake(x, y, w, h)); break;
    case Shape::kRoundRect: addRoundRect(c, x, y, w, h, arcW / 2 - inset, arcH / 2 - inset); break;
  }
  if (fill) {
    CGContextFillPath(c);
  } else {
    CGContextSetLineWidth(c, pen);
    CGContextStrokePath(c);
  }
  CGContextRestoreGState(c);
}

// A line is the area a PenWidth x PenHeight rectangle covers as its top-left corner moves
// from the first point to the second: the convex hull of the pen at both ends.
void drawLine(PictureData* picture, double x1, double y1, double x2, double y2) {
  const double pw = double(picture->penWidth), ph = double(picture->penHeight);
  std::vector<CGPoint> corners;
  for (const CGPoint& end : {CGPointMake(x1, y1), CGPointMake(x2, y2)})
    for (const CGPoint& offset : {CGPointMake(0, 0), CGPointMake(pw, 0), CGPointMake(pw, ph), CGPointMake(0, ph)})
      corners.push_back(CGPointMake(end.x + offset.x, end.y + offset.y));
  // Andrew's monotone chain.
  std::sort(corners.begin(), corners.end(),
            [](const CGPoint& a, const CGPoint& b) { return a.x < b.x || (a.x == b.x && a.y < b.y); });
  auto turn = [](const CGPoint& o, const CGPoint& a, const CGPoint& b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
  };
  std::vector<CGPoint> hull(2 * corners.size());
  size_t k = 0;
  for (size_t i = 0; i < corners.size(); ++i) {
    while (k >= 2 && turn(hull[k - 2], hull[k - 1], corners[i]) <= 0) --k;
    hull[k++] = corners[i];
  }
  for (size_t i = corners.size() - 1, lower = k + 1; i-- > 0;) {
    while (k >= lower && turn(hull[k - 2], hull[k - 1], corners[i]) <= 0) --k;
    hull[k++] = corners[i];
  }
  hull.resize(k - 1);
  CGContextRef c = beginDrawing(picture);
  fillCorners(c, hull);
  CGContextRestoreGState(c);
}

// A polygon's corners from a points array: x and y pairs from element 1 on.
std::vector<CGPoint> polygonCorners(Runtime& runtime, const Value& array, bool integers) {
  std::vector<CGPoint> corners;
  if (array.isNil()) return corners;
  const std::vector<Value> values = runtime.arrayElements(array);
  for (size_t i = 1; i + 1 < values.size(); i += 2) {
    const double x = integers ? double(values[i].integer) : values[i].real;
    const double y = integers ? double(values[i + 1].integer) : values[i + 1].real;
    if (!std::isfinite(x) || !std::isfinite(y)) return {};
    corners.push_back(CGPointMake(x, y));
  }
  return corners;
}

// Fills the polygon, or draws its edges (the last corner back to the first) with the pen.
void drawPolygon(PictureData* picture, const std::vector<CGPoint>& corners, bool fill) {
  if (corners.empty()) return;
  if (!fill) {
    for (size_t i = 0; i < corners.size(); ++i) {
      const CGPoint& a = corners[i];
      const CGPoint& b = corners[(i + 1) % corners.size()];
      drawLine(picture, a.x, a.y, b.x, b.y);
    }
    return;
  }
  CGContextRef c = beginDrawing(picture);
  fillCorners(c, corners);
  CGContextRestoreGState(c);
}

}  // namespace

void addGraphicsShapes(ClassInfo* cls) {
  addNativeMethod(cls, "DrawLine(x1 as Double, y1 as Double, x2 as Double, y2 as Double)",
                  [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    PictureData* picture = graphicsPicture(runtime, self, cls, "DrawLine");
                    if (picture && finiteArguments(args, 0, 4))
                      drawLine(picture, args[0].real, args[1].real, args[2].real, args[3].real);
                    return Value::nil();
                  });
  // Each shape under its name and its later name (DrawRectangle for DrawRect).
  static const struct {
    const char* names[2];
    Shape shape;
    bool fill;
  } kShapes[] = {
      {{"DrawRect", "DrawRectangle"}, Shape::kRect, false},
      {{"FillOval", nullptr}, Shape::kOval, true},
      {{"DrawOval", nullptr}, Shape::kOval, false},
      {{"FillRoundRect", "FillRoundRectangle"}, Shape::kRoundRect, true},
      {{"DrawRoundRect", "DrawRoundRectangle"}, Shape::kRoundRect, false},
  };
  for (const auto& s : kShapes)
    for (const char* name : s.names) {
      if (!name) continue;
      const bool round = s.shape == Shape::kRoundRect;
      const std::string declaration = std::string(name) + "(x as Double, y as Double, width as Double, height as Double" +
                                      (round ? ", arcWidth as Double, arcHeight as Double)" : ")");
      auto draw = [cls, s, name, round](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        PictureData* picture = graphicsPicture(runtime, self, cls, name);
        if (picture && finiteArguments(args, 0, round ? 6 : 4))
          drawShape(picture, s.shape, s.fill, args[0].real, args[1].real, args[2].real, args[3].real,
                    round ? args[4].real : 0, round ? args[5].real : 0);
        return Value::nil();
      };
      addNativeMethod(cls, declaration.c_str(), draw);
    }
  for (const bool fill : {true, false})
    for (const bool integers : {true, false}) {
      const char* name = fill ? "FillPolygon" : "DrawPolygon";
      const std::string declaration = std::string(name) + (integers ? "(points() as Integer)" : "(points() as Double)");
      addNativeMethod(cls, declaration.c_str(),
                      [cls, name, fill, integers](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                        if (PictureData* picture = graphicsPicture(runtime, self, cls, name))
                          drawPolygon(picture, polygonCorners(runtime, args.at(0), integers), fill);
                        return Value::nil();
                      });
    }
  // The pen: PenWidth and PenHeight, at least one pixel; PenSize sets both (and reads PenWidth).
  static const struct {
    const char* name;
    bool width, height;
  } kPens[] = {{"PenWidth", true, false}, {"PenHeight", false, true}, {"PenSize", true, true}};
  for (const auto& pen : kPens)
    addNativeProperty(
        cls, pen.name, "Integer",
        [cls, pen](Runtime& runtime, const Value& self, std::vector<Value>&) {
          PictureData* picture = graphicsPicture(runtime, self, cls, pen.name);
          return Value::ofInteger(!picture ? 0 : pen.width ? picture->penWidth : picture->penHeight);
        },
        [cls, pen](Runtime& runtime, const Value& self, std::vector<Value>& args) {
          PictureData* picture = graphicsPicture(runtime, self, cls, pen.name);
          if (!picture) return Value::nil();
          const int64_t size = std::clamp<int64_t>(args.at(0).integer, 1, 32767);
          if (pen.width) picture->penWidth = size;
          if (pen.height) picture->penHeight = size;
          return Value::nil();
        });
}

}  // namespace host
