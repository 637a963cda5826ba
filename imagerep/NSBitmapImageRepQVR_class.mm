/* The class record of NSBitmapImageRepQVR, a subclass of NSImageRepQVR that keeps its
   platform object in the base class's Handle. A member row joins these tables together
   with the function that serves it. */
#include "imagerep/NSImageRepQVR_class.h"

REALclassDefinition NSBitmapImageRepQVRClass = {
    kREALCurrentControlVersion,
    "NSBitmapImageRepQVR",
    "NSImageRepQVR",
    0,           // no instance data of its own
    0,
    nullptr,     // the base class's constructor and destructor serve it
    nullptr,
    nullptr, 0,  // properties
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
