/* AppKit as this system provides it on Linux: headless image classes, graphics
   contexts, colours and an in-process pasteboard, drawn with pixman. */
#import <Foundation/Foundation.h>
#include <ApplicationServices/ApplicationServices.h>

#import <AppKit/NSGraphics.h>
#import <AppKit/NSColor.h>
#import <AppKit/NSColorSpace.h>
#import <AppKit/NSGraphicsContext.h>
#import <AppKit/NSPasteboard.h>
#import <AppKit/NSImageRep.h>
#import <AppKit/NSBitmapImageRep.h>
#import <AppKit/NSEPSImageRep.h>
#import <AppKit/NSPDFImageRep.h>
#import <AppKit/NSPICTImageRep.h>
#import <AppKit/NSImage.h>
