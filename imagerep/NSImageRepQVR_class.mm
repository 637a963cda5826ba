/* The class record of NSImageRepQVR. Its member tables are joined from the groups that
   the files serving them define (imagerep/NSImageRepQVR_members.h) just before
   registration. */
#include "imagerep/NSImageRepQVR_class.h"

#include "imagerep/NSImageRepQVR_members.h"
#include "plugin/member_rows.h"

REALclassDefinition NSImageRepQVRClass = {
    kREALCurrentControlVersion,
    "NSImageRepQVR",
    nullptr,
    sizeof(NSImageRepQVRData),
    0,
    reinterpret_cast<void*>(&NSImageRepConstructor),
    reinterpret_cast<void*>(&NSImageRepDestructor),
    nullptr, 0,  // properties, joined by PrepareNSImageRepQVRClass
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

void PrepareNSImageRepQVRClass(void) {
  JoinMemberRows<REALproperty>({NSImageRepPropertyRows}, NSImageRepQVRClass.properties,
                               NSImageRepQVRClass.propertyCount);
  JoinMemberRows<REALmethodDefinition>({NSImageRepLifecycleMethods, NSImageRepPlainMethods},
                                       NSImageRepQVRClass.methods, NSImageRepQVRClass.methodCount);
  JoinMemberRows<REALconstant>({NSImageRepConstantRows}, NSImageRepQVRClass.constants,
                               NSImageRepQVRClass.constantCount);
  JoinMemberRows<REALmethodDefinition>({NSImageRepSharedMethods}, NSImageRepQVRClass.sharedMethods,
                                       NSImageRepQVRClass.sharedMethodCount);
}
