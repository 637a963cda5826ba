/* What the NSImage files share: the flag bits of an image, the name registry's entry
   points, the standard images, and fetching data behind a URL. */
#ifndef QVR_APPKIT_IMAGE_INTERNAL_H
#define QVR_APPKIT_IMAGE_INTERNAL_H

#import <AppKit/AppKit.h>

enum {
  kImageSizeSet = 1u << 0,
  kImageFlipped = 1u << 1,
  kImageScalesWhenResized = 1u << 2,
  kImageDataRetained = 1u << 3,
  kImageCachedSeparately = 1u << 4,
  kImageCacheDepthMatchesImageDepth = 1u << 5,
  kImageUsesEPSOnResolutionMismatch = 1u << 6,
  kImagePrefersColorMatch = 1u << 7,
  kImageMatchesOnMultipleResolution = 1u << 8,
  kImageMatchesOnlyOnBestFittingAxis = 1u << 9,
  kImageTemplate = 1u << 10,
  kImageFocusFlipped = 1u << 11,
};

/* The name registry. Registering fails when another image holds the name; an image
   leaving the registry (renamed or freed) calls ImageRegistryRemove. */
BOOL ImageRegistryAdd(NSString* name, NSImage* image);
void ImageRegistryRemove(NSString* name, NSImage* image);
NSImage* ImageRegistryLookup(NSString* name);

/* A new image drawn for one of the standard names, or nil for another name. */
NSImage* StandardImageCreate(NSString* name);

/* The bytes behind an http or https URL (nil on any failure: no connection, an error
   status, a body that exceeds the limit). */
NSData* URLFetchData(NSURL* url);

/* The EXIF orientation (1 to 8) of JPEG data, 1 for anything else; and representations
   redrawn upright for an orientation (bitmaps only; others as they are). */
int ImageDataOrientation(NSData* data);
NSArray* ImageRepsUpright(NSArray* reps, int orientation);

@interface NSImage (Internal)
/* The representations to draw from, with the image's size taken from the first one when
   it has none of its own. */
- (void)_adoptSizeOfRepresentations;
@end

#endif
