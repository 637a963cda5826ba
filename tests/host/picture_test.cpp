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
  Value picture(int64_t w, int64_t h, int64_t depth = 0) {
    return depth ? rt().newInstance("Picture", {integer(w), integer(h), integer(depth)})
                 : rt().newInstance("Picture", {integer(w), integer(h)});
  }
  uint32_t pixel(const Value& p, int64_t x, int64_t y) {
    return uint32_t(rt().call(rt().get(p, "RGBSurface"), "Pixel", {integer(x), integer(y)}).integer);
  }
  void fill(const Value& p, uint32_t color, double x, double y, double w, double h) {
    Value g = rt().get(p, "Graphics");
    rt().set(g, "DrawingColor", Value::ofColor(color));
    rt().call(g, "FillRect", {Value::ofDouble(x), Value::ofDouble(y), Value::ofDouble(w), Value::ofDouble(h)});
  }
};

}  // namespace

TEST_F(PictureTest, GraphicsDrawWhereTheHostExpects) {
  load();
  {
    Value p = picture(4, 3);
    EXPECT_TRUE(rt().get(p, "HasAlphaChannel").boolean);
    EXPECT_EQ(pixel(p, 2, 1), 0xFF000000u);  // transparent
    fill(p, 0x00FF0000, 1, 0, 2, 1);         // opaque red across the top row
    EXPECT_EQ(pixel(p, 1, 0), 0x00FF0000u);
    EXPECT_EQ(pixel(p, 2, 0), 0x00FF0000u);
    EXPECT_EQ(pixel(p, 3, 0), 0xFF000000u);
    EXPECT_EQ(pixel(p, 1, 1), 0xFF000000u);
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
  }
}

TEST_F(PictureTest, DrawPictureScalesClipsAndMasks) {
  load();
  {
    Value source = picture(2, 2, 32);
    fill(source, 0x0000FF00, 0, 0, 1, 2);  // left column green, right column white
    Value mask = rt().call(source, "Mask");
    EXPECT_EQ(pixel(mask, 0, 0), 0u);  // a new mask is black: opaque
    fill(mask, 0x00FFFFFF, 0, 1, 2, 1);  // bottom row clear

    Value target = picture(4, 4);
    Value g = rt().get(target, "Graphics");
    rt().call(g, "DrawPicture", {source, Value::ofDouble(0), Value::ofDouble(0), Value::ofDouble(4), Value::ofDouble(4)});
    EXPECT_EQ(pixel(target, 0, 0), 0x0000FF00u);
    EXPECT_EQ(pixel(target, 3, 0), 0x00FFFFFFu);
    EXPECT_EQ(pixel(target, 0, 3), 0xFF000000u);  // masked away
    // A source rectangle: only the right column, drawn 1:1 at (3, 0).
    Value other = picture(4, 4);
    rt().call(rt().get(other, "Graphics"), "DrawPicture",
              {source, Value::ofDouble(3), Value::ofDouble(0), Value::ofDouble(1), Value::ofDouble(1), Value::ofDouble(1),
               Value::ofDouble(0), Value::ofDouble(1), Value::ofDouble(1)});
    EXPECT_EQ(pixel(other, 3, 0), 0x00FFFFFFu);
    EXPECT_EQ(pixel(other, 2, 0), 0xFF000000u);
    EXPECT_THROW(rt().call(g, "DrawPicture", {Value::nil(), Value::ofDouble(0), Value::ofDouble(0)}), host::HostException);
  }
}

TEST_F(PictureTest, TheCGContextHandOverDrawsIntoThePicture) {
  load();
  {
    Value p = picture(5, 4);
    Value g = rt().get(p, "Graphics");
    Value type = rt().constant("Graphics", "HandleTypeCGContextRef");
    auto context = reinterpret_cast<CGContextRef>(static_cast<intptr_t>(rt().call(g, "Handle", {type}).integer));
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(CGBitmapContextGetWidth(context), 5u);
    EXPECT_EQ(CGBitmapContextGetAlphaInfo(context), kCGImageAlphaPremultipliedFirst);
    // Core Graphics' origin is the bottom-left corner: (0, 0, 2, 1) is the host's bottom row.
    CGContextSetRGBFillColor(context, 0, 0, 1, 1);
    CGContextFillRect(context, CGRectMake(0, 0, 2, 1));
    EXPECT_EQ(pixel(p, 0, 3), 0x000000FFu);
    EXPECT_EQ(pixel(p, 1, 3), 0x000000FFu);
    EXPECT_EQ(pixel(p, 0, 0), 0xFF000000u);
    // And host drawing shows in the context's memory: A R G B bytes, row 0 on top.
    fill(p, 0x00112233, 4, 0, 1, 1);
    auto* bytes = static_cast<unsigned char*>(CGBitmapContextGetData(context)) + 4 * 4;
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0x11);
    EXPECT_EQ(bytes[3], 0x33);
    EXPECT_THROW(rt().call(g, "Handle", {integer(99)}), host::HostException);
  }
}

TEST_F(PictureTest, PluginsReachPicturesThroughEntryPoints) {
  load();
  {
    auto newPicture = reinterpret_cast<host::ObjectHeader* (*)(int32_t, int32_t, int32_t)>(rt().entryPoint("newPicture"));
    auto lock = reinterpret_cast<bool (*)(host::ObjectHeader*, void*, uint32_t)>(rt().entryPoint("REALLockPictureDescription"));
    auto mask = reinterpret_cast<host::ObjectHeader* (*)(host::ObjectHeader*, bool)>(rt().entryPoint("REALGetPictureMask"));
    auto graphics = reinterpret_cast<host::ObjectHeader* (*)(host::ObjectHeader*)>(rt().entryPoint("pluginPictureGraphicsGetter"));
    auto copyImage = reinterpret_cast<CGImageRef (*)(host::ObjectHeader*)>(rt().entryPoint("REALCopyPictureCGImage"));
    Value alpha = Value::ofObject(host::ObjectRef::adopt(newPicture(3, 2, 0)));
    Value plain = Value::ofObject(host::ObjectRef::adopt(newPicture(3, 2, 32)));
    EXPECT_EQ(newPicture(0, 2, 32), nullptr);
    EXPECT_FALSE(rt().exceptionPending());
    EXPECT_TRUE(rt().get(alpha, "HasAlphaChannel").boolean);
    EXPECT_EQ(alpha.object.get()->refCount, 1);

    struct {
      int32_t type, unused;
      void* data;
      int32_t width, height;
    } description{};
    ASSERT_TRUE(lock(plain.object.get(), &description, 8));
    EXPECT_EQ(description.type, 8);
    EXPECT_EQ(description.width, 3);
    auto context = static_cast<CGContextRef>(description.data);
    EXPECT_EQ(CGBitmapContextGetAlphaInfo(context), kCGImageAlphaNoneSkipFirst);
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
    EXPECT_EQ(pixel(target, 0, 0), 0xFF000000u);
    EXPECT_EQ(pixel(target, 2, 1), 0x00FFFFFFu);
  }
}
