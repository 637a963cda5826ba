/* Conversions between host Pictures (with their masks) and platform images: drawing one
   picture into another, a Core Graphics image of a picture, an NSImage of a picture and
   new pictures and masks rendered from an NSImage. None raises a host exception; every
   failure is null (nil, false) with every host reference and lock given back. */
#ifndef QVR_PICTURE_PICTURES_H
#define QVR_PICTURE_PICTURES_H

#include <ApplicationServices/ApplicationServices.h>

#include "plugin/host_sdk.h"

#ifdef __OBJC__
@class NSImage;
#endif

/* Draws src (its rectangle sx, sy, sw, sh) into dest at (x, y, w, h) through the host's
   Graphics.DrawPicture, or with OwnCopy where the host offers none. */
bool GraphicsDrawPicture(REALpicture dest, REALpicture src, int x, int y, int w, int h, int sx, int sy, int sw, int sh);
/* Row copy between two host row buffer pictures of one size, without scaling. */
bool OwnCopy(REALpicture dest, REALpicture src, int x, int y, int w, int h, int sx, int sy, int sw, int sh);

/* A new Core Graphics image (the caller releases it) of picture with mask (may be null)
   applied, or null. */
CGImageRef CreateCGImageInternal(REALpicture picture, REALpicture mask);

/* True when Gestalt answers a system of at least 10.minor. */
bool SystemIsAtLeast10(int minor);

#ifdef __OBJC__
/* An autoreleased NSImage with the picture's pixels (mask: black opaque, white clear,
   as premultiplied alpha), or nil. */
NSImage* NewNSImage(REALpicture image, REALpicture mask);
/* A new 32-bit picture (one reference for the caller) of the image or of its rectangle
   (x, y, w, h) in the image's coordinates, 0 for w or h meaning to the edge; or null. */
REALpicture NSImageCopyPictureRect(NSImage* image, int x, int y, int w, int h);
/* A new grey picture of the image's coverage: black opaque, white transparent; or null. */
REALpicture NSImageCopyPictureMask(NSImage* image);
#endif

#endif
