/* The codec tests' shared helpers: test pictures, representations of them, and decoding
   with tools that share no code with ours. */
#import "platform/codec_support.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

TestPicture MakeTestPicture(int width, int height, int samples) {
  TestPicture p{width, height, samples, std::vector<uint8_t>(size_t(width) * height * samples)};
  const int colours = samples >= 3 ? 3 : 1;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      uint8_t* o = &p.pixels[(size_t(y) * width + x) * samples];
      const int edge = ((x / 16) + (y / 16)) % 2 ? 40 : 0;
      const int r = (x * 255) / std::max(1, width - 1), g = (y * 255) / std::max(1, height - 1);
      const int b = std::min(255, ((x + y) * 255) / std::max(1, width + height - 2) + edge);
      if (colours == 3) {
        o[0] = uint8_t(r), o[1] = uint8_t(g), o[2] = uint8_t(b);
      } else {
        o[0] = uint8_t((r + g + b) / 3);
      }
      if (samples == 2 || samples == 4) o[colours] = uint8_t(r);  // alpha from clear on the left to opaque
    }
  return p;
}

TestPicture MakeFewColourPicture(int width, int height, bool withClearPixels) {
  static const uint8_t colours[8][3] = {{255, 0, 0},   {0, 255, 0},   {0, 0, 255},   {255, 255, 0},
                                        {0, 255, 255}, {255, 0, 255}, {255, 255, 255}, {10, 20, 30}};
  TestPicture p{width, height, 4, {}};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const uint8_t* c = colours[((x / 5) + (y / 7) * 3) % 8];
      const bool clear = withClearPixels && x < width / 4;
      p.pixels.insert(p.pixels.end(), {uint8_t(clear ? 0 : c[0]), uint8_t(clear ? 0 : c[1]), uint8_t(clear ? 0 : c[2]),
                                       uint8_t(clear ? 0 : 255)});
    }
  return p;
}

NSBitmapImageRep* MakeRep(const TestPicture& picture) {
  const bool alpha = picture.samples == 2 || picture.samples == 4;
  NSBitmapImageRep* rep =
      NewBitmap(picture.width, picture.height, 8, picture.samples, alpha,
                picture.samples >= 3 ? NSCalibratedRGBColorSpace : NSCalibratedWhiteColorSpace,
                alpha ? NSAlphaNonpremultipliedBitmapFormat : 0);
  if (rep == nil) return nil;
  unsigned char* data = [rep bitmapData];
  const size_t row = size_t(picture.width) * picture.samples;
  for (int y = 0; y < picture.height; ++y)
    std::memcpy(data + size_t([rep bytesPerRow]) * y, &picture.pixels[row * y], row);
  return rep;
}

TestPicture ReadRep(NSBitmapImageRep* rep) {
  TestPicture p{int([rep pixelsWide]), int([rep pixelsHigh]), int([rep samplesPerPixel]), {}};
  p.pixels.resize(size_t(p.width) * p.height * p.samples);
  const int bits = int([rep bitsPerSample]);
  NSUInteger raw[5];
  for (int y = 0; y < p.height; ++y)
    for (int x = 0; x < p.width; ++x) {
      [rep getPixel:raw atX:x y:y];
      for (int s = 0; s < p.samples; ++s)
        p.pixels[(size_t(y) * p.width + x) * p.samples + s] =
            uint8_t(bits == 16 ? (raw[s] + 128) / 257 : bits == 8 ? raw[s] : raw[s] * 255 / ((1u << bits) - 1));
    }
  return p;
}

int MaxDifference(const TestPicture& a, const TestPicture& b) {
  if (a.width != b.width || a.height != b.height || a.samples != b.samples || a.pixels.size() != b.pixels.size())
    return 1000;
  int worst = 0;
  for (size_t i = 0; i < a.pixels.size(); ++i) worst = std::max(worst, std::abs(int(a.pixels[i]) - int(b.pixels[i])));
  return worst;
}

