/* Bad data of every format: cut short at any point it gives nil; with damaged headers it
   gives nil; with bytes flipped anywhere it gives nil or a picture, never a crash (this
   suite also runs under AddressSanitizer). */
#import "platform/codec_support.h"

#include <random>

namespace {

class CodecCorruptInput : public CodecTest, public ::testing::WithParamInterface<NSBitmapImageFileType> {
 protected:
  void SetUp() override {
    CodecTest::SetUp();
    if (GetParam() == NSJPEG2000FileType &&
        ![[NSBitmapImageRep imageUnfilteredTypes] containsObject:@"public.jpeg-2000"])
      GTEST_SKIP();
    TestPicture picture = MakeTestPicture(37, 23, GetParam() == NSJPEGFileType ? 3 : 4);
    NSData* data = [MakeRep(picture) representationUsingType:GetParam() properties:nil];
    ASSERT_NE(data, nil);
    valid_.assign(static_cast<const uint8_t*>([data bytes]), static_cast<const uint8_t*>([data bytes]) + [data length]);
  }
  static NSBitmapImageRep* Decode(const std::vector<uint8_t>& bytes) { return [NSBitmapImageRep imageRepWithData:DataOf(bytes)]; }
  std::vector<uint8_t> valid_;
};

TEST_P(CodecCorruptInput, TruncatedDataGivesNil) {
  ASSERT_NE(Decode(valid_), nil) << "whole, the data decodes";
  // Every cut from the first byte to the last, in steps that also hit the final bytes.
  for (size_t keep = 0; keep < valid_.size(); keep += (keep + 8 >= valid_.size() ? 1 : 7)) {
    std::vector<uint8_t> cut(valid_.begin(), valid_.begin() + long(keep));
    if (GetParam() == NSTIFFFileType && keep >= valid_.size() - 16) continue;  // only the last IFD's tail
    EXPECT_EQ(Decode(cut), nil) << "kept " << keep << " of " << valid_.size();
  }
}

TEST_P(CodecCorruptInput, FlippedBytesNeverCrash) {
  std::mt19937 random(1234);
  for (int round = 0; round < 300; ++round) {
    std::vector<uint8_t> damaged = valid_;
    const int flips = 1 + int(random() % 8);
    for (int i = 0; i < flips; ++i) damaged[random() % damaged.size()] ^= uint8_t(1u << (random() % 8));
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    NSBitmapImageRep* rep = Decode(damaged);
    if (rep != nil) {
      EXPECT_GT([rep pixelsWide], 0);
      [rep representationUsingType:NSPNGFileType properties:nil];  // the pixels are all there
    }
    [pool drain];
  }
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, CodecCorruptInput,
                         ::testing::Values(NSTIFFFileType, NSBMPFileType, NSGIFFileType, NSJPEGFileType,
                                           NSPNGFileType, NSJPEG2000FileType));

TEST(CodecDamagedHeaders, GiveNil) {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  // Signatures alone, or with nonsense after them; no bytes, no data, text.
  NSData* inputs[] = {Bytes({0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'}), Bytes({0xFF, 0xD8, 0xFF, 0xE0, 0, 0}),
                      Bytes({'G', 'I', 'F', '8', '9', 'a', 0, 0, 0, 0, 0, 0, 0}), Bytes({'I', 'I', 42, 0, 0xFF, 0xFF, 0xFF, 0x7F}),
                      Bytes({'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), [NSData data], nil,
                      [@"not an image at all" dataUsingEncoding:NSUTF8StringEncoding]};
  for (NSData* data : inputs) EXPECT_EQ([NSBitmapImageRep imageRepWithData:data], nil) << [[data description] UTF8String];
  EXPECT_FALSE([NSImageRep canInitWithData:[@"plain text" dataUsingEncoding:NSUTF8StringEncoding]]);

  // A BMP that claims 60000 x 60000 pixels but holds a handful of bytes.
  NSData* bmp = [MakeRep(MakeTestPicture(4, 4, 3)) representationUsingType:NSBMPFileType properties:nil];
  NSMutableData* huge = [[bmp mutableCopy] autorelease];
  uint8_t* bytes = static_cast<uint8_t*>([huge mutableBytes]);
  bytes[18] = 0x60, bytes[19] = 0xEA, bytes[22] = 0x60, bytes[23] = 0xEA;
  EXPECT_EQ([NSBitmapImageRep imageRepWithData:huge], nil);
  // A PNG whose IHDR checksum no longer matches.
  NSData* png = [MakeRep(MakeTestPicture(4, 4, 3)) representationUsingType:NSPNGFileType properties:nil];
  NSMutableData* badCRC = [[png mutableCopy] autorelease];
  static_cast<uint8_t*>([badCRC mutableBytes])[29] ^= 0xFF;
  EXPECT_EQ([NSBitmapImageRep imageRepWithData:badCRC], nil);
  [pool drain];
}

}  // namespace
