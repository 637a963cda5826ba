/* Small files that claim huge pictures are refused before the picture is made, while the
   flattest real files of each format, far smaller than their pictures, still read. */
#import "platform/codec_support.h"

#include <cstdlib>

namespace {

class DecoderDataRules : public CodecTest {};

NSData* CorpusFile(const std::string& name) {
  const char* source = std::getenv("QVR_SOURCE_DIR");
  return source ? ReadFile(std::string(source) + "/platform/fuzz/corpus/" + name) : nil;
}

TEST_F(DecoderDataRules, FewBytesClaimingHugePicturesAreRefused) {
  // 257 bytes of TIFF declaring 100 million 2-bit pixels in strips that are not there;
  // 4 KB of an interlaced PNG declaring 65,536 x 4,096 pixels of 16-bit RGBA.
  for (const char* name : {"tiff/slow-100-megapixels-of-missing-strips.tif", "png/interlaced-2-gigabytes-from-4-kilobytes.png"}) {
    NSData* data = CorpusFile(name);
    ASSERT_NE(data, nil) << name;
    EXPECT_EQ([NSBitmapImageRep imageRepWithData:data], nil) << name;
  }
}

TEST_F(DecoderDataRules, TheFlattestRealFilesStillRead) {
  // A blank fax page of 34 million pixels is some 700 bytes; the others are one colour at
  // 9 million pixels, as small as their encoders make them.
  struct Flat {
    const char* extension;
    std::string make;
    int width;
  };
  const std::string pillow = "/usr/bin/python3 -c \"import sys; from PIL import Image; Image.new('L', (3000, 3000), 128).save(sys.argv[1], ";
  const Flat files[] = {
      {".tif", "/usr/bin/python3 -c \"import sys; sys.stdout.buffer.write(b'P4 8192 4200 ' + bytes(1024 * 4200))\" | pamtotiff -g4 > $OUT", 8192},
      {".tif", pillow + "compression='tiff_lzw')\" $OUT", 3000},
      {".png", pillow + "optimize=True)\" $OUT", 3000},
      {".jpg", pillow + "progressive=True, quality=10)\" $OUT", 3000},
  };
  for (const Flat& file : files) {
    const std::string path = Temporary([NSData data], file.extension);
    std::string command = file.make;
    command.replace(command.find("$OUT"), 4, path);
    Output(command);
    NSBitmapImageRep* rep = [NSBitmapImageRep imageRepWithData:ReadFile(path)];
    EXPECT_EQ(rep ? [rep pixelsWide] : 0, file.width) << command;
  }
}

}  // namespace