double MeanDifference(const TestPicture& a, const TestPicture& b) {
  if (MaxDifference(a, b) == 1000) return 1000;
  double sum = 0;
  for (size_t i = 0; i < a.pixels.size(); ++i) sum += std::abs(int(a.pixels[i]) - int(b.pixels[i]));
  return a.pixels.empty() ? 0 : sum / a.pixels.size();
}

TestPicture WithoutAlpha(const TestPicture& picture) {
  if (picture.samples == 1 || picture.samples == 3) return picture;
  TestPicture p = picture;
  p.samples = picture.samples - 1;
  p.pixels.clear();
  for (size_t i = 0; i < picture.pixels.size(); i += picture.samples)
    p.pixels.insert(p.pixels.end(), &picture.pixels[i], &picture.pixels[i] + p.samples);
  return p;
}

TestPicture OverWhite(const TestPicture& picture) {
  if (picture.samples == 1 || picture.samples == 3) return picture;
  TestPicture p = WithoutAlpha(picture);
  for (size_t i = 0, o = 0; i < picture.pixels.size(); i += picture.samples) {
    const int a = picture.pixels[i + picture.samples - 1];
    for (int c = 0; c < p.samples; ++c, ++o) p.pixels[o] = uint8_t((picture.pixels[i + c] * a + 255 * (255 - a) + 127) / 255);
  }
  return p;
}

TestPicture AsRGBA(const TestPicture& picture) {
  TestPicture p = picture;
  p.samples = 4;
  p.pixels.clear();
  const int colours = picture.samples >= 3 ? 3 : 1, alpha = picture.samples % 2 == 0;
  for (size_t i = 0; i < picture.pixels.size(); i += picture.samples) {
    const uint8_t* s = &picture.pixels[i];
    p.pixels.insert(p.pixels.end(), {s[0], s[colours == 3 ? 1 : 0], s[colours == 3 ? 2 : 0],
                                     alpha ? s[colours] : uint8_t(255)});
  }
  return p;
}

std::string CodecTest::Temporary(NSData* data, const std::string& extension) {
  const std::string path = Path("file" + std::to_string(++files_) + extension);
  [data writeToFile:[NSString stringWithUTF8String:path.c_str()] atomically:NO];
  return path;
}

NSData* CodecTest::Made(const std::string& command, const std::string& file) {
  EXPECT_EQ(std::system(("cd " + folder_.path() + " && " + command + " 2>/dev/null").c_str()), 0) << command;
  return ReadFile(Path(file));
}

NSData* CodecTest::MadeByPillow(const std::string& program) { return DataOf(support::MadeByPillow(program)); }

std::string CodecTest::Pillow(NSData* data, const std::string& extension, const std::string& program) {
  return support::Output("/usr/bin/python3 -c \"import sys; from PIL import Image; im = Image.open(sys.argv[1]); " +
                             program + "\" " + Temporary(data, extension) + " 2>&1", true);
}

// Reads P5 (grey), P6 (RGB) and, as DecodeWithPillow has Pillow print it, "P7 w h 255" RGBA
// (the tools used here write no comments in the header).
bool DecodeWithCommand(const std::string& command, TestPicture& out) {
  const std::string bytes = support::Output(command + " 2>/dev/null");
  char kind = 0;
  long w = 0, h = 0, maxval = 0;
  int header = 0;
  if (sscanf(bytes.c_str(), "P%c%ld%ld%ld%n", &kind, &w, &h, &maxval, &header) != 4 || kind < '5' || kind > '7' ||
      w <= 0 || h <= 0 || maxval <= 0)
    return false;
  out.width = int(w);
  out.height = int(h);
  out.samples = kind == '7' ? 4 : kind == '6' ? 3 : 1;
  const size_t count = size_t(w) * h * out.samples, width = maxval < 256 ? 1 : 2;
  if (bytes.size() < size_t(header) + 1 + count * width) return false;
  const uint8_t* in = reinterpret_cast<const uint8_t*>(bytes.data()) + header + 1;  // after one white space
  out.pixels.resize(count);
  for (size_t i = 0; i < count; ++i)
    out.pixels[i] = width == 1 ? in[i] : uint8_t(((in[2 * i] << 8 | in[2 * i + 1]) * 255 + maxval / 2) / maxval);
  return true;
}

