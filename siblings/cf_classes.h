/* Class records of the Core Foundation wrapper classes. */
#ifndef QVR_SIBLINGS_CF_CLASSES_H
#define QVR_SIBLINGS_CF_CLASSES_H

#include "plugin/host_sdk.h"

extern REALclassDefinition CFObjectQVRClass;
extern REALclassDefinition CGImageQVRClass;

/* Registers the subclasses of CFObjectQVR, one per Core Foundation and Core Graphics
   type, after CFObjectQVR itself. */
void RegisterCFSubclasses(void (*registerClass)(REALclassDefinition*));

#endif
