/* The properties of NSImageQVR, its plain methods and its constants. Each accessor
   forwards to the NSImage in the Handle inside the simple form of the call guard; on an
   instance without an image the getters answer what a message to nil answers (0, false,
   nil) and the setters do nothing. */
#import <AppKit/AppKit.h>

#include "convert/geometry.h"
#include "convert/strings.h"
#include "convert/wrappers.h"
#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "plugin/call_guard.h"
#include "plugin/host_bridge.h"
#include "plugin/instance_data.h"

namespace {

NSImage* ImageOf(REALobject self) {
  return NSImageQVRDataOf(self)->Handle;
}

/* A getter of a platform value, neutral when the guard converted an exception. */
template <typename Result, typename Body>
Result Get(Body&& body) {
  Result result{};
  CocoaGuardSimple([&] { result = body(); });
  return result;
}

template <typename Body>
void Set(Body&& body) {
  CocoaGuardSimple(static_cast<Body&&>(body));
}

/* Boolean properties: a getter and setter pair per platform flag. */
#define QVR_BOOLEAN_PROPERTY(getterName, setterName, getterMessage, setterMessage)                       \
  bool getterName(REALobject self, intptr_t) { return Get<bool>([&] { return [ImageOf(self) getterMessage] == YES; }); } \
  void setterName(REALobject self, intptr_t, bool value) {                                                  \
    Set([&] { [ImageOf(self) setterMessage:value ? YES : NO]; });                                           \
  }

QVR_BOOLEAN_PROPERTY(isTemplate, setTemplate, isTemplate, setTemplate)
QVR_BOOLEAN_PROPERTY(isFlipped, setFlipped, isFlipped, setFlipped)
QVR_BOOLEAN_PROPERTY(cacheDepthMatchesImageDepth, setCacheDepthMatchesImageDepth, cacheDepthMatchesImageDepth,
                     setCacheDepthMatchesImageDepth)
QVR_BOOLEAN_PROPERTY(usesEPSOnResolutionMismatch, setUsesEPSOnResolutionMismatch, usesEPSOnResolutionMismatch,
                     setUsesEPSOnResolutionMismatch)
QVR_BOOLEAN_PROPERTY(prefersColorMatch, setPrefersColorMatch, prefersColorMatch, setPrefersColorMatch)
QVR_BOOLEAN_PROPERTY(isCachedSeparately, setCachedSeparately, isCachedSeparately, setCachedSeparately)
QVR_BOOLEAN_PROPERTY(isDataRetained, setDataRetained, isDataRetained, setDataRetained)
QVR_BOOLEAN_PROPERTY(matchesOnMultipleResolution, setMatchesOnMultipleResolution, matchesOnMultipleResolution,
                     setMatchesOnMultipleResolution)
QVR_BOOLEAN_PROPERTY(scalesWhenResized, setScalesWhenResized, scalesWhenResized, setScalesWhenResized)

#undef QVR_BOOLEAN_PROPERTY

bool isValid(REALobject self, intptr_t) {
  return Get<bool>([&] { return [ImageOf(self) isValid] == YES; });
}

intptr_t cacheMode(REALobject self, intptr_t) {
  return Get<intptr_t>([&] { return static_cast<intptr_t>([ImageOf(self) cacheMode]); });
}

void setCacheMode(REALobject self, intptr_t, intptr_t mode) {
  Set([&] { [ImageOf(self) setCacheMode:static_cast<NSImageCacheMode>(mode)]; });
}

/* A new NSSizeQVR at every read, so host code may change what it got freely. */
REALobject size(REALobject self, intptr_t) {
  return Get<REALobject>([&]() -> REALobject {
    NSImage* image = ImageOf(self);
    return image != nil ? NewNSSizeQVR([image size]) : nullptr;
  });
}

void setSize(REALobject self, intptr_t, REALobject value) {
  Set([&] {
    NSImage* image = ImageOf(self);
    if (image != nil) [image setSize:NSSizeOfNSSizeQVR(value)];
  });
}

double height(REALobject self, intptr_t) {
  return Get<double>([&] { return static_cast<double>(static_cast<float>([ImageOf(self) size].height)); });
}

double width(REALobject self, intptr_t) {
  return Get<double>([&] { return static_cast<double>(static_cast<float>([ImageOf(self) size].width)); });
}

REALstring Name(REALobject self, intptr_t) {
  return Get<REALstring>([&] { return CFString2RBString((CFStringRef)[ImageOf(self) name]); });
}

REALstring accessibilityDescription(REALobject self, intptr_t) {
  return Get<REALstring>([&] { return CFString2RBString((CFStringRef)[ImageOf(self) accessibilityDescription]); });
}

void setAccessibilityDescription(REALobject self, intptr_t, REALstring value) {
  Set([&] {
    NSString* description = [(NSString*)RBString2CFString(value) autorelease];
    /* The host's empty string clears the description. */
    if ([description length] == 0) description = nil;
    [ImageOf(self) setAccessibilityDescription:description];
  });
}

REALobject backgroundColor(REALobject self, intptr_t) {
  return Get<REALobject>([&] { return NewNSColorQVR([ImageOf(self) backgroundColor]); });
}

void setBackgroundColor(REALobject self, intptr_t, REALobject value) {
  Set([&] {
    NSColor* color = value != nullptr ? static_cast<NSColor*>(*WrapperHandleSlot(value)) : nil;
    [ImageOf(self) setBackgroundColor:color];
  });
}

NSImageRep* RepresentationOf(REALobject representation) {
  return representation != nullptr ? NSImageRepQVRDataOf(representation)->Handle : nil;
}

void cancelIncrementalLoad(REALobject self) {
  Set([&] { [ImageOf(self) cancelIncrementalLoad]; });
}

void recache(REALobject self) {
  Set([&] { [ImageOf(self) recache]; });
}

void addRepresentation(REALobject self, REALobject representation) {
  Set([&] { [ImageOf(self) addRepresentation:RepresentationOf(representation)]; });
}

void removeRepresentation(REALobject self, REALobject representation) {
  Set([&] { [ImageOf(self) removeRepresentation:RepresentationOf(representation)]; });
}

template <typename Function>
REALmethodDefinition Method(Function function, const char* declaration) {
  return {reinterpret_cast<void*>(function), nullptr, declaration, REALflagHost4, 0, nullptr};
}

const REALproperty PropertyRows[] = {
    PropertyRow("cacheMode", "Integer", &cacheMode, &setCacheMode),
    PropertyRow("isTemplate", "Boolean", &isTemplate, &setTemplate),
    PropertyRow("size", "NSSizeQVR", &size, &setSize),
    ReadOnlyPropertyRow("height", "Double", &height),
    ReadOnlyPropertyRow("width", "Double", &width),
    PropertyRow("isFlipped", "Boolean", &isFlipped, &setFlipped),
    ReadOnlyPropertyRow("isValid", "Boolean", &isValid),
    ReadOnlyPropertyRow("Name", "String", &Name),
    PropertyRow("cacheDepthMatchesImageDepth", "Boolean", &cacheDepthMatchesImageDepth,
                &setCacheDepthMatchesImageDepth),
    PropertyRow("usesEPSOnResolutionMismatch", "Boolean", &usesEPSOnResolutionMismatch,
                &setUsesEPSOnResolutionMismatch),
    PropertyRow("prefersColorMatch", "Boolean", &prefersColorMatch, &setPrefersColorMatch),
    PropertyRow("accessibilityDescription", "String", &accessibilityDescription, &setAccessibilityDescription),
    PropertyRow("backgroundColor", "NSColorQVR", &backgroundColor, &setBackgroundColor),
    PropertyRow("isCachedSeparately", "Boolean", &isCachedSeparately, &setCachedSeparately),
    PropertyRow("isDataRetained", "Boolean", &isDataRetained, &setDataRetained),
    PropertyRow("matchesOnMultipleResolution", "Boolean", &matchesOnMultipleResolution,
                &setMatchesOnMultipleResolution),
    PropertyRow("scalesWhenResized", "Boolean", &scalesWhenResized, &setScalesWhenResized),
};

const REALmethodDefinition MethodRows[] = {
    Method(&cancelIncrementalLoad, "cancelIncrementalLoad"),
    Method(&recache, "recache"),
    Method(&addRepresentation, "addRepresentation(img as NSImageRepQVR)"),
    Method(&removeRepresentation, "removeRepresentation(img as NSImageRepQVR)"),
};

const REALconstant ConstantRows[] = {
    {"NSImageCacheDefault=0", 0, 0, 0, nullptr},
    {"NSImageCacheAlways=1", 0, 0, 0, nullptr},
    {"NSImageCacheBySize=2", 0, 0, 0, nullptr},
    {"NSImageCacheNever=3", 0, 0, 0, nullptr},
    {"NSImageLoadStatusCompleted=0", 0, 0, 0, nullptr},
    {"NSImageLoadStatusCancelled=1", 0, 0, 0, nullptr},
    {"NSImageLoadStatusInvalidData=2", 0, 0, 0, nullptr},
    {"NSImageLoadStatusUnexpectedEOF=3", 0, 0, 0, nullptr},
    {"NSImageLoadStatusReadError=4", 0, 0, 0, nullptr},
};

}  // namespace

const MemberRows<REALproperty> NSImagePropertyRows = RowsOf(PropertyRows);
const MemberRows<REALmethodDefinition> NSImagePlainMethods = RowsOf(MethodRows);
const MemberRows<REALconstant> NSImageConstantRows = RowsOf(ConstantRows);
