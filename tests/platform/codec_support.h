/* Helpers the codec and bitmap tests share: deterministic test pictures, representations
   made from them and read back, and the independent decoders (netpbm, djpeg, Pillow) run
   on encoded bytes written to a temporary file. */
#ifndef QVR_TESTS_CODEC_SUPPORT_H
#define QVR_TESTS_CODEC_SUPPORT_H

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

#import "platform/drawing_pixels.h"
#include "support/files.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// 8-bit samples, meshed, alpha last and not premultiplied, row 0 at the top.
struct TestPicture {
  int width = 0;
  int height = 0;
  int samples = 0;
  std::vector<uint8_t> pixels;
  const uint8_t* at(int x, int y) const { return &pixels[(size_t(y) * width + x) * samples]; }
};

// Smooth gradients with a few hard edges; samples 1 (grey), 2, 3 (RGB) or 4 (alpha varying
// across the picture, from clear to opaque).
TestPicture MakeTestPicture(int width, int height, int samples);
// Few colours (at most 16), for formats that keep a palette exactly.
TestPicture MakeFewColourPicture(int width, int height, bool withClearPixels);

// An autoreleased representation holding the picture (non-premultiplied when it has alpha).
NSBitmapImageRep* MakeRep(const TestPicture& picture);
// The representation's pixels as 8-bit samples in their stored order (getPixel:atX:y:).
TestPicture ReadRep(NSBitmapImageRep* rep);

// Largest difference of any sample (pictures of different shapes: 1000).
int MaxDifference(const TestPicture& a, const TestPicture& b);
// Mean absolute difference over all samples.
double MeanDifference(const TestPicture& a, const TestPicture& b);
// The same picture with only its colour samples (alpha dropped), or laid over white.
TestPicture WithoutAlpha(const TestPicture& picture);
TestPicture OverWhite(const TestPicture& picture);

// The same picture as RGBA: grey spread over the colours, an opaque alpha where it had none.
TestPicture AsRGBA(const TestPicture& picture);

// Runs a command that prints a PNM picture (P5 grey or P6 RGB) and reads it.
bool DecodeWithCommand(const std::string& command, TestPicture& out);
// Reads a file with Pillow as RGBA.
bool DecodeWithPillow(const std::string& path, TestPicture& out);
// Bytes of a file in the source tree's test data, or of any path.
NSData* ReadFile(const std::string& path);
NSData* DataOf(const std::string& bytes);
NSData* DataOf(const std::vector<uint8_t>& bytes);
NSData* Bytes(std::initializer_list<uint8_t> bytes);
NSDictionary* One(id value, NSString* key);
// A dictionary of {key, value} pairs, and a number.
NSMutableDictionary* Dict(std::initializer_list<std::pair<id, id>> entries);
NSNumber* Num(double value);
// Each entry of `expected` in an EXIF dictionary: strings equal, numbers within 1e-9.
void ExpectEXIF(NSDictionary* exif, NSDictionary* expected);

// The value of a SHORT tag in the first IFD of a TIFF file, read straight from the bytes.
int FirstIFDTag(NSData* tiff, uint16_t wanted);

// The representation encoded as type and read back; a nil on either step fails the test.
NSBitmapImageRep* Reread(NSBitmapImageRep* rep, NSBitmapImageFileType type, NSDictionary* properties = nil);
// The samples of pixel (x, y) as getPixel:atX:y: gives them.
using S = std::vector<NSUInteger>;
S Samples(NSBitmapImageRep* rep, NSInteger x, NSInteger y);

// An autorelease pool and a temporary folder for the length of a test.
class CodecTest : public PoolTest {
 protected:
  // A file of the test's folder.
  std::string Path(const std::string& name) const { return folder_.path(name); }
  void Write(const std::string& name, const std::string& bytes) const { folder_.write(name, bytes); }
  // Data written to a new file of the folder with the extension; its path.
  std::string Temporary(NSData* data, const std::string& extension);
  // Runs a shell command in the folder (its errors dropped) and gives the bytes of the file
  // it wrote there; a command that fails fails the test.
  NSData* Made(const std::string& command, const std::string& file);
  // The same for a Python program with Pillow's Image, ImageCms and TiffImagePlugin
  // imported, which writes the file named by `out`.
  NSData* MadeByPillow(const std::string& program);
  // What a Python program with Pillow prints about the file written from data (opened as `im`).
  std::string Pillow(NSData* data, const std::string& extension, const std::string& program);
  support::TempFolder folder_;
  int files_ = 0;
};

#endif
