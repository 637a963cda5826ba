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

/* Measurements over the representations: their count, the largest and smallest pixel
   sizes (0 for none), and the EXIF dictionary of the first bitmap representation that
   has one. The minimum takes 0 as "no value yet", so a representation reporting 0 makes
   the next one's size the minimum whatever it is. */
- (NSInteger)representationsCount;
- (NSInteger)MaximumWidth;
- (NSInteger)MaximumHeight;
- (NSInteger)MinimumWidth;
- (NSInteger)MinimumHeight;
- (NSDictionary*)EXIFData;

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
