/* The image name registry: images registered with setName: (held without a reference and
   taken out when they go), the standard images (made on first lookup and kept for the
   life of the process), and images of that name among the main bundle's resources. */
#import "image_internal.h"

#define IMAGE_NAME(name) NSString* const NSImageName##name = @"NS" #name;
IMAGE_NAME(QuickLookTemplate)
IMAGE_NAME(BluetoothTemplate)
IMAGE_NAME(IChatTheaterTemplate)
IMAGE_NAME(SlideshowTemplate)
IMAGE_NAME(ActionTemplate)
IMAGE_NAME(SmartBadgeTemplate)
IMAGE_NAME(IconViewTemplate)
IMAGE_NAME(ListViewTemplate)
IMAGE_NAME(ColumnViewTemplate)
IMAGE_NAME(FlowViewTemplate)
IMAGE_NAME(PathTemplate)
IMAGE_NAME(InvalidDataFreestandingTemplate)
IMAGE_NAME(LockLockedTemplate)
IMAGE_NAME(LockUnlockedTemplate)
IMAGE_NAME(GoRightTemplate)
IMAGE_NAME(GoLeftTemplate)
IMAGE_NAME(RightFacingTriangleTemplate)
IMAGE_NAME(LeftFacingTriangleTemplate)
IMAGE_NAME(AddTemplate)
IMAGE_NAME(RemoveTemplate)
IMAGE_NAME(RevealFreestandingTemplate)
IMAGE_NAME(FollowLinkFreestandingTemplate)
IMAGE_NAME(EnterFullScreenTemplate)
IMAGE_NAME(ExitFullScreenTemplate)
IMAGE_NAME(StopProgressTemplate)
IMAGE_NAME(StopProgressFreestandingTemplate)
IMAGE_NAME(RefreshTemplate)
IMAGE_NAME(RefreshFreestandingTemplate)
IMAGE_NAME(Bonjour)
IMAGE_NAME(Computer)
IMAGE_NAME(FolderBurnable)
IMAGE_NAME(FolderSmart)
IMAGE_NAME(Folder)
IMAGE_NAME(Network)
IMAGE_NAME(DotMac)
IMAGE_NAME(MobileMe)
IMAGE_NAME(MultipleDocuments)
IMAGE_NAME(UserAccounts)
IMAGE_NAME(PreferencesGeneral)
IMAGE_NAME(Advanced)
IMAGE_NAME(Info)
IMAGE_NAME(FontPanel)
IMAGE_NAME(ColorPanel)
IMAGE_NAME(User)
IMAGE_NAME(UserGroup)
IMAGE_NAME(Everyone)
IMAGE_NAME(UserGuest)
IMAGE_NAME(MenuOnStateTemplate)
IMAGE_NAME(MenuMixedStateTemplate)
IMAGE_NAME(ApplicationIcon)
IMAGE_NAME(TrashEmpty)
IMAGE_NAME(TrashFull)
IMAGE_NAME(HomeTemplate)
IMAGE_NAME(BookmarksTemplate)
IMAGE_NAME(Caution)
IMAGE_NAME(StatusAvailable)
IMAGE_NAME(StatusPartiallyAvailable)
IMAGE_NAME(StatusUnavailable)
IMAGE_NAME(StatusNone)

static NSRecursiveLock* RegistryLock(void) {
  static NSRecursiveLock* lock = [[NSRecursiveLock alloc] init];
  return lock;
}

/* name -> image, without references (NSValue holding the pointer). */
static NSMutableDictionary* Registered(void) {
  static NSMutableDictionary* registered = [[NSMutableDictionary alloc] init];
  return registered;
}

/* name -> standard image, kept. */
static NSMutableDictionary* Standard(void) {
  static NSMutableDictionary* standard = [[NSMutableDictionary alloc] init];
  return standard;
}

struct RegistryLocker {
  RegistryLocker() { [RegistryLock() lock]; }
  ~RegistryLocker() { [RegistryLock() unlock]; }
};

BOOL ImageRegistryAdd(NSString* name, NSImage* image) {
  RegistryLocker locker;
  NSValue* holder = [Registered() objectForKey:name];
  if (holder && [holder pointerValue] != (void*)image) return NO;
  NSImage* standard = [Standard() objectForKey:name];
  if (standard && standard != image) return NO;
  [Registered() setObject:[NSValue valueWithPointer:(void*)image] forKey:name];
  return YES;
}

void ImageRegistryRemove(NSString* name, NSImage* image) {
  RegistryLocker locker;
  NSValue* holder = [Registered() objectForKey:name];
  if (holder && [holder pointerValue] == (void*)image) [Registered() removeObjectForKey:name];
}

NSImage* ImageRegistryLookup(NSString* name) {
  RegistryLocker locker;
  NSValue* holder = [Registered() objectForKey:name];
  return holder ? [[(NSImage*)[holder pointerValue] retain] autorelease] : nil;
}

@implementation NSImage (NSImageNames)

+ (id)imageNamed:(NSString*)name {
  if (![name isKindOfClass:[NSString class]] || [name length] == 0) return nil;
  RegistryLocker locker;
  NSImage* image = ImageRegistryLookup(name);
  if (image) return image;
  image = StandardImageCreate(name);
  if (image) {
    [Standard() setObject:image forKey:name];
    [image setName:name];
    [image release];
    return [[image retain] autorelease];
  }
  /* An image file of that name among the application's resources. */
  NSString* path = [[NSBundle mainBundle] pathForResource:name ofType:nil];
  NSArray* types = [NSImage imageFileTypes];
  for (NSUInteger i = 0; !path && i < [types count]; i++)
    path = [[NSBundle mainBundle] pathForResource:name ofType:[types objectAtIndex:i]];
  if (!path) return nil;
  image = [[NSImage alloc] initWithContentsOfFile:path];
  if (!image) return nil;
  [Standard() setObject:image forKey:name];
  [image setName:name];
  [image release];
  return [[image retain] autorelease];
}

@end
