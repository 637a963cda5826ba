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
  // TIFF: 257 bytes declaring 100 million 2-bit pixels in strips that are not there, 176
  // bytes of fax coding for 226 million; PNG: 4 KB of an interlaced picture of 65,536 x
  // 4,096 pixels of 16-bit RGBA, 298 bytes whose text chunk claims 2 GB.
  for (const char* name : {"tiff/slow-100-megapixels-of-missing-strips.tif",
                           "tiff/timeout-fax-coding-of-226-megapixels-in-176-bytes.tif",
                           "png/interlaced-2-gigabytes-from-4-kilobytes.png", "png/slow-text-chunk-claiming-2-gigabytes.png"}) {
    NSData* data = CorpusFile(name);
    ASSERT_NE(data, nil) << name;
    EXPECT_EQ([NSBitmapImageRep imageRepWithData:data], nil) << name;
  }
}

TEST_F(DecoderDataRules, TheFlattestRealFilesStillRead) {
  // A blank fax page of 34 million pixels is some 700 bytes; the others are one colour at
  // 9 million pixels, as small as their encoders make them.
  const std::string flat = "Image.new('L', (3000, 3000), 128).save(out, ";
  const std::pair<NSData*, int> files[] = {
      {Made("/usr/bin/python3 -c \"import sys; sys.stdout.buffer.write(b'P4 8192 4200 ' + bytes(1024 * 4200))\""
            " | pamtotiff -g4 > fax.tif",
            "fax.tif"),
       8192},
      {MadeByPillow(flat + "'TIFF', compression='tiff_lzw')"), 3000},
      {MadeByPillow(flat + "'PNG', optimize=True)"), 3000},
      {MadeByPillow(flat + "'JPEG', progressive=True, quality=10)"), 3000},
  };
  for (const auto& file : files) {
    NSBitmapImageRep* rep = [NSBitmapImageRep imageRepWithData:file.first];
    EXPECT_EQ(rep ? [rep pixelsWide] : 0, file.second) << "file " << &file - files;
  }
}

}  // namespace
