/* The class record of NSBitmapImageRepQVR, a subclass of NSImageRepQVR that keeps its
   platform object in the base class's Handle. Its member tables are joined from the groups
   that the files serving them define (imagerep/NSBitmapImageRepQVR_members.h) just before
   registration. */
#include "imagerep/NSImageRepQVR_class.h"

#include "imagerep/NSBitmapImageRepQVR_members.h"
#include "plugin/member_rows.h"

REALclassDefinition NSBitmapImageRepQVRClass = {
    kREALCurrentControlVersion,
    "NSBitmapImageRepQVR",
    "NSImageRepQVR",
    0,           // no instance data of its own
    0,
    nullptr,     // the base class's constructor and destructor serve it
    nullptr,
    nullptr, 0,  // properties, joined by PrepareNSBitmapImageRepQVRClass
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

void PrepareNSBitmapImageRepQVRClass(void) {
  JoinMemberRows<REALproperty>({NSBitmapImageRepPropertyRows}, NSBitmapImageRepQVRClass.properties,
                               NSBitmapImageRepQVRClass.propertyCount);
  JoinMemberRows<REALmethodDefinition>(
      {NSBitmapImageRepPictureMethods, NSBitmapImageRepCreationMethods, NSBitmapImageRepEncodingMethods},
                                       NSBitmapImageRepQVRClass.methods, NSBitmapImageRepQVRClass.methodCount);
  JoinMemberRows<REALconstant>({NSBitmapImageRepConstantRows}, NSBitmapImageRepQVRClass.constants,
                               NSBitmapImageRepQVRClass.constantCount);
  JoinMemberRows<REALmethodDefinition>({NSBitmapImageRepCreationSharedMethods, NSBitmapImageRepKeySharedMethods},
                                       NSBitmapImageRepQVRClass.sharedMethods,
                                       NSBitmapImageRepQVRClass.sharedMethodCount);
}
