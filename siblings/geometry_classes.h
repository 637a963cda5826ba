/* Class records of the geometry value classes. */
#ifndef QVR_SIBLINGS_GEOMETRY_CLASSES_H
#define QVR_SIBLINGS_GEOMETRY_CLASSES_H

#include "plugin/host_sdk.h"

extern REALclassDefinition NSSizeQVRClass;
extern REALclassDefinition NSPointQVRClass;
extern REALclassDefinition NSRangeQVRClass;
extern REALclassDefinition NSRectQVRClass;

#endif
