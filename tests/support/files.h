// Temporary folders, file bytes and the output of shell commands, for every suite (the
// platform suite too, which has no host).
#pragma once

#include <string>

namespace support {

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
// What a shell command prints on its standard output: as it is, or without its last newlines.
std::string Output(const std::string& command, bool trimmed = false);
// Runs a shell command in a fresh folder (its working folder) and gives the bytes of the
// file it wrote there, "" when it wrote none.
std::string MadeBy(const std::string& command, const std::string& file);
// The same for a Python program with Pillow's Image, ImageCms and TiffImagePlugin
// imported, which writes the file named by `out`.
std::string MadeByPillow(const std::string& program);

}  // namespace support
