/* The members of NSImageRepQVR: properties forwarding to the NSImageRep in the Handle,
   setSize, the constant and canInitWithData. Accessors run in the simple form of the
   call guard; on an instance without a representation the getters answer 0, false, ""
   or nil without sending any message, and the setters do nothing. */
#import <AppKit/AppKit.h>

#include "convert/data.h"
#include "convert/geometry.h"
#include "convert/strings.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "imagerep/NSImageRepQVR_members.h"
#include "plugin/call_guard.h"

namespace {

NSImageRep* RepresentationOf(REALobject self) { return NSImageRepQVRDataOf(self)->Handle; }

/* A getter: neutral without a representation or when the guard converted an exception. */
template <typename Result, typename Body>
Result Get(REALobject self, Body&& body) {
  Result result{};
  NSImageRep* representation = RepresentationOf(self);
  if (representation == nil) return result;
  CocoaGuardSimple([&] { result = body(representation); });
  return result;
}

template <typename Body>
void Set(REALobject self, Body&& body) {
  NSImageRep* representation = RepresentationOf(self);
  if (representation == nil) return;
  CocoaGuardSimple([&] { body(representation); });
}

intptr_t bitsPerSample(REALobject self, intptr_t) {
  return Get<intptr_t>(self, [](NSImageRep* r) { return static_cast<intptr_t>([r bitsPerSample]); });
}
void setBitsPerSample(REALobject self, intptr_t, intptr_t value) {
  Set(self, [&](NSImageRep* r) { [r setBitsPerSample:static_cast<NSInteger>(value)]; });
}

intptr_t pixelsWide(REALobject self, intptr_t) {
  return Get<intptr_t>(self, [](NSImageRep* r) { return static_cast<intptr_t>([r pixelsWide]); });
}
void setPixelsWide(REALobject self, intptr_t, intptr_t value) {
  Set(self, [&](NSImageRep* r) { [r setPixelsWide:static_cast<NSInteger>(value)]; });
}

intptr_t pixelsHigh(REALobject self, intptr_t) {
  return Get<intptr_t>(self, [](NSImageRep* r) { return static_cast<intptr_t>([r pixelsHigh]); });
}
void setPixelsHigh(REALobject self, intptr_t, intptr_t value) {
  Set(self, [&](NSImageRep* r) { [r setPixelsHigh:static_cast<NSInteger>(value)]; });
}

REALstring colorSpaceName(REALobject self, intptr_t) {
  return Get<REALstring>(self, [](NSImageRep* r) { return CFString2RBString((CFStringRef)[r colorSpaceName]); });
}
/* The host's empty string, null or not, sends nil. */
void setColorSpaceName(REALobject self, intptr_t, REALstring value) {
  Set(self, [&](NSImageRep* r) {
    NSString* name = [(NSString*)RBString2CFString(value) autorelease];
    [r setColorSpaceName:[name length] != 0 ? name : nil];
  });
}

bool hasAlpha(REALobject self, intptr_t) {
  return Get<bool>(self, [](NSImageRep* r) { return [r hasAlpha] == YES; });
}
void setAlpha(REALobject self, intptr_t, bool value) {
  Set(self, [&](NSImageRep* r) { [r setAlpha:value ? YES : NO]; });
}

bool isOpaque(REALobject self, intptr_t) {
  return Get<bool>(self, [](NSImageRep* r) { return [r isOpaque] == YES; });
}
void setOpaque(REALobject self, intptr_t, bool value) {
  Set(self, [&](NSImageRep* r) { [r setOpaque:value ? YES : NO]; });
}

/* The size in points, widened from the family's 32-bit floats. */
double height(REALobject self, intptr_t) {
  return Get<double>(self, [](NSImageRep* r) { return static_cast<double>(static_cast<float>([r size].height)); });
}
double width(REALobject self, intptr_t) {
  return Get<double>(self, [](NSImageRep* r) { return static_cast<double>(static_cast<float>([r size].width)); });
}

/* A new NSSizeQVR at every read; nil when the sibling class is not loaded. */
REALobject size(REALobject self, intptr_t) {
  return Get<REALobject>(self, [](NSImageRep* r) { return NewNSSizeQVR([r size]); });
}
/* A nil size sets 0 by 0. */
void setSize(REALobject self, intptr_t, REALobject value) {
  Set(self, [&](NSImageRep* r) { [r setSize:NSSizeOfNSSizeQVR(value)]; });
}

void setSizeWidthHeight(REALobject self, double width, double height) {
  Set(self, [&](NSImageRep* r) { [r setSize:NSMakeSize(static_cast<float>(width), static_cast<float>(height))]; });
}

bool canInitWithData(REALmemoryBlock data) {
  bool result = false;
  CocoaGuardPooled([&] { result = [NSImageRep canInitWithData:NewNSData(data)] == YES; });
  return result;
}

const REALproperty PropertyRows[] = {
    {nullptr, "Handle", "Integer", REALflagHost2 | REALflagHost4, REALstandardAccessor, REALstandardAccessor, 0,
     nullptr, 0, nullptr, 0, nullptr},
    PropertyRow("bitsPerSample", "Integer", &bitsPerSample, &setBitsPerSample),
    PropertyRow("pixelsWide", "Integer", &pixelsWide, &setPixelsWide),
    PropertyRow("pixelsHigh", "Integer", &pixelsHigh, &setPixelsHigh),
    PropertyRow("colorSpaceName", "String", &colorSpaceName, &setColorSpaceName),
    PropertyRow("hasAlpha", "Boolean", &hasAlpha, &setAlpha),
    PropertyRow("isOpaque", "Boolean", &isOpaque, &setOpaque),
    ReadOnlyPropertyRow("height", "Double", &height),
    ReadOnlyPropertyRow("width", "Double", &width),
    PropertyRow("size", "NSSizeQVR", &size, &setSize),
};

const REALmethodDefinition MethodRows[] = {
    MethodRow(&setSizeWidthHeight, "setSize(width as double, height as double)"),
};

const REALconstant ConstantRows[] = {
    {"NSImageRepMatchesDevice = 0", 0, 0, 0, nullptr},
};

const REALmethodDefinition SharedMethodRows[] = {
    MethodRow(&canInitWithData, "canInitWithData(data as memoryblock) as Boolean"),
};

}  // namespace

const MemberRows<REALproperty> NSImageRepPropertyRows = RowsOf(PropertyRows);
const MemberRows<REALmethodDefinition> NSImageRepPlainMethods = RowsOf(MethodRows);
const MemberRows<REALconstant> NSImageRepConstantRows = RowsOf(ConstantRows);
const MemberRows<REALmethodDefinition> NSImageRepSharedMethods = RowsOf(SharedMethodRows);
