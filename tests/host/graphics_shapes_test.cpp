// Graphics lines and shapes checked by their pixels as maps ('#' the drawing colour, '.'
// the white background, '+' an antialiased edge, '?' anything), alike in a desktop
// picture and in a console application's row buffer.
#include "host_fixture.h"

#include <cmath>
#include <string>
#include <vector>

using host::Value;

namespace {

struct Drawing {
  const char* member;
  std::vector<double> args;
  int penWidth, penHeight;
  const char* map;  // rows of a 10 x 8 picture, top row first
};

const Drawing kDrawings[] = {
    {"DrawLine", {0, 0, 9, 0}, 1, 1, "##########" ".........." ".........." ".........." ".........." ".........." ".........." ".........."},
    {"DrawLine", {2, 1, 2, 5}, 3, 1, ".........." "..###....." "..###....." "..###....." "..###....." "..###....." ".........." ".........."},
    {"DrawLine", {0, 7, 9, 0}, 1, 1, ".??????++#" "......++++" ".....++++." "...+++++.." "..+++++..." ".++++....." "++++......" "#++??????."},
    {"DrawRect", {1, 1, 8, 6}, 2, 2, ".........." ".########." ".########." ".##....##." ".##....##." ".########." ".########." ".........."},
    {"DrawRect", {0, 0, 4, 3}, 2, 2, "####......" "####......" "####......" ".........." ".........." ".........." ".........." ".........."},
    {"FillOval", {0, 0, 10, 8}, 1, 1, ".++++++++." "++######++" "+########+" "+########+" "+########+" "+########+" "++######++" ".++++++++."},
    {"DrawOval", {0, 0, 10, 8}, 1, 1, ".++++++++." "++++++++++" "+++....+++" "++......++" "++......++" "+++....+++" "++++++++++" ".++++++++."},
    {"FillRoundRect", {0, 0, 10, 8, 4, 4}, 1, 1, "++######++" "+########+" "##########" "##########" "##########" "##########" "+########+" "++######++"},
    {"DrawRoundRect", {0, 0, 10, 8, 4, 4}, 1, 1, "++######++" "++......++" "#........#" "#........#" "#........#" "#........#" "++......++" "++######++"},
    // The later names draw as the earlier ones do.
    {"DrawRectangle", {0, 0, 4, 3}, 2, 2, "####......" "####......" "####......" ".........." ".........." ".........." ".........." ".........."},
    {"FillRectangle", {1, 1, 3, 2}, 1, 1, ".........." ".###......" ".###......" ".........." ".........." ".........." ".........." ".........."},
    {"DrawRoundRectangle", {0, 0, 10, 8, 4, 4}, 1, 1, "++######++" "++......++" "#........#" "#........#" "#........#" "#........#" "++......++" "++######++"},
    {"FillOval", {0, 0, 0, 8}, 1, 1, ".........." ".........." ".........." ".........." ".........." ".........." ".........." ".........."},
};

class GraphicsShapesTest : public HostTest, public ::testing::WithParamInterface<host::AppKind> {
 protected:
  std::string map(const Value& picture) {
    std::string out;
    Value surface = rt().get(picture, "RGBSurface");
    for (int y = 0; y < 8; ++y)
      for (int x = 0; x < 10; ++x) {
        const int64_t c = rt().call(surface, "Pixel", {integer(x), integer(y)}).integer;
        out += c == 0xFFFFFF ? '.' : c == 0 ? '#' : '+';
      }
    return out;
  }
};

}  // namespace

TEST_P(GraphicsShapesTest, ShapesLandOnThePixelsTheHostDrawsWithThePenAndColourAndOddArguments) {
  host::Options options;
  options.kind = GetParam();
  load(options);
  for (const Drawing& d : kDrawings) {
    Value p = rt().newInstance("Picture", {integer(10), integer(8), integer(32)});
    Value g = rt().get(p, "Graphics");
    rt().set(g, "PenWidth", integer(d.penWidth));
    rt().set(g, "PenHeight", integer(d.penHeight));
    std::vector<Value> args;
    for (double a : d.args) args.push_back(Value::ofDouble(a));
    rt().call(g, d.member, args);
    const std::string got = map(p), want = d.map;
    for (size_t i = 0; i < want.size(); ++i)
      if (want[i] != '?' && want[i] != got[i]) {
        ADD_FAILURE() << d.member << " with pen " << d.penWidth << "x" << d.penHeight << " at (" << i % 10 << ", "
                      << i / 10 << "): got\n"
                      << got;
        break;
      }
  }
  // The pen size, the colour, and arguments far outside the picture or not numbers at all.
  Value p = rt().newInstance("Picture", {integer(10), integer(8), integer(32)});
  Value g = rt().get(p, "Graphics");
  rt().set(g, "PenSize", integer(3));
  EXPECT_EQ(rt().get(g, "PenWidth").integer, 3);
  EXPECT_EQ(rt().get(g, "PenHeight").integer, 3);
  rt().set(g, "PenSize", integer(0));  // at least one pixel
  EXPECT_EQ(rt().get(g, "PenSize").integer, 1);
  rt().set(g, "DrawingColor", Value::ofColor(0x0000FF));
  rt().call(g, "DrawLine", {Value::ofDouble(-50), Value::ofDouble(3), Value::ofDouble(50), Value::ofDouble(3)});
  const double nan = std::nan("");
  rt().call(g, "FillOval", {Value::ofDouble(nan), Value::ofDouble(0), Value::ofDouble(1e300), Value::ofDouble(8)});
  Value surface = rt().get(p, "RGBSurface");
  for (int x : {0, 9}) EXPECT_EQ(rt().call(surface, "Pixel", {integer(x), integer(3)}).integer, 0x0000FF);
  EXPECT_EQ(rt().call(surface, "Pixel", {integer(5), integer(4)}).integer, 0xFFFFFF);
}

INSTANTIATE_TEST_SUITE_P(Storages, GraphicsShapesTest, ::testing::Values(host::AppKind::Desktop, host::AppKind::Console),
                         [](const auto& info) { return info.param == host::AppKind::Desktop ? "Desktop" : "Console"; });
