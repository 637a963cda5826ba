/* Platform objects wrapped in host instances. The fixed-class wrappers keep one wrapper
   per platform object through the shared instances dictionary; NewNSObjectQVR picks the
   host class from the object's own class upwards and always makes a new wrapper. Each
   returns a host reference owned by the caller, or nil. */
#ifndef QVR_CONVERT_WRAPPERS_H
#define QVR_CONVERT_WRAPPERS_H

#import <AppKit/AppKit.h>

#include "plugin/host_sdk.h"

REALobject NewNSImageQVR(NSImage* image);
REALobject NewNSPDFImageRepQVR(NSPDFImageRep* representation);
REALobject NewNSBitmapImageRepQVR(NSBitmapImageRep* representation);
/* A colour in the sibling plugin's class NSColorQVR, kept one wrapper per colour alike. */
REALobject NewNSColorQVR(NSColor* color);
REALobject NewNSObjectQVR(NSObject* object, Class requiredClass);
/* The wrapper the instances dictionary holds for object (with a new reference), or a new
   instance of hostClassName holding object retained, entered there; nil when the host
   has no such class. */
REALobject NewFixedClassWrapper(id object, const char* hostClassName);
/* The EPS and PICT representations, kept one wrapper per representation alike. */
REALobject NewNSEPSImageRepQVR(NSEPSImageRep* representation);
REALobject NewNSPICTImageRepQVR(NSPICTImageRep* representation);

#endif
