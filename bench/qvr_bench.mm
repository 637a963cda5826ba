/* The benchmark program: one subcommand a job, so that the bench/run script can time each
   job beside the tools people would use instead, on the same files. It makes the
   deterministic 12-megapixel test photo too. */
#import <AppKit/AppKit.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// A photo-like picture: smooth gradients, soft blobs, hard-edged shapes and sensor-like
// noise, the same bytes on every machine (a fixed linear congruential generator).
std::vector<uint8_t> MakePhoto(int width, int height) {
  std::vector<uint8_t> rgb(size_t(width) * height * 3);
  uint32_t state = 12345;
  auto noise = [&state]() {
    state = state * 1664525u + 1013904223u;
    return int(state >> 28) - 8;  // -8 .. 7
  };
  for (int y = 0; y < height; ++y) {
    uint8_t* row = &rgb[size_t(y) * width * 3];
    const double fy = double(y) / height;
    for (int x = 0; x < width; ++x) {
      const double fx = double(x) / width;
      double r = 40 + 150 * fx + 40 * std::sin(fy * 9.0 + fx * 3.0);
      double g = 60 + 120 * fy + 50 * std::cos(fx * 7.0 - fy * 2.0);
      double b = 90 + 80 * (1 - fx) * fy + 60 * std::sin((fx + fy) * 5.0);
      const double dx = fx - 0.35, dy = fy - 0.55;
      if (dx * dx + dy * dy < 0.02) r += 70, g -= 30;  // a disc with a hard edge
      if (((x / 250) + (y / 250)) % 7 == 0) b += 50;   // blocks, like windows of a facade
      if (std::fabs(fy - 0.8 - 0.05 * std::sin(fx * 20)) < 0.004) r = g = b = 20;  // a wire
      const int n = noise();
      const int v[3] = {int(r) + n, int(g) + n / 2 + noise() / 2, int(b) + noise()};
      for (int c = 0; c < 3; ++c) row[x * 3 + c] = uint8_t(v[c] < 0 ? 0 : v[c] > 255 ? 255 : v[c]);
    }
  }
  return rgb;
}

bool WriteFile(const std::string& path, const void* bytes, size_t length) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) return false;
  const bool ok = std::fwrite(bytes, 1, length, f) == length;
  return std::fclose(f) == 0 && ok;
}

bool WriteData(const std::string& path, NSData* data) {
  return data != nil && WriteFile(path, [data bytes], [data length]);
}

NSData* ReadData(const std::string& path) {
  // Mapped, as a tool streaming the file would not copy it first either.
  return [NSData dataWithContentsOfMappedFile:[NSString stringWithUTF8String:path.c_str()]];
}

// A binary PPM (P6, maxval 255) as a bitmap representation over the file's own bytes.
NSBitmapImageRep* ReadPPM(NSData* file) {
  const char* p = static_cast<const char*>([file bytes]);
  int w = 0, h = 0, maxval = 0, offset = 0;
  if ([file length] < 16 || std::sscanf(p, "P6 %d %d %d%n", &w, &h, &maxval, &offset) != 3 || maxval != 255) return nil;
  offset += 1;  // the single whitespace after maxval
  if (size_t(offset) + size_t(w) * h * 3 > [file length]) return nil;
  unsigned char* planes[1] = {reinterpret_cast<unsigned char*>(const_cast<char*>(p + offset))};
  return [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:planes pixelsWide:w pixelsHigh:h bitsPerSample:8
      samplesPerPixel:3 hasAlpha:NO isPlanar:NO colorSpaceName:NSDeviceRGBColorSpace bytesPerRow:w * 3
      bitsPerPixel:24] autorelease];
}

// The image drawn with high-quality interpolation into a bitmap whose longer side is size.
NSBitmapImageRep* Downscale(NSImage* image, int size) {
  NSBitmapImageRep* source = nil;
  NSArray* reps = [image representations];
  if ([reps count] > 0) source = [reps objectAtIndex:0];
  const double w = source ? [source pixelsWide] : [image size].width;
  const double h = source ? [source pixelsHigh] : [image size].height;
  if (w <= 0 || h <= 0) return nil;
  const double scale = size / std::max(w, h);
  const int tw = std::max(1, int(std::lround(w * scale))), th = std::max(1, int(std::lround(h * scale)));
  NSBitmapImageRep* target = [[[NSBitmapImageRep alloc] initWithBitmapDataPlanes:NULL pixelsWide:tw pixelsHigh:th
      bitsPerSample:8 samplesPerPixel:4 hasAlpha:YES isPlanar:NO colorSpaceName:NSCalibratedRGBColorSpace
      bytesPerRow:0 bitsPerPixel:0] autorelease];
  NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithBitmapImageRep:target];
  if (context == nil) return nil;
  [NSGraphicsContext saveGraphicsState];
  [NSGraphicsContext setCurrentContext:context];
  [context setImageInterpolation:NSImageInterpolationHigh];
  [image drawInRect:NSMakeRect(0, 0, tw, th) fromRect:NSZeroRect operation:NSCompositeCopy fraction:1.0];
  [NSGraphicsContext restoreGraphicsState];
  return target;
}

