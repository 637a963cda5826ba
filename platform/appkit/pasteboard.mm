/* NSPasteboard: named pasteboards living in this process, each an ordered list of
   declared types with the data given for them, and a change count that grows with every
   new set of types. Access is serialised, since any thread may copy or paste. */
#import <AppKit/AppKit.h>

/* The older type names and the newer ones of the same format share one value, so data
   put under either name is found under both. */
NSString* const NSGeneralPboard = @"NSGeneralPboard";
NSString* const NSFontPboard = @"NSFontPboard";
NSString* const NSRulerPboard = @"NSRulerPboard";
NSString* const NSFindPboard = @"NSFindPboard";
NSString* const NSDragPboard = @"NSDragPboard";
NSString* const NSPasteboardNameGeneral = @"NSGeneralPboard";

NSString* const NSPasteboardTypeString = @"public.utf8-plain-text";
NSString* const NSPasteboardTypePDF = @"com.adobe.pdf";
NSString* const NSPasteboardTypeTIFF = @"public.tiff";
NSString* const NSPasteboardTypePNG = @"public.png";
NSString* const NSPasteboardTypeRTF = @"public.rtf";
NSString* const NSPasteboardTypeURL = @"public.url";
NSString* const NSPasteboardTypeFileURL = @"public.file-url";
NSString* const NSStringPboardType = @"public.utf8-plain-text";
NSString* const NSFilenamesPboardType = @"NSFilenamesPboardType";
NSString* const NSPostScriptPboardType = @"NSPostScriptPboardType";
NSString* const NSTIFFPboardType = @"public.tiff";
NSString* const NSRTFPboardType = @"public.rtf";
NSString* const NSPDFPboardType = @"com.adobe.pdf";
NSString* const NSPICTPboardType = @"NSPICTPboardType";
NSString* const NSURLPboardType = @"public.url";
NSString* const NSFileContentsPboardType = @"NSFileContentsPboardType";

static NSMutableDictionary* Pasteboards(void) {
  static NSMutableDictionary* pasteboards = [[NSMutableDictionary alloc] init];
  return pasteboards;
}

static NSRecursiveLock* PasteboardLock(void) {
  static NSRecursiveLock* lock = [[NSRecursiveLock alloc] init];
  return lock;
}

/* Holds the lock for the scope it lives in. */
struct PasteboardLocker {
  PasteboardLocker() { [PasteboardLock() lock]; }
  ~PasteboardLocker() { [PasteboardLock() unlock]; }
};

@implementation NSPasteboard

- (id)initWithName:(NSString*)name {
  if ((self = [super init])) {
    _name = [name copy];
    _types = [[NSMutableArray alloc] init];
    _contents = [[NSMutableDictionary alloc] init];
  }
  return self;
}

- (void)dealloc {
  [_name release];
  [_types release];
  [_contents release];
  [super dealloc];
}

+ (NSPasteboard*)pasteboardWithName:(NSString*)name {
  if (!name) return nil;
  PasteboardLocker locker;
  NSPasteboard* pasteboard = [Pasteboards() objectForKey:name];
  if (!pasteboard) {
    pasteboard = [[[NSPasteboard alloc] initWithName:name] autorelease];
    [Pasteboards() setObject:pasteboard forKey:name];
  }
  return [[pasteboard retain] autorelease];
}

+ (NSPasteboard*)generalPasteboard {
  return [self pasteboardWithName:NSGeneralPboard];
}

+ (NSPasteboard*)pasteboardWithUniqueName {
  return [self pasteboardWithName:[[NSProcessInfo processInfo] globallyUniqueString]];
}

- (NSString*)name {
  return _name;
}

- (NSInteger)changeCount {
  PasteboardLocker locker;
  return _changeCount;
}

- (void)releaseGlobally {
  PasteboardLocker locker;
  if ([Pasteboards() objectForKey:_name] == self) [Pasteboards() removeObjectForKey:_name];
}

- (NSInteger)clearContents {
  PasteboardLocker locker;
  [_types removeAllObjects];
  [_contents removeAllObjects];
  return ++_changeCount;
}

- (NSInteger)declareTypes:(NSArray*)newTypes owner:(id)newOwner {
  PasteboardLocker locker;
  [self clearContents];
  return [self addTypes:newTypes owner:newOwner];
}

- (NSInteger)addTypes:(NSArray*)newTypes owner:(id)newOwner {
  PasteboardLocker locker;
  for (NSUInteger i = 0; i < [newTypes count]; i++) {
    id type = [newTypes objectAtIndex:i];
    if ([type isKindOfClass:[NSString class]] && ![_types containsObject:type]) [_types addObject:type];
  }
  return _changeCount;
}

- (NSArray*)types {
  PasteboardLocker locker;
  return [[_types copy] autorelease];
}

- (NSString*)availableTypeFromArray:(NSArray*)types {
  PasteboardLocker locker;
  for (NSUInteger i = 0; i < [types count]; i++) {
    id type = [types objectAtIndex:i];
    if ([_types containsObject:type]) return [[type retain] autorelease];
  }
  return nil;
}

- (BOOL)canReadItemWithDataConformingToTypes:(NSArray*)types {
  PasteboardLocker locker;
  for (NSUInteger i = 0; i < [types count]; i++)
    if ([_contents objectForKey:[types objectAtIndex:i]]) return YES;
  return NO;
}

- (BOOL)setData:(NSData*)data forType:(NSString*)dataType {
  if (!dataType) return NO;
  PasteboardLocker locker;
  if (![_types containsObject:dataType]) [_types addObject:dataType];
  if (data) [_contents setObject:[[data copy] autorelease] forKey:dataType];
  else [_contents removeObjectForKey:dataType];
  return YES;
}

- (BOOL)setString:(NSString*)string forType:(NSString*)dataType {
  return [self setData:[string dataUsingEncoding:NSUTF8StringEncoding] forType:dataType];
}

- (BOOL)setPropertyList:(id)plist forType:(NSString*)dataType {
  if (!plist) return NO;
  NSData* data = [NSPropertyListSerialization dataWithPropertyList:plist
                                                            format:NSPropertyListXMLFormat_v1_0
                                                           options:0
                                                             error:NULL];
  return data ? [self setData:data forType:dataType] : NO;
}

- (NSData*)dataForType:(NSString*)dataType {
  if (!dataType) return nil;
  PasteboardLocker locker;
  return [[[_contents objectForKey:dataType] retain] autorelease];
}

- (NSString*)stringForType:(NSString*)dataType {
  NSData* data = [self dataForType:dataType];
  return data ? [[[NSString alloc] initWithData:data encoding:NSUTF8StringEncoding] autorelease] : nil;
}

- (id)propertyListForType:(NSString*)dataType {
  NSData* data = [self dataForType:dataType];
  if (!data) return nil;
  return [NSPropertyListSerialization propertyListWithData:data options:0 format:NULL error:NULL];
}

@end
