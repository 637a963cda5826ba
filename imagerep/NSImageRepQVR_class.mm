/* The class record of NSImageRepQVR with its member tables. A member row joins these
   tables together with the function that serves it. */
#include "imagerep/NSImageRepQVR_class.h"

/* "Constructor": an instance made with it holds no platform object. */
static void NSImageRepConstructorEmpty(REALobject self) {}

static REALproperty NSImageRepQVRProperties[] = {
    {nullptr, "Handle", "Integer", REALflagHost2 | REALflagHost4, REALstandardAccessor, REALstandardAccessor,
     0, nullptr, 0, nullptr, 0, nullptr},
};

static REALmethodDefinition NSImageRepQVRMethods[] = {
    {reinterpret_cast<void*>(&NSImageRepConstructorEmpty), nullptr, "Constructor", REALflagHost4 | REALflagHost80, 0,
     nullptr},
};

REALclassDefinition NSImageRepQVRClass = {
    kREALCurrentControlVersion,
    "NSImageRepQVR",
    nullptr,
    sizeof(NSImageRepQVRData),
    0,
    reinterpret_cast<void*>(&NSImageRepConstructor),
    reinterpret_cast<void*>(&NSImageRepDestructor),
    NSImageRepQVRProperties,
    sizeof(NSImageRepQVRProperties) / sizeof(NSImageRepQVRProperties[0]),
    NSImageRepQVRMethods,
    sizeof(NSImageRepQVRMethods) / sizeof(NSImageRepQVRMethods[0]),
    nullptr, 0,  // events
    nullptr, 0,  // event instances
    nullptr,     // interfaces
    nullptr, 0,  // attributes
    nullptr, 0,  // constants
    0x4,         // class flags
    nullptr, 0,  // shared properties
    nullptr, 0,  // shared methods
    nullptr, 0,  // delegates
    nullptr, 0,  // enums
};
