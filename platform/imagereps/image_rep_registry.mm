/* The registry of representation classes: which classes exist to read image data, which
   one reads given bytes, file types, type identifiers or pasteboard types, and the type
   lists built from what every registered class declares. */
#import <AppKit/AppKit.h>

NSString* const NSImageRepRegistryDidChangeNotification = @"NSImageRepRegistryDidChangeNotification";

/* The registered classes in registration order, created on first use with the platform's
   own classes: bitmaps, PDF, EPS and PICT. */
static NSMutableArray* RegisteredClasses(void) {
  static NSMutableArray* classes = nil;
  @synchronized([NSImageRep class]) {
    if (classes == nil) {
      classes = [[NSMutableArray alloc] init];
      [classes addObject:[NSBitmapImageRep class]];
      [classes addObject:[NSPDFImageRep class]];
      [classes addObject:[NSEPSImageRep class]];
      [classes addObject:[NSPICTImageRep class]];
    }
  }
  return classes;
}

@implementation NSImageRep (Registry)

+ (void)registerImageRepClass:(Class)imageRepClass {
  if (imageRepClass == Nil) return;
  NSMutableArray* classes = RegisteredClasses();
  @synchronized([NSImageRep class]) {
    if ([classes indexOfObjectIdenticalTo:imageRepClass] != NSNotFound) return;
    [classes addObject:imageRepClass];
  }
  [[NSNotificationCenter defaultCenter] postNotificationName:NSImageRepRegistryDidChangeNotification
                                                      object:imageRepClass];
}

+ (void)unregisterImageRepClass:(Class)imageRepClass {
  if (imageRepClass == Nil) return;
  NSMutableArray* classes = RegisteredClasses();
  @synchronized([NSImageRep class]) {
    NSUInteger index = [classes indexOfObjectIdenticalTo:imageRepClass];
    if (index == NSNotFound) return;
    [classes removeObjectAtIndex:index];
  }
  [[NSNotificationCenter defaultCenter] postNotificationName:NSImageRepRegistryDidChangeNotification
                                                      object:imageRepClass];
}

+ (NSArray*)registeredImageRepClasses {
  NSMutableArray* classes = RegisteredClasses();
  @synchronized([NSImageRep class]) {
    return [NSArray arrayWithArray:classes];
  }
}

/* The first registered class whose list (the class method named by selector) holds type. */
static Class ClassListing(SEL list, NSString* type, BOOL ignoreCase) {
  if (type == nil) return Nil;
  NSArray* classes = [NSImageRep registeredImageRepClasses];
  for (NSUInteger i = 0; i < [classes count]; ++i) {
    NSArray* entries = [[classes objectAtIndex:i] performSelector:list];
    for (NSUInteger j = 0; j < [entries count]; ++j) {
      NSString* entry = [entries objectAtIndex:j];
      Class repClass = [classes objectAtIndex:i];
      if (ignoreCase ? [entry caseInsensitiveCompare:type] == NSOrderedSame : [entry isEqualToString:type])
        return repClass;
    }
  }
  return Nil;
}

+ (Class)imageRepClassForFileType:(NSString*)type {
  return ClassListing(@selector(imageUnfilteredFileTypes), type, YES);
}

+ (Class)imageRepClassForPasteboardType:(NSString*)type {
  return ClassListing(@selector(imageUnfilteredPasteboardTypes), type, NO);
}

+ (Class)imageRepClassForType:(NSString*)type {
  return ClassListing(@selector(imageUnfilteredTypes), type, NO);
}

+ (Class)imageRepClassForData:(NSData*)data {
  if (data == nil) return Nil;
  NSArray* classes = [self registeredImageRepClasses];
  for (NSUInteger i = 0; i < [classes count]; ++i)
    if ([[classes objectAtIndex:i] canInitWithData:data]) return [classes objectAtIndex:i];
  return Nil;
}

/* Sent to NSImageRep itself these ask every registered class; a subclass answers for its
   own format and overrides them. */

+ (BOOL)canInitWithData:(NSData*)data {
  if (self != [NSImageRep class]) return NO;
  return [self imageRepClassForData:data] != Nil;
}

+ (BOOL)canInitWithPasteboard:(NSPasteboard*)pasteboard {
  if (pasteboard == nil) return NO;
  return [pasteboard availableTypeFromArray:[self imagePasteboardTypes]] != nil;
}

static NSArray* UnionOfRegistered(SEL list) {
  NSMutableArray* all = [NSMutableArray array];
  NSArray* classes = [NSImageRep registeredImageRepClasses];
  for (NSUInteger i = 0; i < [classes count]; ++i) {
    NSArray* entries = [[classes objectAtIndex:i] performSelector:list];
    for (NSUInteger j = 0; j < [entries count]; ++j)
      if (![all containsObject:[entries objectAtIndex:j]]) [all addObject:[entries objectAtIndex:j]];
  }
  return all;
}

+ (NSArray*)imageUnfilteredTypes {
  return self == [NSImageRep class] ? UnionOfRegistered(_cmd) : [NSArray array];
}

+ (NSArray*)imageUnfilteredFileTypes {
  return self == [NSImageRep class] ? UnionOfRegistered(_cmd) : [NSArray array];
}

+ (NSArray*)imageUnfilteredPasteboardTypes {
  return self == [NSImageRep class] ? UnionOfRegistered(_cmd) : [NSArray array];
}

/* No filter services convert further formats on this system, so the filtered lists are
   the unfiltered ones. */
+ (NSArray*)imageTypes { return [self imageUnfilteredTypes]; }
+ (NSArray*)imageFileTypes { return [self imageUnfilteredFileTypes]; }
+ (NSArray*)imagePasteboardTypes { return [self imageUnfilteredPasteboardTypes]; }

@end
