/* The class record of NSImageQVR. Its member tables are joined from the groups that the
   files serving them define (see image/NSImageQVR_members.h) just before registration. */
#include "image/NSImageQVR_class.h"

#include "image/NSImageQVR_members.h"
#include "plugin/member_rows.h"

static const REALproperty NSImageHandleProperty[] = {
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
    nullptr, 0,  // properties, joined by PrepareNSImageQVRClass
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

void PrepareNSImageQVRClass(void) {
  JoinMemberRows<REALproperty>(
      {
          RowsOf(NSImageHandleProperty),
          NSImagePropertyRows,
          NSImageMeasurementProperties,
      },
      NSImageQVRClass.properties, NSImageQVRClass.propertyCount);
  JoinMemberRows<REALmethodDefinition>(
      {
          NSImageLifecycleMethods,
          NSImagePlainMethods,
          NSImageEncodingMethods,
          NSImageThreadedEncodingMethods,
          NSImageScalingMethods,
          NSImageDrawingMethods,
          NSImageCreationMethods,
          NSImagePictureMethods,
          NSImageRepresentationMethods,
      },
      NSImageQVRClass.methods, NSImageQVRClass.methodCount);
  JoinMemberRows<REALmethodDefinition>(
      {
          NSImageCreationSharedMethods,
          NSImageThreadedCreationSharedMethods,
          NSImageTypeListAndNameSharedMethods,
      },
      NSImageQVRClass.sharedMethods, NSImageQVRClass.sharedMethodCount);
  JoinMemberRows<REALconstant>(
      {
          NSImageConstantRows,
      },
      NSImageQVRClass.constants, NSImageQVRClass.constantCount);
}
