/* The umbrella of the older platform services: Core Foundation, Core Graphics and the
   Carbon leftovers (Gestalt, file references, the uptime clock). */
#ifndef QVR_APPLICATIONSERVICES_H
#define QVR_APPLICATIONSERVICES_H
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <CoreServices/CoreServices.h>
#endif
