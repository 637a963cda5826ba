/* The class record of NSImageQVR with its member tables. A member row joins these
   tables together with the function that serves it. */
#include "image/NSImageQVR_class.h"

static REALproperty NSImageQVRProperties[] = {
    {nullptr, "Handle", "Integer", REALflagHost2 | REALflagHost4, REALstandardAccessor, REALstandardAccessor,
     0, nullptr, 0, nullptr, 0, nullptr},
};

REALclassDefinition NSImageQVRClass = {
    kREALCurrentControlVersion,
    "NSImageQVR",
    nullptr,
    sizeof(NSImageQVRData),
    0,
    reinterpret_cast<void*>(&NSImageConstructor),
    reinterpret_cast<void*>(&NSImageDestructor),
    NSImageQVRProperties,
    sizeof(NSImageQVRProperties) / sizeof(NSImageQVRProperties[0]),
    nullptr, 0,  // methods
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
