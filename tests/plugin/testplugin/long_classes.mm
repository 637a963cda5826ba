// Platform classes made at run time with the Objective-C runtime API, with names of 196
// and 197 bytes: the longest class name whose host class name ("...QVR") fits the
// wrapper's 200-byte buffer, and the first that does not.
#import <AppKit/AppKit.h>
#include <objc/runtime.h>

#include "tests/plugin/testplugin/probe.h"

#include <string>

namespace {

std::string Name(char fill, size_t length) {
  std::string name = "QVRProbeRep";
  name.append(length - name.size(), fill);
  return name;
}

const std::string name196 = Name('A', 196);
const std::string name197 = Name('B', 197);
const std::string name197Direct = Name('C', 197);

Class MakeClass(Class superclass, const std::string& name) {
  if (Class existing = objc_getClass(name.c_str())) return existing;
  Class cls = objc_allocateClassPair(superclass, name.c_str(), 0);
  if (cls != Nil) objc_registerClassPair(cls);
  return cls;
}

// QVRProbeCustomRep keeps the last colour space name it was sent, nil included.
NSString* lastColorSpaceName = @"never sent";

void RecordColorSpaceName(id, SEL, NSString* name) {
  [lastColorSpaceName release];
  lastColorSpaceName = name == nil ? @"nil" : [[NSString alloc] initWithFormat:@"\"%@\"", name];
}

}  // namespace

const char* LastColorSpaceNameSent() { return [lastColorSpaceName UTF8String]; }

// 196: A...; 197: B..., a subclass of the 196 class; -197: C..., a direct subclass of
// NSImageRep.
const char* LongClassName(int length) {
  if (length == 196) return name196.c_str();
  if (length == 197) return name197.c_str();
  return name197Direct.c_str();
}

void MakeLongPlatformClasses() {
  Class base = [NSImageRep class];
  Class long196 = MakeClass(base, name196);
  MakeClass(long196, name197);
  MakeClass(base, name197Direct);
  Class custom = MakeClass(base, "QVRProbeCustomRep");
  class_addMethod(custom, @selector(setColorSpaceName:), reinterpret_cast<IMP>(reinterpret_cast<void (*)()>(&RecordColorSpaceName)), "v@:@");
  MakeClass([NSBitmapImageRep class], "QVRProbeCustomBitmapRep");
}
