/* NSPICTImageRep: a QuickDraw picture read by our own PICT reader, which draws it once into
   pixels at the picture's own resolution when the representation is made; the
   representation keeps those as a bitmap representation and draws that into its frame. */
#import <AppKit/AppKit.h>

#include <math.h>

#include "codecs/pict_decode.h"
#include "imagereps/bitmap_storage.h"

@implementation NSPICTImageRep

+ (id)imageRepWithData:(NSData*)pictData {
  return [[[self alloc] initWithData:pictData] autorelease];
}

+ (BOOL)canInitWithData:(NSData*)data {
  qvr::PictHeader header;
  return [data isKindOfClass:[NSData class]] &&
         qvr::pict_read_header((const uint8_t*)[data bytes], [data length], header);
}

- (id)initWithData:(NSData*)pictData {
  if (!(self = [super init])) return nil;
  qvr::PictHeader header;
  qvr::Frame frame;
  if (![pictData isKindOfClass:[NSData class]] ||
      !qvr::pict_read_header((const uint8_t*)[pictData bytes], [pictData length], header) ||
      !qvr::pict_decode((const uint8_t*)[pictData bytes], [pictData length], frame)) {
    [self release];
    return nil;
  }
  _rendering = [[NSBitmapImageRep alloc] qvrInitWithFrame:frame];
  if (_rendering == nil) {
    [self release];
    return nil;
  }
  _pictData = [pictData copy];
  _boundingBox = NSMakeRect(header.left, header.top, header.right - header.left, header.bottom - header.top);
  [self setSize:_boundingBox.size];
  [_rendering setSize:_boundingBox.size];
  [self setAlpha:YES];
  [self setOpaque:NO];
  [self setBitsPerSample:8];
  [self setPixelsWide:[_rendering pixelsWide]];
  [self setPixelsHigh:[_rendering pixelsHigh]];
  return self;
}

- (void)dealloc {
  [_pictData release];
  [_rendering release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone*)zone {
  NSPICTImageRep* copy = [super copyWithZone:zone];
  copy->_pictData = [_pictData retain];
  copy->_rendering = [_rendering copyWithZone:zone];
  return copy;
}

- (NSData*)PICTRepresentation { return _pictData; }
- (NSRect)boundingBox { return _boundingBox; }

- (BOOL)draw {
  NSSize size = [self size];
  return [_rendering drawInRect:NSMakeRect(0, 0, size.width, size.height)];
}

- (CGImageRef)CGImageForProposedRect:(NSRect*)proposedDestRect
                             context:(NSGraphicsContext*)context
                               hints:(NSDictionary*)hints {
  return [_rendering CGImage];
}

@end

@implementation NSPICTImageRep (Types)

+ (NSArray*)imageUnfilteredTypes {
  return [NSArray arrayWithObject:@"com.apple.pict"];
}

+ (NSArray*)imageUnfilteredFileTypes {
  return [NSArray arrayWithObjects:@"pict", @"pct", @"pic", @"'PICT'", nil];
}

+ (NSArray*)imageUnfilteredPasteboardTypes {
  return [NSArray arrayWithObject:NSPICTPboardType];
}

@end
