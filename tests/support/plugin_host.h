// Helpers for suites that drive plugins through the host: a host with the plugins of a
// test loaded, the live counts a test must leave as it found them, the lines the platform
// logs to stderr during a call (temporary folders, file bytes and command output: files.h).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/runtime.h"
#include "support/files.h"

namespace support {

// Which image plugin a test loads: the product, or the test-only plugin built from the
// same sources with probe classes.
enum class ImagePlugin { Product, TestPlugin };

// A host with the sibling plugin (when options.siblings) and then the image plugin.
std::unique_ptr<host::Runtime> StartHost(host::Options options, ImagePlugin plugin = ImagePlugin::Product);

std::string LibraryPath(const std::string& fileName);

// The host's live objects and strings at one moment.
struct LiveCounts {
  size_t objects = 0;
  size_t strings = 0;
  bool operator==(const LiveCounts& other) const { return objects == other.objects && strings == other.strings; }
};
LiveCounts Live(const host::Runtime& runtime);
std::string Describe(const LiveCounts& counts);

// A test name for a host version: "Host2013_03", "NoVersion" for a host without one.
std::string HostVersionName(std::optional<double> version);

// The class name of an object value ("" for Nil).
std::string ClassName(const host::Runtime& runtime, const host::Value& value);

// Collects what is written to file descriptor 2 between construction and lines().
class StderrCapture {
 public:
  StderrCapture();
  ~StderrCapture();
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;
  // Stops capturing (once) and returns the captured lines.
  std::vector<std::string> lines();

 private:
  int saved_ = -1;
  int file_ = -1;
  std::vector<std::string> lines_;
  bool done_ = false;
};

// Lines containing needle.
size_t CountContaining(const std::vector<std::string>& lines, const std::string& needle);

}  // namespace support
