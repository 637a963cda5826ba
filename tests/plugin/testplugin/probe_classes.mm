// The probe classes and the test plugin's entry point. FrameProbeQVR carries every kind
// of member record, with marker bits in its flags, an event and attributes, so that the
// records the host receives in each layout can be checked word by word. Two classes with
// names of 199 and 200 bytes take wrappers of the runtime-made platform classes whose
// names are 196 and 197 bytes long.
#import <Foundation/Foundation.h>

#include "tests/plugin/testplugin/probe.h"

#include <cstring>
#include <string>

#include "plugin/registration.h"

namespace {

int32_t ProbeMarkedProperty(REALobject, intptr_t) { return 4; }
void ProbeMarkedPropertySet(REALobject, intptr_t, int32_t) {}
int32_t ProbeInstanceMethod(REALobject) { return 1; }
// A made-up attribute list: layout-9 copies must not carry it.
uintptr_t ProbeAttributes[2] = {0xA77, 0xA78};

REALproperty FrameProbeProperties[] = {
    {nullptr, "Handle", "Integer", 0x6, REALstandardAccessor, REALstandardAccessor, 0, nullptr, 0, nullptr, 0, nullptr},
    {"Probe", "Marked", "Int32", 0x2 | REALmarkerFlag4 | REALmarkerFlag8,
     reinterpret_cast<void*>(&ProbeMarkedProperty), reinterpret_cast<void*>(&ProbeMarkedPropertySet), 7, nullptr, 0,
     nullptr, 2, ProbeAttributes},
};

REALmethodDefinition FrameProbeMethods[] = {
    {reinterpret_cast<void*>(&ProbeInstanceMethod), nullptr, "Marked4 as Int32", REALmarkerFlag4, 2, ProbeAttributes},
    {reinterpret_cast<void*>(&ProbeInstanceMethod), nullptr, "Marked8 as Int32", REALmarkerFlag8, 0, nullptr},
    {reinterpret_cast<void*>(&ProbeInstanceMethod), nullptr, "MarkedDrop as Int32", 0x2 | REALmarkerDrop, 0, nullptr},
    {reinterpret_cast<void*>(&ProbeInstanceMethod), nullptr, "Plain as Int32", 0x84, 0, nullptr},
};

REALconstant FrameProbeConstants[] = {
    {"ProbeAnswer=42", 0, 0, 2, ProbeAttributes}, {"ProbeName=\"probe\"", 0, 0, 0, nullptr},
};

REALevent FrameProbeEvents[] = {
    {"Happened(count as integer)", 0, 0, nullptr},
};

struct ProbeData { void* Handle; };

}  // namespace

uintptr_t ProbeEventForSystemUse() { return FrameProbeEvents[0].forSystemUse; }

REALclassDefinition FrameProbeQVRClass = {
    kREALCurrentControlVersion, "FrameProbeQVR", nullptr, sizeof(ProbeData), 0, nullptr, nullptr,
    FrameProbeProperties, sizeof(FrameProbeProperties) / sizeof(FrameProbeProperties[0]),
    FrameProbeMethods, sizeof(FrameProbeMethods) / sizeof(FrameProbeMethods[0]),
    FrameProbeEvents, 1,
    nullptr, 0, nullptr,
    ProbeAttributes, 2,
    FrameProbeConstants, sizeof(FrameProbeConstants) / sizeof(FrameProbeConstants[0]),
    REALmarkerFlag4 | REALmarkerFlag8 | REALmarkerDrop,
    nullptr, 0,
    FrameProbeSharedMethods, FrameProbeSharedMethodCount,
    nullptr, 0, nullptr, 0,
};

namespace {

// Host classes named after the long platform classes, under NSImageRepQVR.
std::string longHostNames[2];
REALclassDefinition LongNameClasses[2];

void RegisterLongNameClasses() {
  for (int i = 0; i < 2; ++i) {
    longHostNames[i] = std::string(LongClassName(196 + i)) + "QVR";
    REALclassDefinition& definition = LongNameClasses[i];
    std::memset(&definition, 0, sizeof definition);
    definition.version = kREALCurrentControlVersion;
    definition.name = longHostNames[i].c_str();
    definition.superName = "NSImageRepQVR";
    definition.mFlags = 0x4;
    MyREALRegisterClass(&definition);
  }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALResolver resolver) {
  PluginStartQVR(resolver);
  RegisterImageClassesQVR();
  FixConsoleFlags(&FrameProbeQVRClass);
  MyREALRegisterClass(&FrameProbeQVRClass);
  RegisterValueProbeClasses();
  MyREALRegisterClass(&ImageProbeQVRClass);
  MyREALRegisterClass(&PictureProbeQVRClass);
  MakeLongPlatformClasses();
  RegisterLongNameClasses();
}
