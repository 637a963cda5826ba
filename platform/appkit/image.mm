/* NSImage: its size, flags and properties, its list of representations and copying.
   Loading, drawing and the name registry live in the image_* files beside this one. */
#import "image_internal.h"

#include <math.h>

@implementation NSImage

- (id)init {
  return [self initWithSize:NSZeroSize];
}

- (id)initWithSize:(NSSize)size {
  if ((self = [super init])) {
    _reps = [[NSMutableArray alloc] init];
    _flags = kImagePrefersColorMatch | kImageMatchesOnMultipleResolution | kImageScalesWhenResized;
    _backgroundColor = [[NSColor clearColor] retain];
    _alignmentRect = NSZeroRect;
    if (size.width > 0 && size.height > 0) {
      _size = size;
      _flags |= kImageSizeSet;
      _alignmentRect = NSMakeRect(0, 0, size.width, size.height);
    }
  }
  return self;
}

- (void)dealloc {
  if (_name) ImageRegistryRemove(_name, self);
  [_name release];
  [_reps release];
  [_backgroundColor release];
  [_accessibilityDescription release];
  [_focusRep release];
  [_focusContext release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
  NSImage* copy = [[NSImage allocWithZone:zone] initWithSize:_size];
  copy->_flags = _flags & ~kImageFocusFlipped;
  copy->_cacheMode = _cacheMode;
  copy->_alignmentRect = _alignmentRect;
  [copy setBackgroundColor:_backgroundColor];
  [copy setAccessibilityDescription:_accessibilityDescription];
  for (NSUInteger i = 0; i < [_reps count]; i++) {
    NSImageRep* rep = [[_reps objectAtIndex:i] copy];
    if (rep) [copy->_reps addObject:rep];
    [rep release];
  }
  return copy;
}

- (NSString*)description {
  return [NSString stringWithFormat:@"<NSImage %p Name=%@ Size={%g, %g} Reps=%@>", (void*)self, _name,
                                    _size.width, _size.height, _reps];
}

- (void)_adoptSizeOfRepresentations {
  if ((_flags & kImageSizeSet) || [_reps count] == 0) return;
  NSSize size = [[_reps objectAtIndex:0] size];
  if (size.width > 0 && size.height > 0) {
    _size = size;
    _flags |= kImageSizeSet;
    _alignmentRect = NSMakeRect(0, 0, size.width, size.height);
  }
}

- (void)setSize:(NSSize)size {
  _size = size;
  _flags |= kImageSizeSet;
  _alignmentRect = NSMakeRect(0, 0, size.width, size.height);
}

- (NSSize)size {
  if (!(_flags & kImageSizeSet) && [_reps count] > 0) return [[_reps objectAtIndex:0] size];
  return _size;
}

- (BOOL)setName:(NSString*)name {
  if (name && [name isEqual:_name]) return YES;
  if (name && !ImageRegistryAdd(name, self)) return NO;
  if (_name) ImageRegistryRemove(_name, self);
  [_name release];
  _name = [name copy];
  return YES;
}

- (NSString*)name {
  return _name;
}

- (BOOL)isValid {
  if ([_reps count] > 0) return YES;
  NSSize size = [self size];
  return size.width > 0 && size.height > 0;
}

#define FLAG_ACCESSORS(getter, setter, bit) \
  -(void)setter : (BOOL)flag {              \
    if (flag) _flags |= (bit);              \
    else _flags &= ~(bit);                  \
  }                                         \
  -(BOOL)getter {                           \
    return (_flags & (bit)) != 0;           \
  }

FLAG_ACCESSORS(isFlipped, setFlipped, kImageFlipped)
FLAG_ACCESSORS(scalesWhenResized, setScalesWhenResized, kImageScalesWhenResized)
FLAG_ACCESSORS(isDataRetained, setDataRetained, kImageDataRetained)
FLAG_ACCESSORS(isCachedSeparately, setCachedSeparately, kImageCachedSeparately)
FLAG_ACCESSORS(cacheDepthMatchesImageDepth, setCacheDepthMatchesImageDepth, kImageCacheDepthMatchesImageDepth)
FLAG_ACCESSORS(usesEPSOnResolutionMismatch, setUsesEPSOnResolutionMismatch, kImageUsesEPSOnResolutionMismatch)
FLAG_ACCESSORS(prefersColorMatch, setPrefersColorMatch, kImagePrefersColorMatch)
FLAG_ACCESSORS(matchesOnMultipleResolution, setMatchesOnMultipleResolution, kImageMatchesOnMultipleResolution)
FLAG_ACCESSORS(matchesOnlyOnBestFittingAxis, setMatchesOnlyOnBestFittingAxis, kImageMatchesOnlyOnBestFittingAxis)
FLAG_ACCESSORS(isTemplate, setTemplate, kImageTemplate)

- (void)setCacheMode:(NSImageCacheMode)mode {
  if (mode <= NSImageCacheNever) _cacheMode = mode;
}

- (NSImageCacheMode)cacheMode {
  return _cacheMode;
}

- (void)setBackgroundColor:(NSColor*)color {
  if (!color) color = [NSColor clearColor];
  [color retain];
  [_backgroundColor release];
  _backgroundColor = color;
}

- (NSColor*)backgroundColor {
  return _backgroundColor;
}

- (void)setAlignmentRect:(NSRect)rect {
  _alignmentRect = rect;
}

- (NSRect)alignmentRect {
  if (!(_flags & kImageSizeSet) && [_reps count] > 0) {
    NSSize size = [self size];
    return NSMakeRect(0, 0, size.width, size.height);
  }
  return _alignmentRect;
}

- (void)setAccessibilityDescription:(NSString*)description {
  NSString* copy = [description copy];
  [_accessibilityDescription release];
  _accessibilityDescription = copy;
}

- (NSString*)accessibilityDescription {
  return _accessibilityDescription;
}

- (void)setDelegate:(id)delegate {
  _delegate = delegate; /* not retained, as AppKit keeps delegates */
}

- (id)delegate {
  return _delegate;
}

- (void)recache {
}

- (void)cancelIncrementalLoad {
}

- (NSArray*)representations {
  return [[_reps copy] autorelease];
}

- (void)addRepresentation:(NSImageRep*)imageRep {
  if (!imageRep) {
    [NSException raise:NSInvalidArgumentException format:@"-[NSImage addRepresentation:] given nil"];
  }
  if ([_reps indexOfObjectIdenticalTo:imageRep] == NSNotFound) [_reps addObject:imageRep];
}

- (void)addRepresentations:(NSArray*)imageReps {
  for (NSUInteger i = 0; i < [imageReps count]; i++) [self addRepresentation:[imageReps objectAtIndex:i]];
}

- (void)removeRepresentation:(NSImageRep*)imageRep {
  if (imageRep) [_reps removeObjectIdenticalTo:imageRep];
}

- (NSImageRep*)bestRepresentationForRect:(NSRect)rect context:(NSGraphicsContext*)referenceContext hints:(NSDictionary*)hints {
  NSUInteger count = [_reps count];
  if (count == 0) return nil;
  /* Resolution-independent representations draw well at any size. */
  for (NSUInteger i = 0; i < count; i++) {
    NSImageRep* rep = [_reps objectAtIndex:i];
    if ([rep pixelsWide] <= 0 || [rep pixelsHigh] <= 0) {
      if (!(_flags & kImageUsesEPSOnResolutionMismatch) || count == 1) return rep;
    }
  }
  /* Otherwise the smallest bitmap that still covers the destination, or the largest. */
  CGFloat wanted = fmax(fabs(rect.size.width), fabs(rect.size.height));
  /* In device pixels, when the context scales its points. */
  CGContextRef port = (CGContextRef)[referenceContext graphicsPort];
  if (port) {
    CGAffineTransform ctm = CGContextGetCTM(port);
    CGFloat scale = sqrt(fabs(ctm.a * ctm.d - ctm.b * ctm.c));
    if (scale > 0 && isfinite(scale)) wanted *= scale;
  }
  NSImageRep *best = nil, *largest = nil;
  for (NSUInteger i = 0; i < count; i++) {
    NSImageRep* rep = [_reps objectAtIndex:i];
    NSInteger side = MAX([rep pixelsWide], [rep pixelsHigh]);
    if (!largest || side > MAX([largest pixelsWide], [largest pixelsHigh])) largest = rep;
    if (side >= wanted && (!best || side < MAX([best pixelsWide], [best pixelsHigh]))) best = rep;
  }
  return best ? best : largest ? largest : [_reps objectAtIndex:0];
}

@end
