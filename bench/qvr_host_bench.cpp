/* The host-path benchmark: a host program that loads the image plugin into our host
   runtime and calls NSImageQVR members by their declarations, as host code would, so
   that what is timed includes the member call, the Cocoa call guard, NSDataRB and (for
   the "MT" members) the worker thread and the host thread's yielding. The image comes
   from a PPM's pixels through the test plugin's ImageFromPixels (the same plugin objects
   with probe classes beside them), or is loaded from a JPEG or PNG file's bytes with
   NSImageQVR.imageWithData, as a host program loads a photo. */
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/runtime.h"

namespace {

using host::Value;

// The whole file in one read into a buffer of its size, as cjpeg streams its input
// without growing copies of it.
std::string ReadFile(const std::string& path) {
  std::string bytes;
  if (FILE* f = std::fopen(path.c_str(), "rb")) {
    if (std::fseek(f, 0, SEEK_END) == 0) {
      const long size = std::ftell(f);
      std::rewind(f);
      if (size > 0) {
        bytes.resize(size_t(size));
        bytes.resize(std::fread(&bytes[0], 1, bytes.size(), f));
      }
    }
    std::fclose(f);
  }
  return bytes;
}

bool WriteFile(const std::string& path, const std::string& bytes) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) return false;
  const bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  return std::fclose(f) == 0 && ok;
}

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

class Bench {
 public:
  Bench() : runtime_(Options()) {
    runtime_.loadPlugin(host::Runtime::libraryDirectory() + "/libQVRSiblings.so");
    runtime_.loadPlugin(host::Runtime::libraryDirectory() + "/libNSImageQVRTestPlugin.so");
  }

  // An NSImageQVR holding the PPM's RGB pixels (P6, maxval 255), or Nil.
  Value ImageFromPPM(const std::string& path) {
    const std::string file = ReadFile(path);
    int w = 0, h = 0, maxval = 0, offset = 0;
    if (std::sscanf(file.c_str(), "P6 %d %d %d%n", &w, &h, &maxval, &offset) != 3 || maxval != 255) return Value();
    offset += 1;
    if (file.size() < size_t(offset) + size_t(w) * h * 3) return Value();
    return ImageFromPixels(w, h, file.data() + offset, size_t(w) * h * 3);
  }

  // The image of a PPM's pixels, or the image NSImageQVR.imageWithData loads from the file.
  Value ImageFromFile(const std::string& path) {
    if (path.size() > 4 && path.compare(path.size() - 4, 4, ".ppm") == 0) return ImageFromPPM(path);
    const std::string file = ReadFile(path);
    return LoadImage(file);
  }

  Value LoadImage(const std::string& bytes) {
    return runtime_.callShared("NSImageQVR", "imageWithData", {runtime_.memoryBlock(bytes.data(), bytes.size())});
  }

  Value ImageFromPixels(int w, int h, const void* pixels, size_t size) {
    return runtime_.callShared("FrameProbeQVR", "ImageFromPixels",
                               {Value::ofInteger(w), Value::ofInteger(h), runtime_.memoryBlock(pixels, size)});
  }

  std::string Call(const Value& image, const std::string& member, std::vector<Value> args = {}) {
    Value block = runtime_.call(image, member, std::move(args));
    return block.isNil() ? std::string() : runtime_.memoryBlockBytes(block);
  }

  host::Runtime& runtime() { return runtime_; }

 private:
  static host::Options Options() {
    host::Options options;
    options.siblings = true;
    return options;
  }
  host::Runtime runtime_;
};

// One job on the image: its encoded bytes (the thumbnail job writes the thumbnail as PNG,
// the load job the file it loaded from, read back as PNG).
std::string RunJob(Bench& bench, const Value& image, const std::string& job, int size, const std::string& file) {
  if (job == "load") {
    Value loaded = bench.LoadImage(file);
    return loaded.isNil() ? std::string() : bench.Call(loaded, "BMPRepresentation");
  }
  if (job == "bmp") return bench.Call(image, "BMPRepresentation");
  if (job == "jpeg") return bench.Call(image, "JPEGRepresentationWithCompressionFactor", {Value::ofDouble(0.8)});
  if (job == "jpeg-mt") return bench.Call(image, "JPEGRepresentationWithCompressionFactorMT", {Value::ofDouble(0.8)});
  if (job == "png") return bench.Call(image, "PNGRepresentation");
  if (job == "png-mt") return bench.Call(image, "PNGRepresentationMT");
  if (job == "thumbnail") {
    Value thumbnail = bench.runtime().call(image, "imageByScalingToSize", {Value::ofDouble(size), Value::ofDouble(size)});
    return thumbnail.isNil() ? std::string() : bench.Call(thumbnail, "PNGRepresentation");
  }
  return std::string();
}

