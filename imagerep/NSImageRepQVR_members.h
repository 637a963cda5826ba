/* The member groups of NSImageRepQVR, each defined in the file of the functions that
   serve it, and the step that joins them into the class record. */
#ifndef QVR_IMAGEREP_NSIMAGEREPQVR_MEMBERS_H
#define QVR_IMAGEREP_NSIMAGEREPQVR_MEMBERS_H

#include "plugin/host_sdk.h"
#include "plugin/member_rows.h"

/* The empty "Constructor" (lifecycle.mm). */
extern const MemberRows<REALmethodDefinition> NSImageRepLifecycleMethods;

/* Properties, setSize, the constant and canInitWithData (properties.mm). */
extern const MemberRows<REALproperty> NSImageRepPropertyRows;
extern const MemberRows<REALmethodDefinition> NSImageRepPlainMethods;
extern const MemberRows<REALconstant> NSImageRepConstantRows;
extern const MemberRows<REALmethodDefinition> NSImageRepSharedMethods;

/* Joins the groups into NSImageRepQVRClass; run once, before its flags are fixed and it
   is registered. */
void PrepareNSImageRepQVRClass(void);

#endif
