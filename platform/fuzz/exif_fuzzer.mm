/* The fuzz target of EXIF blocks, as they come out of JPEG APP1 segments and TIFF files:
   the block read into the NSImageEXIFData dictionary and written back, the orientation
   read, and the block gathered out of bytes taken as a TIFF file. */
#import <AppKit/AppKit.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "codecs/exif_orientation.h"
#include "codecs/tiff_exif_block.h"
#include "imagereps/bitmap_storage.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  const std::vector<uint8_t> block(bytes, bytes + size);
  const int orientation = qvr::exif_orientation(block);
  if (orientation < 1 || orientation > 8) std::abort();
  NSDictionary* dictionary = QVRDictionaryFromEXIF(block);
  if ([dictionary count] > 0) {
    // What was read can be written, and what was written reads back.
    std::vector<uint8_t> written;
    if (QVREXIFFromDictionary(dictionary, written) && QVRDictionaryFromEXIF(written) == nil) std::abort();
  }
  std::vector<uint8_t> gathered;
  if (qvr::tiff_exif_block(bytes, size, gathered)) QVRDictionaryFromEXIF(gathered);
  [pool release];
  return 0;
}
