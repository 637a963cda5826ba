/* Class records of the Foundation wrapper classes. */
#ifndef QVR_SIBLINGS_FOUNDATION_CLASSES_H
#define QVR_SIBLINGS_FOUNDATION_CLASSES_H

#include "plugin/host_sdk.h"

extern REALclassDefinition NSTimeZoneQVRClass;
extern REALclassDefinition NSLocaleQVRClass;
extern REALclassDefinition NSErrorQVRClass;
extern REALclassDefinition NSCalendarQVRClass;
extern REALclassDefinition NSCharacterSetQVRClass;
extern REALclassDefinition NSTimerQVRClass;
extern REALclassDefinition NSAttributedStringQVRClass;

#endif
