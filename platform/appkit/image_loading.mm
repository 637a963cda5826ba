/* Making images from what holds them: encoded data (through NSImageRep's class registry),
   files, file and http(s) URLs, the pasteboard and CGImages; and the type lists, which
   are the registry's. */
#import "image_internal.h"
#include "coregraphics/live_objects.h"

#include <sys/stat.h>

/* Only a regular file can hold an image: a folder or a device is refused before it is
   opened, since the reader would only log a complaint about it. */
static BOOL IsRegularFile(NSString* path) {
  struct stat info;
  return stat([path fileSystemRepresentation], &info) == 0 && S_ISREG(info.st_mode);
}

@implementation NSImage (NSImageLoading)

/* Takes the representations and the size of the first; nil (receiver freed) for none. */
- (id)initWithRepresentations:(NSArray*)reps {
  if ([reps count] == 0) {
    [self release];
    return nil;
  }
  if ((self = [self initWithSize:NSZeroSize])) {
    [self addRepresentations:reps];
    [self _adoptSizeOfRepresentations];
  }
  return self;
}

static NSArray* RepresentationsOfData(NSData* data) {
  if (![data isKindOfClass:[NSData class]] || [data length] == 0) return nil;
  Class repClass = [NSImageRep imageRepClassForData:data];
  if (!repClass) return nil;
  /* Several representations when the class reads several (TIFF pages, icon sizes); a GIF
     animation is one representation that keeps its frames. */
  if ([repClass respondsToSelector:@selector(imageRepsWithData:)]) return [repClass imageRepsWithData:data];
  if ([repClass respondsToSelector:@selector(imageRepWithData:)]) {
    id one = [repClass imageRepWithData:data];
    return one ? [NSArray arrayWithObject:one] : nil;
  }
  return nil;
}

- (id)initWithData:(NSData*)data {
  NSArray* reps = RepresentationsOfData(data);
  if ([reps count]) reps = ImageRepsUpright(reps, ImageDataOrientation(data));
  return [self initWithRepresentations:reps];
}

- (id)initWithDataIgnoringOrientation:(NSData*)data {
  return [self initWithRepresentations:RepresentationsOfData(data)];
}

- (id)initWithContentsOfFile:(NSString*)fileName {
  if (![fileName isKindOfClass:[NSString class]] || [fileName length] == 0 || !IsRegularFile(fileName)) {
    [self release];
    return nil;
  }
  NSData* data = [NSData dataWithContentsOfFile:fileName];
  NSArray* reps = RepresentationsOfData(data);
  /* Formats known only by the file's extension. */
  if ([reps count] == 0 && data) reps = [NSImageRep imageRepsWithContentsOfFile:fileName];
  if ([reps count]) reps = ImageRepsUpright(reps, ImageDataOrientation(data));
  return [self initWithRepresentations:reps];
}

- (id)initWithContentsOfURL:(NSURL*)url {
  if (![url isKindOfClass:[NSURL class]]) {
    [self release];
    return nil;
  }
  if ([url isFileURL]) return [self initWithContentsOfFile:[url path]];
  return [self initWithData:URLFetchData(url)];
}

/* Loading is never deferred here: referencing loads at once. */
- (id)initByReferencingFile:(NSString*)fileName {
  return [self initWithContentsOfFile:fileName];
}

- (id)initByReferencingURL:(NSURL*)url {
  return [self initWithContentsOfURL:url];
}

- (id)initWithPasteboard:(NSPasteboard*)pasteboard {
  if (![pasteboard isKindOfClass:[NSPasteboard class]]) {
    [self release];
    return nil;
  }
  return [self initWithRepresentations:[NSImageRep imageRepsWithPasteboard:pasteboard]];
}

- (id)initWithCGImage:(CGImageRef)cgImage size:(NSSize)size {
  if (!CGLiveObjectIsLive(cgImage) || CFGetTypeID((CFTypeRef)cgImage) != CGImageGetTypeID()) {
    [self release];
    return nil;
  }
  NSBitmapImageRep* rep = [[[NSBitmapImageRep alloc] initWithCGImage:cgImage] autorelease];
  if (!rep) {
    [self release];
    return nil;
  }
  if (size.width == 0 && size.height == 0) size = NSMakeSize(CGImageGetWidth(cgImage), CGImageGetHeight(cgImage));
  [rep setSize:size];
  if ((self = [self initWithSize:size])) {
    [self addRepresentation:rep];
    [self setSize:size];
  }
  return self;
}

- (id)initWithIconRef:(IconRef)iconRef {
  [self release];
  return nil;
}

+ (NSArray*)imageTypes {
  return [NSImageRep imageTypes];
}
+ (NSArray*)imageUnfilteredTypes {
  return [NSImageRep imageUnfilteredTypes];
}
+ (NSArray*)imageFileTypes {
  return [NSImageRep imageFileTypes];
}
+ (NSArray*)imageUnfilteredFileTypes {
  return [NSImageRep imageUnfilteredFileTypes];
}
+ (NSArray*)imagePasteboardTypes {
  return [NSImageRep imagePasteboardTypes];
}
+ (NSArray*)imageUnfilteredPasteboardTypes {
  return [NSImageRep imageUnfilteredPasteboardTypes];
}
+ (BOOL)canInitWithPasteboard:(NSPasteboard*)pasteboard {
  return pasteboard && [NSImageRep canInitWithPasteboard:pasteboard];
}

@end