// Milliseconds per call of member on a tiny image, over count calls.
double MillisecondsPerCall(Bench& bench, const Value& image, const char* member, int count) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < count; ++i)
    if (bench.Call(image, member).empty()) return -1;
  return Seconds(start) * 1000 / count;
}

int Usage() {
  std::fprintf(stderr,
               "usage: qvr_host_bench jpeg|jpeg-mt|png|png-mt|bmp IN OUT\n"
               "       qvr_host_bench thumbnail IN OUT.png SIZE\n"
               "       qvr_host_bench load IN.jpg|IN.png OUT.bmp   (QVR_BENCH_REPEAT times the loading)\n"
               "IN is a PPM (its pixels) or a JPEG or PNG file (loaded with imageWithData).\n"
               "       qvr_host_bench mt-overhead [CALLS]\n"
               "QVR_BENCH_REPEAT=N runs the member call N times in one process and prints its mean\n"
               "time, without starting the host, loading the plugin and making the image.\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage();
  const std::string job = argv[1];
  try {
    Bench bench;
    if (job == "mt-overhead") {
      // The added cost of the worker: a thread, the host thread's yields and 1 ms sleeps,
      // on work so small that the encoding itself hardly counts.
      const int calls = argc > 2 ? std::max(1, std::atoi(argv[2])) : 200;
      std::vector<uint8_t> pixels(8 * 8 * 3, 128);
      Value image = bench.ImageFromPixels(8, 8, pixels.data(), pixels.size());
      const char* twins[][2] = {{"PNGRepresentation", "PNGRepresentationMT"},
                                {"JPEGRepresentation", "JPEGRepresentationMT"}};
      for (const auto& twin : twins) {
        const char* member = twin[0];
        MillisecondsPerCall(bench, image, member, 10);  // warm up both paths
        MillisecondsPerCall(bench, image, twin[1], 10);
        const double direct = MillisecondsPerCall(bench, image, member, calls);
        const double mt = MillisecondsPerCall(bench, image, twin[1], calls);
        std::printf("%-20s direct %.3f ms, MT %.3f ms, added by MT %.3f ms per call\n", member, direct, mt, mt - direct);
      }
      return 0;
    }
    if (argc < 4) return Usage();
    const int size = argc > 4 ? std::atoi(argv[4]) : 256;
    Value image = job == "load" ? Value() : bench.ImageFromFile(argv[2]);
    if (job != "load" && image.isNil()) return 1;
    const std::string file = job == "load" ? ReadFile(argv[2]) : std::string();
    const char* repeat = std::getenv("QVR_BENCH_REPEAT");
    const int times = repeat ? std::max(1, std::atoi(repeat)) : 1;
    std::string out;
    // One untimed load first, as the other jobs time a loaded image and the peers' whole
    // commands get a warm-up run: a process's first 36 MB raster may land on memory the
    // virtual machine has never handed out, which stalls its first touch by up to 0.1 s.
    if (job == "load" && times > 1 && bench.LoadImage(file).isNil()) return 1;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < times; ++i) {
      if (job == "load") {
        // Only the loading is timed; the BMP of the last one is what the job writes.
        Value loaded = bench.LoadImage(file);
        if (loaded.isNil()) return 1;
        continue;
      }
      out = RunJob(bench, image, job, size, file);
    }
    const double seconds = Seconds(start) / times;
    if (job == "load") out = RunJob(bench, image, job, size, file);
    if (out.empty() || !WriteFile(argv[3], out)) return 1;
    if (repeat != nullptr) std::printf("%.6f\n", seconds);
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "qvr_host_bench: %s\n", e.what());
    return 1;
  }
}
