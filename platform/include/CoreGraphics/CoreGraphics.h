/* The Core Graphics subset this system provides on Linux: geometry, grey and RGB colour
   spaces, colours, data providers, images and image masks, bitmap contexts and drawing
   (on pixman). Objects are Objective-C objects answering -_cfTypeID, retained and released
   with CFRetain and CFRelease as well as with their own functions. Plain C. */
#ifndef QVR_COREGRAPHICS_H
#define QVR_COREGRAPHICS_H

#include <CoreGraphics/CGBase.h>
#include <CoreGraphics/CGGeometry.h>
#include <CoreGraphics/CGColorSpace.h>
#include <CoreGraphics/CGColor.h>
#include <CoreGraphics/CGDataProvider.h>
#include <CoreGraphics/CGImage.h>
#include <CoreGraphics/CGContext.h>
#include <CoreGraphics/CGBitmapContext.h>
#include <CoreGraphics/CGTypeIDs.h>

#endif
