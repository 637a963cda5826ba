// Picture, Graphics and RGBSurface, checked by their pixels: transparent and white new
// pictures, FillRect and ClearRect in the host's top-left coordinates, DrawPicture with
// scaling, source rectangles and masks, and the Core Graphics context handed out by
// Graphics.Handle, drawn into through the platform and read back through RGBSurface.
#include "host_fixture.h"

#include <CoreGraphics/CoreGraphics.h>

using host::Value;

namespace {

class PictureTest : public HostTest {
 protected:
  static constexpr const char* kDrawPicture =
      "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = 0, "
      "sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";
  Value picture(int64_t w, int64_t h, int64_t depth = 0) {
    return depth ? rt().newInstance("Picture", {integer(w), integer(h), integer(depth)})
                 : rt().newInstance("Picture", {integer(w), integer(h)});
  }
  uint32_t pixel(const Value& p, int64_t x, int64_t y) {
    return uint32_t(rt().call(rt().get(p, "RGBSurface"), "Pixel", {integer(x), integer(y)}).integer);
  }
  // What REALLockPictureDescription and lockPictureDescription fill in.
  struct Description { int32_t type, unused; void* data; int32_t width, height; };
  void fill(const Value& p, uint32_t color, double x, double y, double w, double h) {
    Value g = rt().get(p, "Graphics");
    rt().set(g, "DrawingColor", Value::ofColor(color));
    rt().call(g, "FillRect", {Value::ofDouble(x), Value::ofDouble(y), Value::ofDouble(w), Value::ofDouble(h)});
  }
};

}  // namespace

