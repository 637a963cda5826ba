/* The member groups of NSBitmapImageRepQVR, each defined in the file of the functions that
   serve it, and the step that joins them into the class record. A new group is declared
   here and added to the join in NSBitmapImageRepQVR_class.mm. */
#ifndef QVR_IMAGEREP_NSBITMAPIMAGEREPQVR_MEMBERS_H
#define QVR_IMAGEREP_NSBITMAPIMAGEREPQVR_MEMBERS_H

#include "plugin/host_sdk.h"
#include "plugin/member_rows.h"

/* The read-only layout properties, colorSpace, bitmapData and CGImage (bitmap_accessors.mm). */
extern const MemberRows<REALproperty> NSBitmapImageRepPropertyRows;

/* "Constructor(pic as Picture)" (bitmap_from_picture.mm). */
extern const MemberRows<REALmethodDefinition> NSBitmapImageRepPictureMethods;

/* The constructors from sizes and from data, canBeCompressedUsing, retagging, and the three
   factories (bitmap_creation.mm). */
extern const MemberRows<REALmethodDefinition> NSBitmapImageRepCreationMethods;
extern const MemberRows<REALmethodDefinition> NSBitmapImageRepCreationSharedMethods;

/* The encoders (bitmap_encoding.mm). */
extern const MemberRows<REALmethodDefinition> NSBitmapImageRepEncodingMethods;

/* The constants and the property-key getters (bitmap_constants.mm). */
extern const MemberRows<REALconstant> NSBitmapImageRepConstantRows;
extern const MemberRows<REALmethodDefinition> NSBitmapImageRepKeySharedMethods;

/* Joins the groups into NSBitmapImageRepQVRClass; run once, before its flags are fixed and
   it is registered. */
void PrepareNSBitmapImageRepQVRClass(void);

#endif