bool DecodeWithPillow(const std::string& path, TestPicture& out) {
  return DecodeWithCommand("/usr/bin/python3 -c \"import sys; from PIL import Image; im = Image.open(sys.argv[1]).convert('RGBA'); "
                           "sys.stdout.write('P7 %d %d 255\\n' % im.size); sys.stdout.flush(); sys.stdout.buffer.write(im.tobytes())\" " +
                               path,
                           out);
}

NSData* ReadFile(const std::string& path) {
  return [NSData dataWithContentsOfFile:[NSString stringWithUTF8String:path.c_str()]];
}

NSData* DataOf(const std::string& bytes) { return [NSData dataWithBytes:bytes.data() length:bytes.size()]; }
NSData* DataOf(const std::vector<uint8_t>& bytes) { return [NSData dataWithBytes:bytes.data() length:bytes.size()]; }
NSData* Bytes(std::initializer_list<uint8_t> bytes) { return DataOf(std::vector<uint8_t>(bytes)); }
NSDictionary* One(id value, NSString* key) { return [NSDictionary dictionaryWithObject:value forKey:key]; }
NSNumber* Num(double value) { return [NSNumber numberWithDouble:value]; }

NSMutableDictionary* Dict(std::initializer_list<std::pair<id, id>> entries) {
  NSMutableDictionary* dictionary = [NSMutableDictionary dictionary];
  for (const auto& [key, value] : entries) [dictionary setObject:value forKey:key];
  return dictionary;
}

void ExpectEXIF(NSDictionary* exif, NSDictionary* expected) {
  NSArray* keys = [expected allKeys];
  for (NSUInteger i = 0; i < [keys count]; ++i) {
    NSString* key = [keys objectAtIndex:i];
    id want = [expected objectForKey:key], got = [exif objectForKey:key];
    if ([want isKindOfClass:[NSNumber class]])
      EXPECT_NEAR([got doubleValue], [want doubleValue], 1e-9) << [key UTF8String];
    else
      EXPECT_TRUE([got isEqual:want]) << [key UTF8String] << ": " << [[got description] UTF8String];
  }
}

int FirstIFDTag(NSData* tiff, uint16_t wanted) {
  const uint8_t* d = static_cast<const uint8_t*>([tiff bytes]);
  const size_t n = [tiff length];
  if (n < 8) return -1;
  const bool little = d[0] == 'I';
  auto u16 = [&](size_t at) { return little ? d[at] | d[at + 1] << 8 : d[at] << 8 | d[at + 1]; };
  auto u32 = [&](size_t at) { return little ? uint32_t(u16(at)) | uint32_t(u16(at + 2)) << 16
                                            : uint32_t(u16(at)) << 16 | uint32_t(u16(at + 2)); };
  const size_t ifd = u32(4);
  if (ifd + 2 > n) return -1;
  const int count = u16(ifd);
  for (int i = 0; i < count && ifd + 2 + 12 * (i + 1) <= n; ++i) {
    const size_t entry = ifd + 2 + 12 * size_t(i);
    if (u16(entry) == wanted) return u16(entry + 8);
  }
  return -1;
}

NSBitmapImageRep* Reread(NSBitmapImageRep* rep, NSBitmapImageFileType type, NSDictionary* properties) {
  NSData* data = [rep representationUsingType:type properties:properties];
  EXPECT_NE(data, nil) << "encoding as type " << type;
  NSBitmapImageRep* back = [NSBitmapImageRep imageRepWithData:data];
  EXPECT_NE(back, nil) << "reading type " << type << " back";
  return back;
}

S Samples(NSBitmapImageRep* rep, NSInteger x, NSInteger y) {
  S samples(size_t([rep samplesPerPixel]));
  [rep getPixel:samples.data() atX:x y:y];
  return samples;
}