TEST_F(PictureTest, GraphicsDrawPictureMasksAndCGContextsDrawWhereTheHostExpects) {
  load();
  Value p = picture(4, 3);
  EXPECT_TRUE(rt().get(p, "HasAlphaChannel").boolean);
  EXPECT_EQ(pixel(p, 2, 1), 0xFF000000u);  // transparent
  fill(p, 0x00FF0000, 1, 0, 2, 1);         // opaque red across the top row
  EXPECT_EQ(std::tuple(pixel(p, 1, 0), pixel(p, 2, 0), pixel(p, 3, 0), pixel(p, 1, 1)),
            std::tuple(0xFF0000u, 0xFF0000u, 0xFF000000u, 0xFF000000u));
  // The drawing colour is the picture's: a second Graphics sees it.
  EXPECT_EQ(rt().get(rt().get(p, "Graphics"), "ForeColor").integer, 0x00FF0000);
  Value surface = rt().get(p, "RGBSurface");
  rt().assign(surface, "Pixel", {integer(0), integer(2)}, Value::ofColor(0x800000FF));  // half-transparent blue
  uint32_t half = pixel(p, 0, 2);
  EXPECT_EQ(half & 0xFF, 0xFFu);
  EXPECT_NEAR(double(half >> 24), 128, 1);
  rt().call(rt().get(p, "Graphics"), "ClearRect", {Value::ofDouble(0), Value::ofDouble(0), Value::ofDouble(4), Value::ofDouble(1)});
  EXPECT_EQ(pixel(p, 1, 0), 0xFF000000u);
  EXPECT_THROW(pixel(p, 4, 0), host::HostException);
  EXPECT_THROW(rt().call(p, "Mask"), host::HostException);  // alpha pictures have no mask

  Value white = picture(2, 2, 32);
  EXPECT_FALSE(rt().get(white, "HasAlphaChannel").boolean);
  EXPECT_EQ(pixel(white, 1, 1), 0x00FFFFFFu);
  EXPECT_THROW(picture(0, 5), host::HostException);
  EXPECT_THROW(picture(2, 2, 7), host::HostException);
  Value source = picture(2, 2, 32);
  fill(source, 0x0000FF00, 0, 0, 1, 2);  // left column green, right column white
  Value mask = rt().call(source, "Mask");
  EXPECT_EQ(pixel(mask, 0, 0), 0u);  // a new mask is black: opaque
  fill(mask, 0x00FFFFFF, 0, 1, 2, 1);  // bottom row clear

  Value target = picture(4, 4);
  Value g = rt().get(target, "Graphics");
  rt().call(g, "DrawPicture", {source, Value::ofDouble(0), Value::ofDouble(0), Value::ofDouble(4), Value::ofDouble(4)});
  EXPECT_EQ(std::tuple(pixel(target, 0, 0), pixel(target, 3, 0), pixel(target, 0, 3)),
            std::tuple(0x00FF00u, 0xFFFFFFu, 0xFF000000u)) << "green, white, masked away";
  // A source rectangle: only the right column, drawn 1:1 at (3, 0).
  Value other = picture(4, 4);
  rt().call(rt().get(other, "Graphics"), "DrawPicture",
            {source, Value::ofDouble(3), Value::ofDouble(0), Value::ofDouble(1), Value::ofDouble(1), Value::ofDouble(1),
             Value::ofDouble(0), Value::ofDouble(1), Value::ofDouble(1)});
  EXPECT_EQ(std::pair(pixel(other, 3, 0), pixel(other, 2, 0)), std::pair(0x00FFFFFFu, 0xFF000000u));
  EXPECT_THROW(rt().call(g, "DrawPicture", {Value::nil(), Value::ofDouble(0), Value::ofDouble(0)}), host::HostException);
  // The Core Graphics context handed over by Graphics.Handle draws into the picture.
  p = picture(5, 4);
  g = rt().get(p, "Graphics");
  Value type = rt().constant("Graphics", "HandleTypeCGContextRef");
  auto context = reinterpret_cast<CGContextRef>(static_cast<intptr_t>(rt().call(g, "Handle", {type}).integer));
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(std::pair(CGBitmapContextGetWidth(context), CGBitmapContextGetAlphaInfo(context)),
            std::pair(size_t(5), uint32_t(kCGImageAlphaPremultipliedFirst)));
  // Core Graphics' origin is the bottom-left corner: (0, 0, 2, 1) is the host's bottom row.
  CGContextSetRGBFillColor(context, 0, 0, 1, 1);
  CGContextFillRect(context, CGRectMake(0, 0, 2, 1));
  EXPECT_EQ(std::tuple(pixel(p, 0, 3), pixel(p, 1, 3), pixel(p, 0, 0)), std::tuple(0x0000FFu, 0x0000FFu, 0xFF000000u));
  // And host drawing shows in the context's memory: A R G B bytes, row 0 on top.
  fill(p, 0x00112233, 4, 0, 1, 1);
  auto* bytes = static_cast<unsigned char*>(CGBitmapContextGetData(context)) + 4 * 4;
  EXPECT_EQ(std::tuple(bytes[0], bytes[1], bytes[3]), std::tuple(0xFF, 0x11, 0x33)) << "A, R and B";
  EXPECT_THROW(rt().call(g, "Handle", {integer(99)}), host::HostException);
}

