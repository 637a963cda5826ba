/* Drawing of the resolution-independent representations (PDF pages, EPS figures): a
   source part mapped onto a destination through the context's transform, so that the
   representation renders at the destination's own resolution, never from a fixed bitmap. */
#ifndef QVR_IMAGEREPS_VECTOR_DRAWING_H
#define QVR_IMAGEREPS_VECTOR_DRAWING_H

#import <AppKit/AppKit.h>

/* Sends -draw to rep with the current context transformed so that fromRect (rep's own
   coordinates; the zero rectangle for all of it) fills dstRect, clipped to dstRect, with
   the compositing operation and opacity applied. */
BOOL VectorRepDrawInRect(NSImageRep* rep, NSRect dstRect, NSRect fromRect, NSCompositingOperation op,
                         CGFloat fraction, BOOL respectFlipped);

/* Describes rep as resolution-independent: drawn on opaque white paper, with no pixels of
   its own (NSImageRepMatchesDevice), so that it draws through VectorRepDrawInRect. */
void VectorRepDescribe(NSImageRep* rep);

#endif
