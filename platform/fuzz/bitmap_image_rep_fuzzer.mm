/* The fuzz target of NSBitmapImageRep from data, built once per format: QVR_FUZZ_FORMAT
   names the decoder, and only bytes that the sniffer hands to it are tried, so each build
   spends its time in one decoder. Every representation that imageRepsWithData: and
   initWithData: answer must hold together (rep_checks.h). PNG input has its chunk
   checksums set right first: libpng refuses a chunk whose checksum is wrong, so without
   this nearly every mutation would end at the first chunk it touched. */
#import <AppKit/AppKit.h>

#include <cstdint>
#include <vector>

#include <zlib.h>

#include "codecs/codecs.h"
#include "fuzz/rep_checks.h"

namespace {

uint32_t BigEndian32(const uint8_t* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }

/* Each whole chunk after the signature gets the CRC of its type and data. */
void SetChunkChecksums(std::vector<uint8_t>& png) {
  size_t at = 8;
  while (at + 12 <= png.size()) {
    const size_t length = BigEndian32(&png[at]);
    if (length > png.size() - at - 12) break;
    const uint32_t crc = uint32_t(crc32(0, &png[at + 4], uInt(length + 4)));
    for (int i = 0; i < 4; ++i) png[at + 8 + length + i] = uint8_t(crc >> (24 - 8 * i));
    at += 12 + length;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (qvr::sniff_image_format(bytes, size) != qvr::ImageFormat::QVR_FUZZ_FORMAT) return 0;
  std::vector<uint8_t> input(bytes, bytes + size);
  constexpr qvr::ImageFormat kFormat = qvr::ImageFormat::QVR_FUZZ_FORMAT;
  if (kFormat == qvr::ImageFormat::png) SetChunkChecksums(input);
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSData* data = [NSData dataWithBytes:input.data() length:input.size()];
  NSArray* reps = [NSBitmapImageRep imageRepsWithData:data];
  for (NSUInteger i = 0; i < [reps count]; ++i) fuzz::CheckBitmapRep([reps objectAtIndex:i]);
  NSBitmapImageRep* one = [[NSBitmapImageRep alloc] initWithData:data];
  if (one != nil) fuzz::CheckBitmapRep(one);
  [one release];
  [pool release];
  return 0;
}