TEST_F(PictureTest, PluginsReachPicturesThroughEntryPointsAndBuildThemFromBuffers) {
  load();
  auto newPicture = entry<host::ObjectHeader* (*)(int32_t, int32_t, int32_t)>("newPicture");
  auto lock = entry<bool (*)(host::ObjectHeader*, void*, uint32_t)>("REALLockPictureDescription");
  auto mask = entry<host::ObjectHeader* (*)(host::ObjectHeader*, bool)>("REALGetPictureMask");
  auto graphics = entry<host::ObjectHeader* (*)(host::ObjectHeader*)>("pluginPictureGraphicsGetter");
  auto copyImage = entry<CGImageRef (*)(host::ObjectHeader*)>("REALCopyPictureCGImage");
  Value alpha = Value::ofObject(host::ObjectRef::adopt(newPicture(3, 2, 0)));
  Value plain = Value::ofObject(host::ObjectRef::adopt(newPicture(3, 2, 32)));
  EXPECT_EQ(newPicture(0, 2, 32), nullptr);
  EXPECT_FALSE(rt().exceptionPending());
  EXPECT_TRUE(rt().get(alpha, "HasAlphaChannel").boolean);
  EXPECT_EQ(alpha.object.get()->refCount, 1);

  Description description{};
  ASSERT_TRUE(lock(plain.object.get(), &description, 8));
  EXPECT_EQ(std::pair(description.type, description.width), std::pair(8, 3));
  EXPECT_EQ(CGBitmapContextGetAlphaInfo(static_cast<CGContextRef>(description.data)), kCGImageAlphaNoneSkipFirst);
  EXPECT_FALSE(lock(plain.object.get(), &description, 10));

  EXPECT_EQ(mask(alpha.object.get(), true), nullptr);
  EXPECT_EQ(mask(plain.object.get(), false), nullptr);
  Value made = Value::ofObject(host::ObjectRef::adopt(mask(plain.object.get(), true)));
  ASSERT_TRUE(made.object);
  EXPECT_EQ(made.object.get(), rt().call(plain, "Mask").object.get());
  fill(made, 0x00FFFFFF, 0, 0, 1, 2);  // the left column clear
  CGImageRef image = copyImage(plain.object.get());
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(CGImageGetWidth(image), 3u);
  Value target = picture(3, 2);
  Value g = Value::ofObject(host::ObjectRef::adopt(graphics(target.object.get())));
  auto targetContext = reinterpret_cast<CGContextRef>(
      static_cast<intptr_t>(rt().call(g, "Handle", {rt().constant("Graphics", "HandleTypeCGContextRef")}).integer));
  CGContextDrawImage(targetContext, CGRectMake(0, 0, 3, 2), image);
  CGImageRelease(image);
  EXPECT_EQ(std::pair(pixel(target, 0, 0), pixel(target, 2, 1)), std::pair(0xFF000000u, 0x00FFFFFFu));
  // Pictures from a plugin's buffer in each pixel type, and the DrawPicture plugins load by
  // its declaration (unless the knob hides it).
  auto build = entry<host::ObjectHeader* (*)(intptr_t, intptr_t, int32_t, const void*, intptr_t)>("REALBuildPictureFromBuffer");
  struct Case { int32_t type; std::string pixel; bool alpha; };  // pixel: the buffer's one pixel, opaque 0x102030
  for (const Case& c : {Case{1, std::string("\x10\x20\x30", 3), false}, Case{2, std::string("\x30\x20\x10", 3), false},
                        Case{3, std::string("\x00\x10\x20\x30", 4), false}, Case{4, std::string("\x30\x20\x10\x00", 4), false},
                        Case{5, std::string("\xFF\x10\x20\x30", 4), true}}) {
    std::string row = c.pixel + std::string(8, '\x7F');  // a pixel and padding
    std::string buffer = row + row;
    Value p = Value::ofObject(host::ObjectRef::adopt(build(1, 2, c.type, buffer.data(), intptr_t(row.size()))));
    ASSERT_FALSE(p.isNil()) << c.type;
    EXPECT_EQ(std::pair(pixel(p, 0, 0), pixel(p, 0, 1)), std::pair(0x102030u, 0x102030u)) << c.type;
    EXPECT_EQ(rt().get(p, "HasAlphaChannel").boolean, c.alpha) << c.type;
  }
  EXPECT_EQ(build(1, 1, 9, "abcd", 4), nullptr);
  EXPECT_EQ(build(2, 1, 3, "abcd", 4), nullptr) << "rows shorter than their pixels";

  auto load = entry<void* (*)(host::ObjectHeader*, const char*)>("REALLoadObjectMethod");
  Value source = picture(2, 2, 32);
  target = picture(4, 4, 32);
  fill(source, 0x00FF0000, 0, 0, 2, 2);
  g = rt().get(target, "Graphics");
  auto draw = reinterpret_cast<void (*)(host::ObjectHeader*, host::ObjectHeader*, intptr_t, intptr_t, intptr_t, intptr_t,
                                        intptr_t, intptr_t, intptr_t, intptr_t)>(load(g.object.get(), kDrawPicture));
  ASSERT_NE(draw, nullptr);
  draw(g.object.get(), source.object.get(), 1, 1, 2, 2, 0, 0, -10000, -10000);
  EXPECT_EQ(std::tuple(pixel(target, 1, 1), pixel(target, 2, 2), pixel(target, 3, 3)),
            std::tuple(0xFF0000u, 0xFF0000u, 0xFFFFFFu));
}

