/* The class-level queries of NSImageQVR that need no image: the six lists of types the
   platform's image classes read, a named image, whether the general pasteboard holds an
   image, and the platform's names of its standard images. Fifteen of those names came
   with later systems and are linked as optional symbols: absent, they read as "". */
#import <AppKit/AppKit.h>

#include "convert/strings.h"
#include "convert/wrappers.h"
#include "image/NSImageQVR_members.h"
#include "plugin/call_guard.h"
#include "plugin/host_bridge.h"

#ifdef __APPLE__
#define QVR_OPTIONAL_SYMBOL __attribute__((weak_import))
#else
#define QVR_OPTIONAL_SYMBOL __attribute__((weak))
#endif

/* The 59 names in the order of the class's table; O marks the optional ones. */
#define QVR_IMAGE_NAMES(R, O)                                                                            \
  R(QuickLookTemplate) R(BluetoothTemplate) R(IChatTheaterTemplate) R(SlideshowTemplate)                 \
  R(ActionTemplate) R(SmartBadgeTemplate) R(IconViewTemplate) R(ListViewTemplate) R(ColumnViewTemplate)  \
  R(FlowViewTemplate) R(PathTemplate) R(InvalidDataFreestandingTemplate) R(LockLockedTemplate)           \
  R(LockUnlockedTemplate) R(GoRightTemplate) R(GoLeftTemplate) R(RightFacingTriangleTemplate)            \
  R(LeftFacingTriangleTemplate) R(AddTemplate) R(RemoveTemplate) R(RevealFreestandingTemplate)           \
  R(FollowLinkFreestandingTemplate) R(EnterFullScreenTemplate) R(ExitFullScreenTemplate)                 \
  R(StopProgressTemplate) R(StopProgressFreestandingTemplate) R(RefreshTemplate)                         \
  R(RefreshFreestandingTemplate) R(Bonjour) R(Computer) R(FolderBurnable) R(FolderSmart) O(Folder)       \
  R(Network) R(DotMac) O(MobileMe) R(MultipleDocuments) R(UserAccounts) R(PreferencesGeneral)            \
  R(Advanced) R(Info) R(FontPanel) R(ColorPanel) R(User) R(UserGroup) R(Everyone) O(UserGuest)           \
  O(MenuOnStateTemplate) O(MenuMixedStateTemplate) O(ApplicationIcon) O(TrashEmpty) O(TrashFull)         \
  O(HomeTemplate) O(BookmarksTemplate) O(Caution) O(StatusAvailable) O(StatusPartiallyAvailable)         \
  O(StatusUnavailable) O(StatusNone)

#define QVR_NOTHING(name)
#define QVR_DECLARE_OPTIONAL(name) APPKIT_EXTERN NSString* const NSImageName##name QVR_OPTIONAL_SYMBOL;
QVR_IMAGE_NAMES(QVR_NOTHING, QVR_DECLARE_OPTIONAL)

namespace {

/* A type list: the array is made before the guard and returned as far as it was filled. */
REALarray TypeList(NSArray* (*list)(void)) {
  REALarray array = REALCreateArray(kREALArrayTypeString, -1);
  CocoaGuardInitSimple([&] { FillStringArray(array, (CFArrayRef)list()); });
  return array;
}

#define QVR_TYPE_LIST(name) \
  REALarray name() { return TypeList([]() -> NSArray* { return [NSImage name]; }); }
QVR_TYPE_LIST(imageUnfilteredFileTypes)
QVR_TYPE_LIST(imageUnfilteredPasteboardTypes)
QVR_TYPE_LIST(imageFileTypes)
QVR_TYPE_LIST(imagePasteboardTypes)
QVR_TYPE_LIST(imageTypes)
QVR_TYPE_LIST(imageUnfilteredTypes)
#undef QVR_TYPE_LIST

REALobject imageNamed(REALstring name) {
  REALobject result = nullptr;
  CocoaGuardFull([&] {
    NSString* platformName = [(NSString*)RBString2CFString(name) autorelease];
    result = NewNSImageQVR([NSImage imageNamed:platformName]);
  });
  return result;
}

bool canInitWithPasteboard() {
  bool result = false;
  CocoaGuardFull([&] { result = [NSImage canInitWithPasteboard:[NSPasteboard generalPasteboard]] == YES; });
  return result;
}

REALstring NameString(NSString* name) {
  return name != nil ? CFString2RBString((CFStringRef)name) : nullptr;
}

#define QVR_REQUIRED_GETTER(name) \
  REALstring getNSImageName##name() { return NameString(NSImageName##name); }
#define QVR_OPTIONAL_GETTER(name) \
  REALstring getNSImageName##name() { return &NSImageName##name != nullptr ? NameString(NSImageName##name) : nullptr; }
QVR_IMAGE_NAMES(QVR_REQUIRED_GETTER, QVR_OPTIONAL_GETTER)

#define QVR_NAME_ROW(name) MethodRow(&getNSImageName##name, "NSImageName" #name " as string"),

const REALmethodDefinition SharedMethodRows[] = {
    MethodRow(&imageUnfilteredFileTypes, "imageUnfilteredFileTypes as string()"),
    MethodRow(&imageUnfilteredPasteboardTypes, "imageUnfilteredPasteboardTypes as string()"),
    MethodRow(&imageFileTypes, "imageFileTypes as string()"),
    MethodRow(&imagePasteboardTypes, "imagePasteboardTypes as string()"),
    MethodRow(&imageTypes, "imageTypes as string()"),
    MethodRow(&imageUnfilteredTypes, "imageUnfilteredTypes as string()"),
    MethodRow(&imageNamed, "imageNamed(name as string) as NSImageQVR"),
    MethodRow(&canInitWithPasteboard, "canInitWithPasteboard as boolean"),
    QVR_IMAGE_NAMES(QVR_NAME_ROW, QVR_NAME_ROW)
};

}  // namespace

const MemberRows<REALmethodDefinition> NSImageTypeListAndNameSharedMethods = RowsOf(SharedMethodRows);
