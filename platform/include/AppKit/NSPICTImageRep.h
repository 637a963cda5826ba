/* NSPICTImageRep: a representation holding a QuickDraw PICT picture; its bounding box is
   the picture frame from the PICT header, in points. */
#ifndef QVR_APPKIT_NSPICTIMAGEREP_H
#define QVR_APPKIT_NSPICTIMAGEREP_H

#import <AppKit/NSImageRep.h>

@class NSBitmapImageRep;

@interface NSPICTImageRep : NSImageRep {
 @protected
  NSData* _pictData;
  NSRect _boundingBox;
  NSBitmapImageRep* _rendering; /* the picture drawn into pixels */
}

+ (id)imageRepWithData:(NSData*)pictData;
- (id)initWithData:(NSData*)pictData;

- (NSData*)PICTRepresentation;
- (NSRect)boundingBox;

@end

#endif
