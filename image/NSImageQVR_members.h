/* The member groups of NSImageQVR, each defined in the file of the functions that serve
   it, and the step that joins them into the class record. A new group is declared here
   and added to the join in NSImageQVR_class.mm. */
#ifndef QVR_IMAGE_NSIMAGEQVR_MEMBERS_H
#define QVR_IMAGE_NSIMAGEQVR_MEMBERS_H

#include "plugin/host_sdk.h"
#include "plugin/member_rows.h"

/* Encoding on the calling thread (encoding.mm). */
extern const MemberRows<REALmethodDefinition> NSImageEncodingMethods;
/* Encoding on a worker thread (encoding_threaded.mm). */
extern const MemberRows<REALmethodDefinition> NSImageThreadedEncodingMethods;
/* Scaled, faded and flipped copies, name and size (scaling.mm). */
extern const MemberRows<REALmethodDefinition> NSImageScalingMethods;
/* Drawing into a host-owned Core Graphics context (drawing.mm). */
extern const MemberRows<REALmethodDefinition> NSImageDrawingMethods;

/* Lifecycle (lifecycle.mm): the constructors without data and initWithSize. */
extern const MemberRows<REALmethodDefinition> NSImageLifecycleMethods;

/* Properties, plain methods and constants (properties.mm). */
extern const MemberRows<REALproperty> NSImagePropertyRows;
extern const MemberRows<REALmethodDefinition> NSImagePlainMethods;
extern const MemberRows<REALconstant> NSImageConstantRows;

/* Creation on the host's thread (creation.mm): the factories, the initWith methods and
   the constructors with data. */
extern const MemberRows<REALmethodDefinition> NSImageCreationSharedMethods;
extern const MemberRows<REALmethodDefinition> NSImageCreationMethods;

/* Representations and measurements (measurements.mm). */
extern const MemberRows<REALproperty> NSImageMeasurementProperties;
extern const MemberRows<REALmethodDefinition> NSImageRepresentationMethods;

/* Creation on a worker thread (creation_threaded.mm): the MT factories. */
extern const MemberRows<REALmethodDefinition> NSImageThreadedCreationSharedMethods;

/* Pictures and masks to images and back, with the picture marker flag (pictures.mm). */
extern const MemberRows<REALmethodDefinition> NSImagePictureMethods;
/* Type lists, named images, the pasteboard test and the standard image names
   (type_lists_and_names.mm). */
extern const MemberRows<REALmethodDefinition> NSImageTypeListAndNameSharedMethods;

/* Joins the groups into NSImageQVRClass; run once, before its flags are fixed and it is
   registered. */
void PrepareNSImageQVRClass(void);

#endif
