// The test-only plugin: the image plugin's own sources with an entry point that also
// registers probe classes, whose members call the frame functions that no image class
// member reaches yet (exceptions, the guard forms, string conversion, wrappers), and
// whose tables carry the plugin's marker bits, so that tests drive all of it through
// the host as host code would.
#pragma once

#include "plugin/call_guard.h"
#include "plugin/host_sdk.h"

// What body() gives, run in the guard's pooled frame; the neutral value when it raises.
template <class Body>
auto GuardedResult(Body body) -> decltype(body()) {
  decltype(body()) result{};
  CocoaGuardPooled([&] { result = body(); });
  return result;
}

// A shared method's record, and the record of a class that has shared methods only.
#define SHARED(function, declaration) {reinterpret_cast<void*>(&function), nullptr, declaration, 0x4, 0, nullptr}
#define SHARED_METHODS_CLASS(name, methods, flags)                                                                 \
  {kREALCurrentControlVersion, name, nullptr, 0, 0, nullptr, nullptr, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, \
   nullptr, nullptr, 0, nullptr, 0, flags, nullptr, 0, methods, sizeof(methods) / sizeof(methods[0]), nullptr, 0,   \
   nullptr, 0}

// Member tables (probe_members_*.mm) and class records (probe_classes.mm).
extern REALclassDefinition FrameProbeQVRClass;
extern REALmethodDefinition FrameProbeSharedMethods[];
extern const uintptr_t FrameProbeSharedMethodCount;
// Image probes (probe_images.mm).
extern REALclassDefinition ImageProbeQVRClass;

// The event record's forSystemUse word after registration (layout 9: its copy's address).
uintptr_t ProbeEventForSystemUse();

// Runtime-made platform classes with names of 196 and 197 bytes (probe_wrappers.mm),
// and the host class names their wrappers take.
const char* LongClassName(int length);
void MakeLongPlatformClasses();
// What the last setColorSpaceName: sent to a QVRProbeCustomRep carried: "nil", the name in
// quotes, or "never sent".
const char* LastColorSpaceNameSent();

// Picture machinery (probe_pictures.mm).
extern REALclassDefinition PictureProbeQVRClass;

// Platform objects to Variants and back, conversions and the threaded runner
// (probe_values.mm); registers ValueProbeQVR and, when no sibling plugin is loaded, an
// untagged CFBundleQVR.
extern REALclassDefinition ValueProbeQVRClass;
void RegisterValueProbeClasses();

// Failures on demand (probe_failures.cpp): the next pthread_create or mutex allocation of
// the plugin fails once; TakeDeliveredFailures counts those delivered since it last ran.
void FailNextThreadCreation(bool fail);
void FailNextMutexAllocation(bool fail);
int TakeDeliveredFailures();

// Image probes (probe_images.mm): images from RGBA pixels and back, bitmap contexts.
REALobject ImageFromPixels(intptr_t width, intptr_t height, REALmemoryBlock rgba);
REALmemoryBlock ImagePixels(REALobject image);
REALstring ImageGeometry(REALobject image);
intptr_t NewCGContext(intptr_t width, intptr_t height);
REALmemoryBlock CGContextPixels(intptr_t context);
void ReleaseCGContext(intptr_t context);
