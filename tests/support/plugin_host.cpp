// Helpers for suites that drive plugins through the host.
#include "support/plugin_host.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace support {

std::string LibraryPath(const std::string& fileName) { return host::Runtime::libraryDirectory() + "/" + fileName; }

std::unique_ptr<host::Runtime> StartHost(host::Options options, ImagePlugin plugin) {
  bool siblings = options.siblings;
  auto runtime = std::make_unique<host::Runtime>(std::move(options));
  if (plugin == ImagePlugin::Product) {
    runtime->loadStandardPlugins();
  } else {
    if (siblings) runtime->loadPlugin(LibraryPath("libQVRSiblings.so"));
    runtime->loadPlugin(LibraryPath("libNSImageQVRTestPlugin.so"));
  }
  return runtime;
}

LiveCounts Live(const host::Runtime& runtime) { return {runtime.liveObjects(), runtime.liveStrings()}; }

std::string Describe(const LiveCounts& counts) {
  return std::to_string(counts.objects) + " objects, " + std::to_string(counts.strings) + " strings";
}

std::string HostVersionName(std::optional<double> version) {
  if (!version) return "NoVersion";
  std::string text = std::to_string(*version);
  text.erase(text.find_last_not_of('0') + 1);
  if (!text.empty() && text.back() == '.') text.pop_back();
  for (char& c : text)
    if (c == '.') c = '_';
  return "Host" + text;
}

std::string ClassName(const host::Runtime& runtime, const host::Value& value) {
  host::ClassInfo* cls = runtime.classOf(value);
  return cls ? cls->name : std::string();
}

StderrCapture::StderrCapture() {
  std::fflush(stderr);
  char path[] = "/tmp/qvr-stderr-XXXXXX";
  file_ = mkstemp(path);
  if (file_ < 0) return;
  unlink(path);
  saved_ = dup(2);
  dup2(file_, 2);
}

StderrCapture::~StderrCapture() { lines(); }

std::vector<std::string> StderrCapture::lines() {
  if (done_) return lines_;
  done_ = true;
  if (file_ < 0) return lines_;
  std::fflush(stderr);
  dup2(saved_, 2);
  close(saved_);
  std::string text;
  char buffer[4096];
  lseek(file_, 0, SEEK_SET);
  for (ssize_t n; (n = read(file_, buffer, sizeof buffer)) > 0;) text.append(buffer, static_cast<size_t>(n));
  close(file_);
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    lines_.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  // Echo, so a failing test still shows what was logged.
  std::fwrite(text.data(), 1, text.size(), stderr);
  return lines_;
}

size_t CountContaining(const std::vector<std::string>& lines, const std::string& needle) {
  size_t count = 0;
  for (const std::string& line : lines)
    if (line.find(needle) != std::string::npos) ++count;
  return count;
}

}  // namespace support
