/* The fuzz target of the plugin's way in for bytes: host code calling
   NSImageQVR.imageWithData with a MemoryBlock and with a String, and initWithData on a new
   instance, through the host as a program would. An image that comes back answers its
   width and height and encodes to TIFF; afterwards the host's live objects and strings
   are where they were, so no input leaks a reference. */
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "host/runtime.h"

namespace {

host::Runtime& Host() {
  static std::unique_ptr<host::Runtime> runtime = [] {
    auto made = std::make_unique<host::Runtime>();
    made->loadStandardPlugins();
    return made;
  }();
  return *runtime;
}

void Use(host::Runtime& rt, const host::Value& image) {
  if (image.isNil()) return;
  const double width = rt.get(image, "width").real, height = rt.get(image, "height").real;
  if (!(width >= 0) || !(height >= 0)) std::abort();
  if (width * height <= 65536) rt.call(image, "TIFFRepresentationUsingCompression", {host::Value::ofInteger(1), host::Value::ofDouble(0)});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  host::Runtime& rt = Host();
  const size_t objects = rt.liveObjects(), strings = rt.liveStrings();
  {
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    host::Value block = rt.memoryBlock(bytes, size);
    Use(rt, rt.callShared("NSImageQVR", "imageWithData(data as memoryblock) as NSImageQVR", {block}));
    // The empty string is the host's null string, which the factory refuses with an exception.
    try {
      Use(rt, rt.callShared("NSImageQVR", "imageWithData(data as string) as NSImageQVR", {rt.string(text, host::kEncodingUnknown)}));
      if (text.empty()) std::abort();
    } catch (const host::HostException& e) {
      if (!text.empty() || e.message() != "String is empty") std::abort();
    }
    host::Value fresh = rt.newInstance("NSImageQVR");
    if (rt.call(fresh, "initWithData", {block}).boolean) Use(rt, fresh);
  }
  if (rt.liveObjects() != objects || rt.liveStrings() != strings) std::abort();
  return 0;
}
