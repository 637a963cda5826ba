/* The constants of NSBitmapImageRepQVR (TIFF compression codes, file types, load status,
   bitmap format bits, in that order) and the fourteen shared getters of the platform's
   property keys. A key getter runs without the call guard: it only reads a global string,
   and answers "" when this system's AppKit does not provide that constant. */
#import <AppKit/AppKit.h>

#include "convert/strings.h"
#include "imagerep/NSBitmapImageRepQVR_members.h"
#include "imagerep/property_keys.h"

REALstring PropertyKeyRB(NSString* const* key) {
  if (key == nullptr || *key == nil) return nullptr;
  return CFString2RBString(reinterpret_cast<CFStringRef>(*key));
}

namespace {

#define QVR_KEY_GETTER(key) \
  REALstring get##key() { return PropertyKeyRB(&key); }

QVR_KEY_GETTER(NSImageCompressionMethod)
QVR_KEY_GETTER(NSImageCompressionFactor)
QVR_KEY_GETTER(NSImageDitherTransparency)
QVR_KEY_GETTER(NSImageRGBColorTable)
QVR_KEY_GETTER(NSImageInterlaced)
QVR_KEY_GETTER(NSImageColorSyncProfileData)
QVR_KEY_GETTER(NSImageFrameCount)
QVR_KEY_GETTER(NSImageCurrentFrame)
QVR_KEY_GETTER(NSImageCurrentFrameDuration)
QVR_KEY_GETTER(NSImageLoopCount)
QVR_KEY_GETTER(NSImageGamma)
QVR_KEY_GETTER(NSImageProgressive)
QVR_KEY_GETTER(NSImageEXIFData)
QVR_KEY_GETTER(NSImageFallbackBackgroundColor)

#undef QVR_KEY_GETTER

const REALmethodDefinition KeyRows[] = {
    MethodRow(&getNSImageCompressionMethod, "NSImageCompressionMethod as string"),
    MethodRow(&getNSImageCompressionFactor, "NSImageCompressionFactor as string"),
    MethodRow(&getNSImageDitherTransparency, "NSImageDitherTransparency as string"),
    MethodRow(&getNSImageRGBColorTable, "NSImageRGBColorTable as string"),
    MethodRow(&getNSImageInterlaced, "NSImageInterlaced as string"),
    MethodRow(&getNSImageColorSyncProfileData, "NSImageColorSyncProfileData as string"),
    MethodRow(&getNSImageFrameCount, "NSImageFrameCount as string"),
    MethodRow(&getNSImageCurrentFrame, "NSImageCurrentFrame as string"),
    MethodRow(&getNSImageCurrentFrameDuration, "NSImageCurrentFrameDuration as string"),
    MethodRow(&getNSImageLoopCount, "NSImageLoopCount as string"),
    MethodRow(&getNSImageGamma, "NSImageGamma as string"),
    MethodRow(&getNSImageProgressive, "NSImageProgressive as string"),
    MethodRow(&getNSImageEXIFData, "NSImageEXIFData as string"),
    MethodRow(&getNSImageFallbackBackgroundColor, "NSImageFallbackBackgroundColor as string"),
};

const REALconstant ConstantRows[] = {
    {"NSTIFFCompressionNone = 1", 0, 0, 0, nullptr},
    {"NSTIFFCompressionCCITTFAX3 = 3", 0, 0, 0, nullptr},
    {"NSTIFFCompressionCCITTFAX4 = 4", 0, 0, 0, nullptr},
    {"NSTIFFCompressionLZW = 5", 0, 0, 0, nullptr},
    {"NSTIFFCompressionJPEG = 6", 0, 0, 0, nullptr},
    {"NSTIFFCompressionNEXT = 32766", 0, 0, 0, nullptr},
    {"NSTIFFCompressionPackBits = 32773", 0, 0, 0, nullptr},
    {"NSTIFFCompressionOldJPEG = 32865", 0, 0, 0, nullptr},
    {"NSTIFFFileType = 0", 0, 0, 0, nullptr},
    {"NSBMPFileType = 1", 0, 0, 0, nullptr},
    {"NSGIFFileType = 2", 0, 0, 0, nullptr},
    {"NSJPEGFileType = 3", 0, 0, 0, nullptr},
    {"NSPNGFileType = 4", 0, 0, 0, nullptr},
    {"NSJPEG2000FileType = 5", 0, 0, 0, nullptr},
    {"NSImageRepLoadStatusUnknownType = -1", 0, 0, 0, nullptr},
    {"NSImageRepLoadStatusReadingHeader = -2", 0, 0, 0, nullptr},
    {"NSImageRepLoadStatusWillNeedAllData = -3", 0, 0, 0, nullptr},
    {"NSImageRepLoadStatusInvalidData = -4", 0, 0, 0, nullptr},
    {"NSImageRepLoadStatusUnexpectedEOF = -5", 0, 0, 0, nullptr},
    {"NSImageRepLoadStatusCompleted = -6", 0, 0, 0, nullptr},
    {"NSAlphaFirstBitmapFormat = 1", 0, 0, 0, nullptr},
    {"NSAlphaNonpremultipliedBitmapFormat = 2", 0, 0, 0, nullptr},
    {"NSFloatingPointSamplesBitmapFormat = 4", 0, 0, 0, nullptr},
};

}  // namespace

const MemberRows<REALconstant> NSBitmapImageRepConstantRows = RowsOf(ConstantRows);
const MemberRows<REALmethodDefinition> NSBitmapImageRepKeySharedMethods = RowsOf(KeyRows);
