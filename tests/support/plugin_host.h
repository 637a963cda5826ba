// Helpers for suites that drive plugins through the host: a host with the plugins of a
// test loaded, the live counts a test must leave as it found them, the lines the platform
// logs to stderr during a call, and temporary folders, file bytes and command output.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/runtime.h"

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

// A fresh folder under /tmp, removed with all it holds when the object goes.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const std::string& path() const { return path_; }
  std::string path(const std::string& name) const { return path_ + "/" + name; }
  void write(const std::string& name, const std::string& bytes) const;

 private:
  std::string path_;
};

// The bytes of a file, "" when there is none.
std::string ReadBytes(const std::string& path);
// What a shell command prints on its standard output, as it is.
std::string Output(const std::string& command);
// Runs a shell command in a fresh folder (its working folder) and gives the bytes of the
// file it wrote there, "" when it wrote none.
std::string MadeBy(const std::string& command, const std::string& file);
// The same for a Python program with Pillow's Image, ImageCms and TiffImagePlugin
// imported, which writes the file named by `out`.
std::string MadeByPillow(const std::string& program);

}  // namespace support
