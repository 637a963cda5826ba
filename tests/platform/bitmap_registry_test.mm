/* The class registry and what it derives: registered classes, the class for some bytes, a
   file type, a type identifier or a pasteboard type, the six type lists (NSImage's the same,
   every class named in registry order), and loading representations from files, URLs and
   the pasteboard through it. */
#import "platform/codec_support.h"

@interface QVRTestImageRep : NSImageRep
@end

@implementation QVRTestImageRep
+ (NSArray*)imageUnfilteredTypes { return [NSArray arrayWithObject:@"org.example.test-image"]; }
+ (NSArray*)imageUnfilteredFileTypes { return [NSArray arrayWithObject:@"qvrtest"]; }
+ (NSArray*)imageUnfilteredPasteboardTypes { return [NSArray arrayWithObject:@"org.example.test-image"]; }
+ (BOOL)canInitWithData:(NSData*)data { return [data length] >= 4 && memcmp([data bytes], "QVRT", 4) == 0; }
@end

@interface QVRRegistryObserver : NSObject {
 @public
  int count;
}
- (void)changed:(NSNotification*)note;
@end

@implementation QVRRegistryObserver
- (void)changed:(NSNotification*)note { ++count; }
@end

namespace {

class BitmapRegistry : public CodecTest {};

TEST_F(BitmapRegistry, BitmapClassAnswersForItsFormatsAndTypeListsNameEveryClass) {
  EXPECT_TRUE([[NSImageRep registeredImageRepClasses] containsObject:[NSBitmapImageRep class]]);
  NSBitmapImageRep* rep = MakeRep(MakeTestPicture(5, 5, 3));
  for (NSBitmapImageFileType type : {NSTIFFFileType, NSBMPFileType, NSGIFFileType, NSJPEGFileType, NSPNGFileType}) {
    NSData* data = [rep representationUsingType:type properties:nil];
    EXPECT_EQ([NSImageRep imageRepClassForData:data], [NSBitmapImageRep class]) << type;
    EXPECT_TRUE([NSImageRep canInitWithData:data]);
    EXPECT_TRUE([NSBitmapImageRep canInitWithData:data]);
  }
  EXPECT_EQ([NSImageRep imageRepClassForFileType:@"JPG"], [NSBitmapImageRep class]);
  EXPECT_EQ([NSImageRep imageRepClassForFileType:@"'PNGf'"], [NSBitmapImageRep class]);
  EXPECT_EQ([NSImageRep imageRepClassForType:@"public.tiff"], [NSBitmapImageRep class]);
  EXPECT_EQ([NSImageRep imageRepClassForPasteboardType:NSPasteboardTypeTIFF], [NSBitmapImageRep class]);
  EXPECT_EQ([NSImageRep imageRepClassForFileType:@"xyz"], Nil);
  EXPECT_EQ([NSImageRep imageRepClassForFileType:@"PCT"], [NSPICTImageRep class]);
  EXPECT_EQ([NSImageRep imageRepClassForType:@"com.adobe.pdf"], [NSPDFImageRep class]);
  EXPECT_FALSE([NSImageRep canInitWithData:nil]);
  EXPECT_FALSE([[[[NSImageRep alloc] init] autorelease] draw]);

  // The type lists name every class in registry order, and NSImage's repeat them.
  EXPECT_TRUE([[NSImageRep imageTypes] containsObject:@"public.png"]);
  EXPECT_TRUE([[NSImageRep imageFileTypes] containsObject:@"gif"]);
  EXPECT_TRUE([[NSImageRep imagePasteboardTypes] containsObject:NSPasteboardTypePNG]);
  EXPECT_TRUE([[NSBitmapImageRep imageUnfilteredFileTypes] containsObject:@"bmp"]);
  EXPECT_TRUE([[NSBitmapImageRep imageUnfilteredTypes] containsObject:@"com.compuserve.gif"]);
  EXPECT_EQ([[NSImageRep imageUnfilteredPasteboardTypes] count], [[NSImageRep imagePasteboardTypes] count]);
  NSArray* files = [NSImage imageFileTypes];
  for (NSString* type : {@"png", @"pdf", @"eps", @"pict", @"'PICT'"})
    EXPECT_TRUE([files containsObject:type]) << [type UTF8String];
  EXPECT_LT([files indexOfObject:@"png"], [files indexOfObject:@"pdf"]);
  EXPECT_LT([files indexOfObject:@"pdf"], [files indexOfObject:@"eps"]);
  EXPECT_LT([files indexOfObject:@"eps"], [files indexOfObject:@"pict"]);
  for (NSString* type : {@"public.png", @"com.adobe.pdf", @"com.adobe.encapsulated-postscript", @"com.apple.pict"})
    EXPECT_TRUE([[NSImage imageTypes] containsObject:type]) << [type UTF8String];
  EXPECT_TRUE([[NSImage imagePasteboardTypes] containsObject:@"com.adobe.pdf"]);
  for (SEL list : {@selector(imageFileTypes), @selector(imageTypes), @selector(imageUnfilteredTypes),
                   @selector(imageUnfilteredFileTypes), @selector(imagePasteboardTypes),
                   @selector(imageUnfilteredPasteboardTypes)})
    EXPECT_TRUE([[NSImage performSelector:list] isEqual:[NSImageRep performSelector:list]]) << sel_getName(list);
}

TEST_F(BitmapRegistry, ClassesJoinAndLeaveWithNotification) {
  QVRRegistryObserver* observer = [[[QVRRegistryObserver alloc] init] autorelease];
  [[NSNotificationCenter defaultCenter] addObserver:observer selector:@selector(changed:)
                                               name:NSImageRepRegistryDidChangeNotification object:nil];
  [NSImageRep registerImageRepClass:[QVRTestImageRep class]];
  [NSImageRep registerImageRepClass:[QVRTestImageRep class]];  // once is enough
  EXPECT_EQ(observer->count, 1);
  EXPECT_TRUE([[NSImageRep registeredImageRepClasses] containsObject:[QVRTestImageRep class]]);
  EXPECT_TRUE([[NSImageRep imageTypes] containsObject:@"org.example.test-image"]);
  EXPECT_EQ([NSImageRep imageRepClassForData:[@"QVRT...." dataUsingEncoding:NSASCIIStringEncoding]],
            [QVRTestImageRep class]);
  EXPECT_EQ([NSImageRep imageRepClassForFileType:@"qvrtest"], [QVRTestImageRep class]);
  [NSImageRep unregisterImageRepClass:[QVRTestImageRep class]];
  EXPECT_EQ(observer->count, 2);
  EXPECT_FALSE([[NSImageRep imageTypes] containsObject:@"org.example.test-image"]);
  EXPECT_EQ([NSImageRep imageRepClassForFileType:@"qvrtest"], Nil);
  [[NSNotificationCenter defaultCenter] removeObserver:observer];
}

TEST_F(BitmapRegistry, LoadsFromFilesURLsAndThePasteboard) {
  TestPicture picture = MakeTestPicture(12, 9, 3);
  NSArray* pages = [NSArray arrayWithObjects:MakeRep(picture), MakeRep(picture), nil];
  NSData* tiff = [NSBitmapImageRep TIFFRepresentationOfImageRepsInArray:pages];
  NSString* file = [NSString stringWithUTF8String:Temporary(tiff, ".tif").c_str()];
  EXPECT_EQ([[NSImageRep imageRepsWithContentsOfFile:file] count], 2u);
  NSImageRep* one = [NSImageRep imageRepWithContentsOfFile:file];
  ASSERT_TRUE([one isKindOfClass:[NSBitmapImageRep class]]);
  EXPECT_EQ([one pixelsWide], 12);
  EXPECT_EQ([[NSImageRep imageRepsWithContentsOfURL:[NSURL fileURLWithPath:file]] count], 2u);
  EXPECT_NE([NSBitmapImageRep imageRepWithContentsOfURL:[NSURL fileURLWithPath:file]], nil);
  EXPECT_EQ([NSImageRep imageRepWithContentsOfFile:@"/nonexistent/picture.png"], nil);

  NSPasteboard* pasteboard = [NSPasteboard pasteboardWithUniqueName];
  EXPECT_FALSE([NSImageRep canInitWithPasteboard:pasteboard]);
  [pasteboard declareTypes:[NSArray arrayWithObject:NSPasteboardTypePNG] owner:nil];
  [pasteboard setData:[MakeRep(picture) representationUsingType:NSPNGFileType properties:nil] forType:NSPasteboardTypePNG];
  EXPECT_TRUE([NSImageRep canInitWithPasteboard:pasteboard]);
  EXPECT_TRUE([NSBitmapImageRep canInitWithPasteboard:pasteboard]);
  NSImageRep* pasted = [NSImageRep imageRepWithPasteboard:pasteboard];
  ASSERT_NE(pasted, nil);
  EXPECT_EQ(MaxDifference(ReadRep((NSBitmapImageRep*)pasted), picture), 0);
  [pasteboard releaseGlobally];
}

}  // namespace
