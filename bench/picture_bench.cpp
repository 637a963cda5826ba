/* The picture conversion benchmark: a host program that makes a 12-megapixel Picture
   (4000 x 3000) and a mask in the storage of the application kind it is given (desktop:
   bitmap contexts; console: the host row buffer), then times, in one process, New
   NSImageQVR(picture, mask) and CopyPictureWithMask of the masked image against copying
   the picture's bytes (4 per pixel) into a freshly allocated buffer with memcpy. Prints
   the median of each and the ratio to the copy, and each first call on its own (it
   alone meets memory the process has not had before). */
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "host/runtime.h"

namespace {

using host::Value;

struct Timing {
  double median = -1, first = -1;
};

Timing MedianMilliseconds(int runs, const std::function<bool()>& job) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    const auto start = std::chrono::steady_clock::now();
    if (!job()) return {};
    times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
  }
  const double first = times[0];
  std::sort(times.begin(), times.end());
  return {times[times.size() / 2], first};
}

void Fill(host::Runtime& rt, const Value& picture, uint32_t color, int x, int y, int w, int h) {
  Value g = rt.get(picture, "Graphics");
  rt.set(g, "DrawingColor", Value::ofColor(color));
  rt.call(g, "FillRect", {Value::ofDouble(x), Value::ofDouble(y), Value::ofDouble(w), Value::ofDouble(h)});
}

}  // namespace

int main(int argc, char** argv) {
  const std::string kind = argc > 1 ? argv[1] : "desktop";
  const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 7;
  const int width = 4000, height = 3000;
  try {
    host::Options options;
    options.kind = kind == "console" ? host::AppKind::Console : host::AppKind::Desktop;
    host::Runtime rt(options);
    rt.loadStandardPlugins();
    Value picture = rt.newInstance("Picture", {Value::ofInteger(width), Value::ofInteger(height), Value::ofInteger(32)});
    Value mask = rt.newInstance("Picture", {Value::ofInteger(width), Value::ofInteger(height), Value::ofInteger(32)});
    Fill(rt, picture, 0x3366CC, 0, 0, width, height / 2);
    Fill(rt, picture, 0xFF8000, 0, height / 2, width, height / 2);
    Fill(rt, mask, 0x000000, 0, 0, width, height);
    Fill(rt, mask, 0x808080, 0, 0, width / 3, height);

    const size_t bytes = size_t(width) * height * 4;
    std::vector<unsigned char> source(bytes, 0x5A);
    const Timing copy = MedianMilliseconds(runs, [&] {
      auto* target = static_cast<unsigned char*>(std::malloc(bytes));
      if (target == nullptr) return false;
      std::memcpy(target, source.data(), bytes);
      volatile unsigned char keep = target[bytes / 2];
      (void)keep;
      std::free(target);
      return true;
    });
    Value image;
    const Timing toImage = MedianMilliseconds(runs, [&] {
      image = rt.newInstance("NSImageQVR", {picture, mask});
      return rt.get(image, "Handle").integer != 0;
    });
    const Timing toPicture = MedianMilliseconds(runs, [&] {
      Value back = rt.call(image, "CopyPictureWithMask");
      return !back.isNil() && !rt.call(back, "Mask", {Value::ofBoolean(false)}).isNil();
    });
    if (std::getenv("QVR_BENCH_PARTS")) {
      for (const char* part : {"CopyPicture", "CopyMask"})
        std::printf("  %-38s  %8.1f ms\n", part,
                    MedianMilliseconds(runs, [&] { return !rt.call(image, part).isNil(); }).median);
    }
    std::printf("%s storage, %d x %d, median of %d runs\n", kind.c_str(), width, height, runs);
    std::printf("  memcpy of %zu bytes into a new buffer  %8.1f ms               (first call %6.1f ms)\n", bytes,
                copy.median, copy.first);
    for (const auto& [name, t] : {std::pair<const char*, Timing>{"New NSImageQVR(picture, mask)", toImage},
                                  std::pair<const char*, Timing>{"CopyPictureWithMask", toPicture}})
      std::printf("  %-38s  %8.1f ms  %5.2f x the copy  (first call %6.1f ms, %5.2f x)\n", name, t.median,
                  t.median / copy.median, t.first, t.first / copy.first);
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "qvr_picture_bench: %s\n", e.what());
    return 1;
  }
}
