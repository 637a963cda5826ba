/* Methods this plugin adds to NSImage under the category ImageAdditionsQVR: encoding the
   image as JPEG, PNG, BMP and GIF (the formats without transparency are drawn over white
   first), and scaled, faded and flipped copies. Each answers an autoreleased object or
   nil. */
#ifndef QVR_IMAGE_IMAGEADDITIONSQVR_H
#define QVR_IMAGE_IMAGEADDITIONSQVR_H

#import <AppKit/AppKit.h>

@interface NSImage (ImageAdditionsQVR)

/* Encoding. */
- (NSBitmapImageRep*)opaqueBitmapImageRepQVR;
- (NSData*)JPEGRepresentationQVR;
- (NSData*)JPEGRepresentationWithCompressionFactorQVR:(float)factor;
- (NSData*)PNGRepresentationQVR;
- (NSData*)BMPRepresentationQVR;
- (NSData*)GIFRepresentationQVR;

/* Scaled, faded and flipped copies. */
- (NSImage*)imageByScalingToSizeQVR:(NSSize)size;
- (NSImage*)imageByScalingToSizeQVR:(NSSize)size fraction:(float)fraction;
- (NSImage*)imageByFadingToFraction:(float)fraction;
- (NSImage*)imageByScalingToSizeQVR:(NSSize)targetSize
                           fraction:(float)fraction
                          flipImage:(BOOL)flip
                     proportionally:(BOOL)proportionally;

@end

#endif