// Console and web applications keep every Picture in the host row buffer: Graphics,
// RGBSurface and Mask work as on desktop pictures, the type 10 description hands over
// the record and its row table, and the untyped lock a context on the same memory.
TEST_F(PictureTest, ConsolePicturesLiveInTheRowBuffer) {
  host::Options options;
  options.kind = host::AppKind::Console;
  load(options);
  auto lock = entry<bool (*)(host::ObjectHeader*, void*, uint32_t)>("REALLockPictureDescription");
  auto lockAny = entry<bool (*)(host::ObjectHeader*, void*)>("lockPictureDescription");
  auto unlock = entry<void (*)(host::ObjectHeader*)>("unlockPictureDescription");
  Value p = picture(3, 2);
  EXPECT_FALSE(rt().get(p, "HasAlphaChannel").boolean) << "row buffer pictures have no alpha channel";
  EXPECT_EQ(pixel(p, 2, 1), 0x00FFFFFFu);
  fill(p, 0x00112233, 1, 1, 2, 1);
  Value mask = rt().call(p, "Mask");
  fill(mask, 0x00FFFFFF, 2, 0, 1, 2);  // the right column clear
  Value target = picture(3, 2, 32);
  fill(target, 0x000000FF, 0, 0, 3, 2);
  rt().call(rt().get(target, "Graphics"), "DrawPicture", {p, Value::ofDouble(0), Value::ofDouble(0)});
  EXPECT_EQ(std::tuple(pixel(target, 1, 1), pixel(target, 0, 0), pixel(target, 2, 1)),
            std::tuple(0x112233u, 0xFFFFFFu, 0x0000FFu)) << "drawn, drawn, masked away";

  Description description{};
  EXPECT_FALSE(lock(p.object.get(), &description, 8));
  ASSERT_TRUE(lock(p.object.get(), &description, 10));
  EXPECT_EQ(std::tuple(description.type, description.width, description.height), std::tuple(10, 3, 2));
  auto* record = static_cast<uintptr_t*>(description.data);
  EXPECT_EQ(std::tuple(record[0], record[1], record[2]), std::tuple(0u, 3u, 2u)) << "the record's words 0 to 2";
  EXPECT_NE(record[1806], 0u);
  auto rows = reinterpret_cast<unsigned char**>(record[1807]);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(rows[1]) + 4, 3), "\x33\x22\x11") << "B, G, R";
  EXPECT_NE(rows[1] - rows[0], 12) << "rows are reached through the table";
  unlock(p.object.get());
  ASSERT_TRUE(lockAny(p.object.get(), &description));
  EXPECT_EQ(description.type, 8);
  auto context = reinterpret_cast<CGContextRef>(description.data);
  EXPECT_EQ(CGBitmapContextGetData(context), rows[0]);
  EXPECT_EQ(CGBitmapContextGetBitmapInfo(context), uint32_t(kCGImageAlphaNoneSkipFirst | kCGBitmapByteOrder32Little));
  unlock(p.object.get());
  host::PictureCounts counts = rt().pictureCounts(p);
  EXPECT_EQ(std::pair(counts.descriptionLocks, counts.descriptionUnlocks), std::pair(size_t(2), size_t(2)));
}

TEST_F(PictureTest, DrawPictureCanBeKeptFromPlugins) {
  host::Options options;
  options.drawPictureLoadable = false;
  load(options);
  auto load = entry<void* (*)(host::ObjectHeader*, const char*)>("REALLoadObjectMethod");
  EXPECT_EQ(load(rt().get(picture(2, 2), "Graphics").object.get(), kDrawPicture), nullptr);
}
