/* Class records of the colour wrapper classes. */
#ifndef QVR_SIBLINGS_COLOR_CLASSES_H
#define QVR_SIBLINGS_COLOR_CLASSES_H

#include "plugin/host_sdk.h"

extern REALclassDefinition NSColorQVRClass;
extern REALclassDefinition NSColorSpaceQVRClass;

#endif
