/* NSImageQVR members that make scaled, faded and flipped copies of the held image, and
   that rename and resize it. Each copy is a new platform image in a new NSImageQVR. */
#import <AppKit/AppKit.h>

#include "convert/strings.h"
#include "convert/wrappers.h"
#include "image/ImageAdditionsQVR.h"
#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "plugin/call_guard.h"

namespace {

/* Runs make on the held image in the pooled guard and wraps what it gives; nil for an
   instance without an image. */
template <typename Make>
REALobject WrapCopy(REALobject self, Make make) {
  REALobject result = nullptr;
  CocoaGuardPooled([&] {
    NSImage* image = NSImageQVRDataOf(self)->Handle;
    if (image == nil) return;
    result = NewNSImageQVR(make(image));
  });
  return result;
}

}  // namespace

static REALobject imageByScalingToSize1(REALobject self, double width, double height) {
  const NSSize size = NSMakeSize((float)width, (float)height);
  return WrapCopy(self, [&](NSImage* image) { return [image imageByScalingToSizeQVR:size]; });
}

static REALobject imageByScalingToSize2(REALobject self, double width, double height, double fraction) {
  const NSSize size = NSMakeSize((float)width, (float)height);
  return WrapCopy(self, [&](NSImage* image) { return [image imageByScalingToSizeQVR:size fraction:(float)fraction]; });
}

static REALobject imageByScalingToSize3(REALobject self, double width, double height, double fraction, bool flip,
                                        bool proportionally) {
  const NSSize size = NSMakeSize((float)width, (float)height);
  return WrapCopy(self, [&](NSImage* image) {
    return [image imageByScalingToSizeQVR:size fraction:(float)fraction flipImage:flip proportionally:proportionally];
  });
}

static REALobject imageByFadingToFraction(REALobject self, double fraction) {
  return WrapCopy(self, [&](NSImage* image) { return [image imageByFadingToFraction:(float)fraction]; });
}

static bool setName(REALobject self, REALstring value) {
  bool result = false;
  CocoaGuardSimple([&] {
    NSImage* image = NSImageQVRDataOf(self)->Handle;
    if (image == nil) return;
    /* The host's empty string is nil, which takes the name away. */
    NSString* name = [(NSString*)RBString2CFString(value) autorelease];
    result = [image setName:name];
  });
  return result;
}

static void setSizeXY(REALobject self, double width, double height) {
  CocoaGuardSimple([&] {
    NSImage* image = NSImageQVRDataOf(self)->Handle;
    if (image == nil) return;
    [image setSize:NSMakeSize((float)width, (float)height)];
  });
}

static const REALmethodDefinition ScalingRows[] = {
    MethodRow(&imageByScalingToSize1, "imageByScalingToSize(width as double, height as double) as NSImageQVR"),
    MethodRow(&imageByScalingToSize2,
           "imageByScalingToSize(width as double, height as double, fraction as double) as NSImageQVR"),
    MethodRow(&imageByScalingToSize3,
           "imageByScalingToSize(width as double, height as double, fraction as double, flip as boolean, "
           "proportionally as boolean) as NSImageQVR"),
    MethodRow(&imageByFadingToFraction, "imageByFadingToFraction(fraction as double) as NSImageQVR"),
    MethodRow(&setName, "setName(value as String) as Boolean"),
    MethodRow(&setSizeXY, "setSize(width as double, height as double)"),
};

const MemberRows<REALmethodDefinition> NSImageScalingMethods = RowsOf(ScalingRows);