int Usage() {
  std::fprintf(stderr,
               "usage: qvr_bench generate OUT.ppm [WIDTH HEIGHT]\n"
               "       qvr_bench encode jpeg|png IN.ppm OUT [QUALITY]\n"
               "       qvr_bench decode IN\n"
               "       qvr_bench frames IN.gif    (every frame of an animation shown in turn)\n"
               "       qvr_bench thumbnail IN OUT.png SIZE\n"
               "QVR_BENCH_REPEAT=N runs the job N times in one process and prints its mean time,\n"
               "without the process start (loading the runtime and libraries).\n");
  return 2;
}

int Run(int argc, char** argv) {
  if (argc < 3) return Usage();
  const std::string job = argv[1];
  if (job == "generate") {
    const int w = argc > 4 ? std::atoi(argv[3]) : 4000, h = argc > 4 ? std::atoi(argv[4]) : 3000;
    std::vector<uint8_t> rgb = MakePhoto(w, h);
    const std::string header = "P6\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n";
    std::vector<uint8_t> file(header.begin(), header.end());
    file.insert(file.end(), rgb.begin(), rgb.end());
    return WriteFile(argv[2], file.data(), file.size()) ? 0 : 1;
  }
  if (job == "encode" && argc >= 5) {
    NSBitmapImageRep* rep = ReadPPM(ReadData(argv[3]));
    if (rep == nil) return 1;
    const std::string format = argv[2];
    NSData* out = nil;
    if (format == "jpeg") {
      const float quality = argc > 5 ? float(std::atof(argv[5])) / 100.0f : 0.8f;
      out = [rep representationUsingType:NSJPEGFileType
                              properties:[NSDictionary dictionaryWithObject:[NSNumber numberWithFloat:quality]
                                                                     forKey:NSImageCompressionFactor]];
    } else if (format == "png") {
      out = [rep representationUsingType:NSPNGFileType properties:nil];
    }
    return WriteData(argv[4], out) ? 0 : 1;
  }
  if (job == "decode") {
    NSBitmapImageRep* rep = [NSBitmapImageRep imageRepWithData:ReadData(argv[2])];
    return rep != nil && [rep bitmapData] != NULL ? 0 : 1;
  }
  if (job == "frames") {
    NSBitmapImageRep* rep = [NSBitmapImageRep imageRepWithData:ReadData(argv[2])];
    const NSInteger count = [[rep valueForProperty:NSImageFrameCount] integerValue];
    for (NSInteger i = 0; i < count; ++i) [rep setProperty:NSImageCurrentFrame withValue:[NSNumber numberWithInteger:i]];
    return rep != nil && [[rep valueForProperty:NSImageCurrentFrame] integerValue] == std::max<NSInteger>(0, count - 1) ? 0 : 1;
  }
  if (job == "thumbnail" && argc >= 5) {
    NSImage* image = [[[NSImage alloc] initWithData:ReadData(argv[2])] autorelease];
    if (image == nil) return 1;
    NSBitmapImageRep* small = Downscale(image, std::atoi(argv[4]));
    return WriteData(argv[3], [small representationUsingType:NSPNGFileType properties:nil]) ? 0 : 1;
  }
  return Usage();
}

}  // namespace

int main(int argc, char** argv) {
  const char* repeat = std::getenv("QVR_BENCH_REPEAT");
  const int times = repeat ? std::max(1, std::atoi(repeat)) : 1;
  int status = 0;
  double total = 0;
  for (int i = 0; i < times && status == 0; ++i) {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    const auto start = std::chrono::steady_clock::now();
    status = Run(argc, argv);
    [pool drain];
    total += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  if (repeat != nullptr && status == 0) std::printf("%.6f\n", total / times);
  return status;
}
