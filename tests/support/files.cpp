// Temporary folders, file bytes and command output.
#include "support/files.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace support {

TempFolder::TempFolder() {
  char pattern[] = "/tmp/qvr-test-XXXXXX";
  if (mkdtemp(pattern) != nullptr) path_ = pattern;
}

TempFolder::~TempFolder() {
  if (path_.empty()) return;
  [[maybe_unused]] int status = std::system(("rm -rf '" + path_ + "'").c_str());
}

void TempFolder::write(const std::string& name, const std::string& bytes) const {
  std::ofstream(path(name), std::ios::binary) << bytes;
}

std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

std::string Output(const std::string& command, bool trimmed) {
  std::string output;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
    pclose(pipe);
  }
  while (trimmed && !output.empty() && output.back() == '\n') output.pop_back();
  return output;
}

std::string MadeBy(const std::string& command, const std::string& file) {
  TempFolder folder;
  const std::string line = "cd " + folder.path() + " && " + command;
  if (std::system(line.c_str()) != 0) ADD_FAILURE() << "failed: " << command;
  return ReadBytes(folder.path(file));
}

std::string MadeByPillow(const std::string& program) {
  const std::string header = "from PIL import Image, ImageCms, TiffImagePlugin\nout = 'made'\n";
  return MadeBy("/usr/bin/python3 -c \"" + header + program + "\"", "made");
}

}  // namespace support
