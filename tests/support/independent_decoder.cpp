// Runs Pillow on the bytes in a temporary file and reads its answer: a header line with
// format, compression and size, then the RGBA samples in hexadecimal.
#include "support/independent_decoder.h"

#include <unistd.h>

#include <sstream>

#include "support/files.h"

namespace support {

namespace {

const char kScript[] =
    "import sys\n"
    "from PIL import Image\n"
    "im = Image.open(sys.argv[1])\n"
    "print(im.format, im.info.get('compression', '-'), im.size[0], im.size[1])\n"
    "print(im.convert('RGBA').tobytes().hex())\n";

}  // namespace

DecodedImage DecodeIndependently(const std::string& encoded) {
  DecodedImage image;
  TempFolder folder;
  folder.write("encoded", encoded);
  // Debian's python3, where scripts/setup installs Pillow, rather than one of a
  // version manager earlier on the PATH.
  const char* python = access("/usr/bin/python3", X_OK) == 0 ? "/usr/bin/python3" : "python3";
  const std::string output =
      Output(std::string(python) + " -c \"" + kScript + "\" " + folder.path("encoded") + " 2>&1");
  std::istringstream lines(output);
  std::string hex;
  if (!(lines >> image.format >> image.compression >> image.width >> image.height >> hex) ||
      hex.size() != size_t(image.width) * image.height * 8) {
    image.error = output.substr(0, 400);
    return image;
  }
  if (image.compression == "-") image.compression.clear();
  image.rgba.resize(hex.size() / 2);
  for (size_t i = 0; i < image.rgba.size(); ++i) image.rgba[i] = uint8_t(std::stoi(hex.substr(i * 2, 2), nullptr, 16));
  image.ok = true;
  return image;
}

}  // namespace support
