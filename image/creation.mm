/* Making NSImageQVR images on the host's thread: the shared factories, which check
   their argument for nil and answer a new wrapper or nil, and the initWith methods and
   constructors with arguments, which replace the image an instance holds and report
   whether they got one. A platform that cannot read the input answers no image, which
   is nil or false here, never an exception. */
#import <AppKit/AppKit.h>
#include <ApplicationServices/ApplicationServices.h>

#include "convert/data.h"
#include "convert/file_urls.h"
#include "convert/wrappers.h"
#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "image/creation_inputs.h"
#include "image/init_with.h"
#include "plugin/call_guard.h"
#include "plugin/errors.h"
#include "plugin/host_bridge.h"
#include "plugin/instance_data.h"

namespace {

/* create answers an owned NSImage or nil; the wrapper takes its own retain, so the
   creation reference goes to the guard's pool. */
template <typename Create>
REALobject CreateWrapped(Create&& create) {
  REALobject result = nullptr;
  CocoaGuardFull([&] {
    NSImage* image = [create() autorelease];
    result = NewNSImageQVR(image);
  });
  return result;
}

REALobject imageWithDataS(REALstring data) {
  if (ArgumentIsNil(data, "String is empty")) return nullptr;
  return CreateWrapped([&] { return [[NSImage alloc] initWithData:NewNSDataFromStringBytes(data)]; });
}

REALobject imageWithDataM(REALmemoryBlock data) {
  if (ArgumentIsNil(data, "Memoryblock is nil")) return nullptr;
  return CreateWrapped([&] { return [[NSImage alloc] initWithData:NewNSData(data)]; });
}

REALobject imageWithContentsOfURLFile(REALfolderItem file) {
  if (ArgumentIsNil(file, "folderitem is nil")) return nullptr;
  return CreateWrapped([&] { return [[NSImage alloc] initWithContentsOfURL:NewNSURLfile(file)]; });
}

REALobject imageWithContentsOfPath(REALstring path) {
  if (ArgumentIsNil(path, "Path is empty")) return nullptr;
  return CreateWrapped([&] { return [[NSImage alloc] initWithContentsOfFile:NewNSStringFromRBString(path)]; });
}

REALobject imageWithContentsOfURL(REALstring url) {
  if (ArgumentIsNil(url, "URL is empty")) return nullptr;
  return CreateWrapped([&] { return [[NSImage alloc] initWithContentsOfURL:NewNSURLFromString(url)]; });
}

/* The argument is a Variant; holding an object, it is that object. Only a CGImageQVR of
   the sibling plugin will do, read at the start of its instance data. A size that is not
   above 0 takes the image's pixel count. */
REALobject imageWithCGImage(REALobject variant, double width, double height) {
  if (ArgumentIsNil(variant, "Image is nil")) return nullptr;
  REALobject result = nullptr;
  CocoaGuardFull([&] {
    REALclassRef cgImageClass = REALGetClassRef("CGImageQVR");
    if (cgImageClass == nullptr || !REALObjectIsA(variant, cgImageClass)) {
      RaiseException("IllegalCastException", "CGImage must be a CGImageQVR!");
      return;
    }
    auto image = static_cast<CGImageRef>(*WrapperHandleSlot(variant));
    if (image == NULL) {
      RaiseException("NilObjectException", "Image is nil");
      return;
    }
    if (width <= 0) width = static_cast<double>(CGImageGetWidth(image));
    if (height <= 0) height = static_cast<double>(CGImageGetHeight(image));
    NSSize size = NSMakeSize(static_cast<float>(width), static_cast<float>(height));
    NSImage* created = [[[NSImage alloc] initWithCGImage:image size:size] autorelease];
    result = NewNSImageQVR(created);
  });
  return result;
}

bool initWithContentsOfURLfolderitem(REALobject self, REALfolderItem file) {
  return InitNSImageWith(self, [&]() -> NSImage* {
    NSURL* input = NewNSURLfile(file);
    return input != nil ? [[NSImage alloc] initWithContentsOfURL:input] : nil;
  });
}

bool initWithContentsOfURLstring(REALobject self, REALstring url) {
  return InitNSImageWith(self, [&]() -> NSImage* {
    NSURL* input = NewNSURLFromString(url);
    return input != nil ? [[NSImage alloc] initWithContentsOfURL:input] : nil;
  });
}

bool initWithData(REALobject self, REALmemoryBlock data) {
  return InitNSImageWith(self, [&]() -> NSImage* {
    NSData* input = NewNSData(data);
    return input != nil ? [[NSImage alloc] initWithData:input] : nil;
  });
}

bool initWithDataIgnoringOrientation(REALobject self, REALmemoryBlock data) {
  return InitNSImageWith(self, [&]() -> NSImage* {
    NSData* input = NewNSData(data);
    return input != nil ? [[NSImage alloc] initWithDataIgnoringOrientation:input] : nil;
  });
}

/* The constructors with arguments take what the initWith methods give; a failed load
   leaves an instance without an image, and no exception. */
void ConstructorData(REALobject self, REALmemoryBlock data) {
  initWithData(self, data);
}

void ConstructorFolderItem(REALobject self, REALfolderItem file) {
  initWithContentsOfURLfolderitem(self, file);
}

bool initWithPasteboard(REALobject self) {
  return InitNSImageWith(self, [&]() -> NSImage* {
    NSPasteboard* pasteboard = [NSPasteboard generalPasteboard];
    return pasteboard != nil ? [[NSImage alloc] initWithPasteboard:pasteboard] : nil;
  });
}

/* The integer is the platform's icon reference, passed on as it is. */
bool initWithIconRef(REALobject self, intptr_t iconHandle) {
  return InitNSImageWith(self, [&]() -> NSImage* {
    auto icon = reinterpret_cast<IconRef>(iconHandle);
    return icon != NULL ? [[NSImage alloc] initWithIconRef:icon] : nil;
  });
}

template <typename Function>
REALmethodDefinition Method(Function function, const char* declaration) {
  return {reinterpret_cast<void*>(function), nullptr, declaration, REALflagHost4, 0, nullptr};
}

const REALmethodDefinition SharedRows[] = {
    Method(&imageWithDataS, "imageWithData(data as string) as NSImageQVR"),
    Method(&imageWithDataM, "imageWithData(data as memoryblock) as NSImageQVR"),
    Method(&imageWithContentsOfURLFile, "imageWithContentsOfFile(file as folderitem) as NSImageQVR"),
    Method(&imageWithContentsOfPath, "imageWithContentsOfPath(path as string) as NSImageQVR"),
    Method(&imageWithContentsOfURL, "imageWithContentsOfURL(URL as string) as NSImageQVR"),
    Method(&imageWithCGImage,
           "imageWithCGImage(CGImage as variant, width as double = 0, height as double = 0) as NSImageQVR"),
};

const REALmethodDefinition InstanceRows[] = {
    Method(&initWithContentsOfURLfolderitem, "initWithContentsOfURL(file as folderitem) as boolean"),
    Method(&initWithContentsOfURLstring, "initWithContentsOfURL(url as string) as boolean"),
    Method(&initWithData, "initWithData(data as memoryblock) as boolean"),
    Method(&initWithDataIgnoringOrientation, "initWithDataIgnoringOrientation(data as memoryblock) as boolean"),
    Method(&initWithPasteboard, "initWithPasteboard as boolean"),
    Method(&initWithIconRef, "initWithIconRef(IconHandle as integer) as boolean"),
    Method(&ConstructorData, "Constructor(data as memoryblock)"),
    Method(&ConstructorFolderItem, "Constructor(file as folderitem)"),
};

}  // namespace

const MemberRows<REALmethodDefinition> NSImageCreationSharedMethods = RowsOf(SharedRows);
const MemberRows<REALmethodDefinition> NSImageCreationMethods = RowsOf(InstanceRows);
