// Pictures and masks to NSImageQVR images and back, and to NSBitmapImageRepQVR
// representations, checked by pixels in both storages (desktop bitmap contexts and the
// console row buffer), on systems and hosts that take each path: the host's own image,
// the pixel copy, the mask path, the read-only copy of a picture the host will not
// describe, and the row copy where DrawPicture cannot be loaded.
#include <string>
#include <vector>

#include "support/plugin_fixture.h"

namespace {

using host::AppKind;
using host::Value;

// One way the host can be set up: storage, system minor version, missing entry points.
struct HostSetup { const char* name; AppKind kind; int systemMinor; std::set<std::string> missing; };

const HostSetup kSetups[] = {
    {"Desktop", AppKind::Desktop, 9, {}}, {"DesktopOn10_5", AppKind::Desktop, 5, {}},
    {"DesktopOn10_6", AppKind::Desktop, 6, {}},
    {"DesktopWithoutHostImages", AppKind::Desktop, 9, {"REALCopyPictureCGImage"}}, {"Console", AppKind::Console, 9, {}},
    {"ConsoleOn10_5", AppKind::Console, 5, {}}, {"Web", AppKind::Web, 6, {}},
};

class Pictures : public support::PluginTest {
 protected:
  host::Runtime& rt() { return *runtime_; }
  void StartWith(const HostSetup& setup, host::Options options = {}) {
    options.kind = setup.kind;
    options.systemMinor = setup.systemMinor;
    options.missingEntryPoints = setup.missing;
    Probe(options);
  }
  static Value Int(int64_t v) { return Value::ofInteger(v); }
  Value Picture(int64_t w, int64_t h, int64_t depth = 32) {
    return depth ? rt().newInstance("Picture", {Int(w), Int(h), Int(depth)}) : rt().newInstance("Picture", {Int(w), Int(h)});
  }
  uint32_t Pixel(const Value& p, int64_t x, int64_t y) {
    return uint32_t(rt().call(rt().get(p, "RGBSurface"), "Pixel", {Int(x), Int(y)}).integer);
  }
  void SetPixel(const Value& p, int64_t x, int64_t y, uint32_t color) {
    rt().assign(rt().get(p, "RGBSurface"), "Pixel", {Int(x), Int(y)}, Value::ofColor(color));
  }
  std::vector<uint32_t> Pixels(const Value& p) {
    std::vector<uint32_t> all;
    for (int64_t y = 0; y < Side(p, "Height"); ++y)
      for (int64_t x = 0; x < Side(p, "Width"); ++x) all.push_back(Pixel(p, x, y));
    return all;
  }
  int64_t Side(const Value& p, const char* name) { return p.isNil() ? -1 : rt().get(p, name).integer; }
  std::string Size(const Value& p) {
    return p.isNil() ? "nil" : std::to_string(Side(p, "Width")) + " x " + std::to_string(Side(p, "Height"));
  }
  Value Image(const Value& picture, const Value& mask = Value::nil()) {
    return mask.isNil() ? rt().newInstance("NSImageQVR", {picture}) : rt().newInstance("NSImageQVR", {picture, mask});
  }
  // The image's first representation: samples per pixel, then RGBA bytes.
  std::string Samples(const Value& image) {
    return rt().memoryBlockBytes(rt().callShared("PictureProbeQVR", "RepresentationSamples", {image}));
  }
  // An image of premultiplied RGBA pixels, made by the probe plugin.
  Value ImageOf(int w, int h, const std::vector<uint8_t>& rgba) {
    std::vector<uint8_t> bytes;
    for (int i = 0; i < w * h; ++i) bytes.insert(bytes.end(), rgba.begin(), rgba.end());
    return Shared("ImageFromPixels", {Int(w), Int(h), rt().memoryBlock(bytes.data(), bytes.size())});
  }
  // A bitmap representation's pixel (x, y) as RGBA, read where bitmapData points.
  std::string RepPixel(const Value& rep, int x, int y) {
    const auto* data = static_cast<const char*>(rt().get(rep, "bitmapData").pointer);
    if (data == nullptr) return "";
    const char* p = data + y * rt().get(rep, "bytesPerRow").integer + x * rt().get(rep, "bitsPerPixel").integer / 8;
    return std::string(p, 3) + (rt().get(rep, "samplesPerPixel").integer == 4 ? p[3] : '\xff');
  }
  // "clears, locks, unlocks" of a picture's cache clears and description locks.
  std::string Counts(const Value& p) {
    host::PictureCounts c = rt().pictureCounts(p);
    return std::to_string(c.cacheClears) + ", " + std::to_string(c.descriptionLocks) + ", " +
           std::to_string(c.descriptionUnlocks);
  }
  std::string Editor(const Value& p, bool read, bool write) {
    return Utf8(rt().callShared("PictureProbeQVR", "OpenEditor", {p, Value::ofBoolean(read), Value::ofBoolean(write)}));
  }
};

void PrintTo(const HostSetup& setup, std::ostream* os) { *os << setup.name; }
class EverySetup : public Pictures, public ::testing::WithParamInterface<HostSetup> {};

// A picture with every pixel different (opaque), and the same picture back from an image.
TEST_P(EverySetup, OpaqueRoundTripIsExactAndMismatchedSizesGiveNil) {
  StartWith(GetParam());
  Value p = Picture(5, 3);
  for (int y = 0; y < 3; ++y)
    for (int x = 0; x < 5; ++x) SetPixel(p, x, y, uint32_t(0x10305 * (x + 1) * (y + 3) + 0x4000 * x) & 0xFFFFFF);
  Value image = Image(p);
  EXPECT_EQ(Samples(image).substr(0, 1), "\3") << "RGB without alpha";
  // The host makes the image on 10.6 and later when it can; the copy path reads the
  // picture through its description.
  bool copyPath = GetParam().systemMinor < 6 || !GetParam().missing.empty();
  EXPECT_EQ(rt().pictureCounts(p).descriptionLocks, copyPath ? 1u : 0u);
  for (const char* copy : {"CopyPicture", "CopyPictureWithMask"}) {
    Value back = rt().call(image, copy);
    EXPECT_EQ(Pixels(back), Pixels(p)) << copy;
    EXPECT_TRUE(rt().call(back, "Mask", {Value::ofBoolean(false)}).isNil()) << copy << ": an opaque image has no mask";
  }
  EXPECT_EQ(Pixels(rt().call(image, "CopyPictureRect", {Int(0), Int(0), Int(0), Int(0), Value::nil()})), Pixels(p));
  EXPECT_EQ(Pixels(rt().call(image, "CopyMask")), std::vector<uint32_t>(15, 0u)) << "an opaque image's mask is black";
  // Mismatched sizes and nil pictures give no emptied and leave the instance empty.
  Value square = Picture(10, 10), tall = Picture(10, 11);
  Value emptied = Image(square);
  EXPECT_NE(rt().get(emptied, "Handle").integer, 0);
  EXPECT_FALSE(rt().call(emptied, "initWithPicture", {square, tall}).boolean);
  EXPECT_EQ(rt().get(emptied, "Handle").integer, 0);
  EXPECT_TRUE(rt().call(emptied, "initWithPicture", {square, Value::nil()}).boolean);
  EXPECT_FALSE(rt().call(emptied, "initWithPicture", {Value::nil(), Value::nil()}).boolean);
  EXPECT_EQ(rt().get(emptied, "Handle").integer, 0);
  EXPECT_EQ(rt().get(Image(square, tall), "Handle").integer, 0);
  for (const char* copy : {"CopyPicture", "CopyMask", "CopyPictureWithMask"}) EXPECT_TRUE(rt().call(emptied, copy).isNil());
}

// Black mask pixels are opaque, white ones transparent, grey ones premultiplied.
TEST_P(EverySetup, MasksComeBackAndRectanglesClipAndReadUpward) {
  StartWith(GetParam());
  Value p = Picture(3, 2);
  Fill(p, 0x00FF0000, 0, 1, 3, 1);  // bottom row red, top row white
  Value mask = Picture(3, 2);
  Fill(mask, 0x000000, 0, 0, 1, 2);
  Fill(mask, 0x808080, 1, 0, 1, 2);  // column 2 stays white: clear
  const std::string want = std::string("\4\xFF\xFF\xFF\xFF\x7F\x7F\x7F\x7F\0\0\0\0\xFF\0\0\xFF\x7F\0\0\x7F\0\0\0\0", 25);
  EXPECT_EQ(Samples(Image(p, mask)), want);
  // The picture's own mask serves when none is given, unless the host makes the image.
  rt().call(rt().get(rt().call(p, "Mask"), "Graphics"), "DrawPicture", {mask, Value::ofDouble(0), Value::ofDouble(0)});
  if (GetParam().systemMinor < 6 || !GetParam().missing.empty()) {
    EXPECT_EQ(Samples(Image(p)), want);
  }

  // Back: the mask, and a picture carrying it.
  Value image = Image(p, mask);
  Value back = rt().call(image, "CopyPictureWithMask");
  Value backMask = rt().call(back, "Mask", {Value::ofBoolean(false)});
  for (const Value& m : {backMask, rt().call(image, "CopyMask")}) {
    EXPECT_EQ(Pixel(m, 0, 0), 0x000000u);
    EXPECT_NEAR(double(Pixel(m, 1, 1) & 0xFF), 128, 1);
    EXPECT_EQ(Pixel(m, 2, 1), 0xFFFFFFu);
  }
  EXPECT_EQ(std::pair(Pixel(back, 0, 0), Pixel(back, 0, 1)), std::pair(0xFFFFFFu, 0xFF0000u)) << "white over red";
  EXPECT_EQ(Pixels(rt().call(ImageOf(2, 2, {0, 0, 0, 0}), "CopyMask")), std::vector<uint32_t>(4, 0xFFFFFFu))
      << "a transparent image's mask is white";
  // Rectangles are clipped to the clipped, read in its own coordinates (y up), and refused
  // when negative or outside.
  Value halves = Picture(100, 50);
  Fill(halves, 0x000000FF, 0, 25, 100, 25);  // the bottom half blue, the top white
  Value clipped = Image(halves);
  auto rect = [&](int x, int y, int w, int h) {
    return rt().call(clipped, "CopyPictureRect", {Int(x), Int(y), Int(w), Int(h), Value::nil()});
  };
  EXPECT_EQ(Size(rect(80, 10, 50, 0)), "20 x 40");
  for (auto [x, y] : {std::pair{-1, 0}, {100, 0}, {0, 50}}) EXPECT_EQ(Size(rect(x, y, 10, 10)), "nil") << x << ", " << y;
  EXPECT_EQ(Pixels(rect(0, 0, 100, 25)), std::vector<uint32_t>(2500, 0x0000FFu)) << "y = 0 is the bottom row";
  EXPECT_EQ(Pixels(rect(10, 25, 5, 5)), std::vector<uint32_t>(25, 0xFFFFFFu));
  EXPECT_EQ(Size(rt().call(ImageOf(40000, 1, {0, 0, 0, 255}), "CopyMask")), "nil");
}

// "Constructor(pic as Picture)" of NSBitmapImageRepQVR: the picture's pixels and mask in
// the representation (alpha = 255 - mask, colour premultiplied). The host's own conversion
// never reads the picture's pixels through its description, nor asks for a mask the
// picture did not have; the way without it does both. The instance is recorded as its
// wrapper; a nil picture raises.
TEST_P(EverySetup, BitmapRepresentationsOfPicturesAndMasks) {
  StartWith(GetParam());
  const bool hostConverts = GetParam().missing.empty();
  Value picture = Picture(6, 4);
  Fill(picture, 0xFF0000, 0, 0, 3, 4);
  Fill(picture, 0x0000FF, 3, 0, 3, 4);
  Value plain = rt().newInstance("NSBitmapImageRepQVR", {picture});
  EXPECT_EQ(RepPixel(plain, 0, 0) + RepPixel(plain, 5, 3), std::string("\xff\0\0\xff\0\0\xff\xff", 8)) << "red, blue";
  EXPECT_EQ(rt().pictureCounts(picture).descriptionLocks == 0, hostConverts);
  EXPECT_EQ(rt().call(picture, "Mask", {Value::ofBoolean(false)}).isNil(), hostConverts);
  EXPECT_EQ(rt().callShared("FrameProbeQVR", "WrapBitmapRepAgain", {plain}).object.get(), plain.object.get());

  Value mask = rt().call(picture, "Mask", {Value::ofBoolean(true)});
  Fill(mask, 0x000000, 0, 0, 6, 4);
  Fill(mask, 0xFFFFFF, 0, 0, 6, 1);
  Fill(mask, 0x808080, 0, 1, 6, 1);
  Value masked = rt().newInstance("NSBitmapImageRepQVR", {picture});
  ASSERT_NE(rt().get(masked, "Handle").integer, 0);
  EXPECT_EQ(RepPixel(masked, 1, 0)[3], '\0') << "white is clear";
  EXPECT_EQ(RepPixel(masked, 1, 2), std::string("\xff\0\0\xff", 4)) << "black is opaque";
  const std::string half = RepPixel(masked, 4, 1);
  EXPECT_NEAR(static_cast<unsigned char>(half[3]), 127, 1);
  EXPECT_NEAR(static_cast<unsigned char>(half[2]), 127, 1) << "colour premultiplied";

  Value none = rt().newInstance("NSBitmapImageRepQVR", {rt().memoryBlock("", 0)});
  EXPECT_EQ(Raised([&] { rt().call(none, "Constructor(pic as Picture)", {Value::nil()}); }),
            "NilObjectException: Image is nil");
  EXPECT_EQ(rt().get(none, "Handle").integer, 0);
}

INSTANTIATE_TEST_SUITE_P(Storages, EverySetup, ::testing::ValuesIn(kSetups), support::ByName());

// The editor by storage: formats, the storage flags, the cache cleared once after
// writing and never after reading, every description lock given back.
// read: what OpenEditor answers for a read-only open of a new 3 x 2 picture.
struct EditorCase { const char* name; AppKind kind; int64_t depth; const char* read; };
void PrintTo(const EditorCase& c, std::ostream* os) { *os << c.name; }
class Editors : public Pictures, public ::testing::WithParamInterface<EditorCase> {};

TEST_P(Editors, OpenEachStorageAndGiveEverythingBack) {
  const EditorCase& c = GetParam();
  StartWith({"", c.kind, 9, {}});
  EXPECT_EQ(Utf8(rt().callShared("PictureProbeQVR", "StorageFlags")), "");
  Value p = Picture(3, 2, c.depth);
  EXPECT_EQ(Editor(p, true, false), c.read);
  EXPECT_EQ(Utf8(rt().callShared("PictureProbeQVR", "StorageFlags")), c.kind == AppKind::Desktop ? "desktop" : "console");
  EXPECT_EQ(rt().pictureCounts(p).cacheClears, 0u);
  EXPECT_EQ(Editor(p, false, true).substr(0, 1), std::string(c.read).substr(0, 1));
  EXPECT_EQ(Counts(p), "1, 2, 2") << "written: clears, locks, unlocks";
  EXPECT_EQ(Editor(Value::nil(), true, false), "");
}

INSTANTIATE_TEST_SUITE_P(Storages, Editors,
                         ::testing::Values(EditorCase{"Desktop", AppKind::Desktop, 32, "6 3x2 16 past-end-is-base 255,255,255"},
                                           EditorCase{"DesktopAlpha", AppKind::Desktop, 0, "2 3x2 16 past-end-is-base 0,0,0"},
                                           EditorCase{"Console", AppKind::Console, 32, "8 3x2 12 past-end-is-base 255,255,255"},
                                           EditorCase{"Web", AppKind::Web, 0, "8 3x2 12 past-end-is-base 255,255,255"}),
                         support::ByName());

// A desktop picture the host will not describe is read through a 32-bit copy, never
// written.
TEST_F(Pictures, UndescribedPicturesAreReadThroughACopy) {
  StartWith({"", AppKind::Desktop, 5, {}});
  Value p = Picture(4, 3);
  Fill(p, 0x00102030, 0, 0, 4, 3);
  rt().refusePictureDescription(p);
  EXPECT_EQ(Editor(p, true, false), "6 4x3 16 past-end-is-base 16,32,48");
  EXPECT_EQ(Editor(p, false, true), "");
  EXPECT_EQ(rt().pictureCounts(p).cacheClears, 0u);
  std::string opaque("\3");
  for (int i = 0; i < 12; ++i) opaque += std::string("\x10\x20\x30\xFF", 4);
  EXPECT_EQ(Samples(Image(p)), opaque) << "the copy path on 10.5 reads the copy";
}

// Contexts of 24 and 16 bits per pixel are refused, their locks given back.
class NarrowContexts : public Pictures, public ::testing::WithParamInterface<int> {};

TEST_P(NarrowContexts, AreRefused) {
  host::Options options;
  options.pictureBitsPerPixel = GetParam();
  StartWith({"", AppKind::Desktop, 5, {}}, options);
  Value narrow = Picture(4, 3);
  EXPECT_EQ(Editor(narrow, true, false), "");
  EXPECT_EQ(rt().get(Image(narrow), "Handle").integer, 0);
  host::PictureCounts counts = rt().pictureCounts(narrow);
  EXPECT_TRUE(counts.descriptionLocks == counts.descriptionUnlocks && counts.descriptionLocks >= 2u) << Counts(narrow);
}

INSTANTIATE_TEST_SUITE_P(Bits, NarrowContexts, ::testing::Values(24, 16));

// OwnCopy copies rows between row buffer pictures of one size, and nothing else;
// GraphicsDrawPicture falls back to it when DrawPicture cannot be loaded.
struct CopyCase { const char* name; AppKind kind; bool loadable; };
void PrintTo(const CopyCase& c, std::ostream* os) { *os << c.name; }
class RowCopies : public Pictures, public ::testing::WithParamInterface<CopyCase> {};

TEST_P(RowCopies, CopyRowsBetweenRowBuffersOnly) {
  host::Options options;
  options.drawPictureLoadable = GetParam().loadable;
  StartWith({"", GetParam().kind, 9, {}}, options);
  bool console = GetParam().kind == AppKind::Console;
  Value from = Picture(3, 2), to = Picture(3, 2), other = Picture(2, 3);
  SetPixel(from, 0, 0, 0x112233);
  SetPixel(from, 2, 1, 0x445566);
  auto ownCopy = [&](const Value& dest, int w, int h, int sw, int sh) {
    return rt().callShared("PictureProbeQVR", "OwnCopy", {dest, from, Int(w), Int(h), Int(sw), Int(sh)}).boolean;
  };
  EXPECT_EQ(ownCopy(to, 3, 2, 3, 2), console);
  EXPECT_EQ(std::pair(Pixel(to, 0, 0), Pixel(to, 2, 1)),
            console ? std::pair(0x112233u, 0x445566u) : std::pair(0xFFFFFFu, 0xFFFFFFu));
  EXPECT_FALSE(ownCopy(other, 3, 2, 3, 2));
  EXPECT_EQ(Pixel(other, 0, 0), 0xFFFFFFu);
  EXPECT_EQ(rt().pictureCounts(other).cacheClears, console ? 1u : 0u);
  EXPECT_FALSE(ownCopy(to, 3, 2, 2, 2)) << "no scaling";

  Value drawn = Picture(3, 2);
  bool draws = rt().callShared("PictureProbeQVR", "DrawPicture", {drawn, from, Int(3), Int(2)}).boolean;
  EXPECT_EQ(draws, GetParam().loadable || console);
  EXPECT_EQ(Pixel(drawn, 2, 1), draws ? 0x445566u : 0xFFFFFFu);
  EXPECT_FALSE(rt().callShared("PictureProbeQVR", "DrawPicture", {drawn, Value::nil(), Int(3), Int(2)}).boolean);
}

INSTANTIATE_TEST_SUITE_P(Hosts, RowCopies,
                         ::testing::Values(CopyCase{"Console", AppKind::Console, true},
                                           CopyCase{"ConsoleWithoutDrawPicture", AppKind::Console, false},
                                           CopyCase{"Desktop", AppKind::Desktop, true},
                                           CopyCase{"DesktopWithoutDrawPicture", AppKind::Desktop, false}),
                         support::ByName());

// CreateCGImageInternal: the host's image on 10.7, its own from the bitmap context
// before, the mask inverted onto it; no image where neither way works.
struct ImageCase { const char* name; AppKind kind; int minor; bool image; };
void PrintTo(const ImageCase& c, std::ostream* os) { *os << c.name; }
class CoreGraphicsImages : public Pictures, public ::testing::WithParamInterface<ImageCase> {};

TEST_P(CoreGraphicsImages, CarryTheMask) {
  StartWith({"", GetParam().kind, GetParam().minor, {}});
  Value p = Picture(2, 1), mask = Picture(2, 1);
  Fill(p, 0x00FF8000, 0, 0, 2, 1);
  SetPixel(mask, 0, 0, 0x000000);  // pixel 1 stays white: clear
  const std::string orange("\xFF\x80\0\xFF", 4);
  for (bool masked : {true, false}) {
    std::string pixels =
        rt().memoryBlockBytes(rt().callShared("PictureProbeQVR", "CGImagePixels", {p, masked ? mask : Value::nil()}));
    EXPECT_EQ(pixels, !GetParam().image ? "" : masked ? orange + std::string(4, '\0') : orange + orange) << masked;
  }
}

INSTANTIATE_TEST_SUITE_P(Systems, CoreGraphicsImages,
                         ::testing::Values(ImageCase{"Desktop", AppKind::Desktop, 9, true},
                                           ImageCase{"DesktopOn10_6", AppKind::Desktop, 6, true},
                                           ImageCase{"Console", AppKind::Console, 7, true},
                                           ImageCase{"ConsoleOn10_6", AppKind::Console, 6, false}),
                         support::ByName());

}  // namespace
