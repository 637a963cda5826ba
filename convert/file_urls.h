/* Host FolderItems to file URLs and back, through the file references the host hands
   FolderItems over in: an existing item's FSRef, a parent FSRef plus a name for an item
   that need not exist, and the older FSSpec as a last resort. */
#ifndef QVR_CONVERT_FILE_URLS_H
#define QVR_CONVERT_FILE_URLS_H

#include "plugin/host_sdk.h"

#ifdef __OBJC__
@class NSURL;

/* An autoreleased file URL for the item (which need not exist, if its folder does);
   nil for a nil item or when the host cannot hand it over. */
NSURL* NewNSURLfile(REALfolderItem file);

/* A new FolderItem with one reference for the caller, for an existing item or for a
   missing one in an existing folder; nil otherwise. */
REALfolderItem NSURLRBFile(NSURL* url);
#endif

#endif
