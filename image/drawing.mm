/* NSImageQVR members that draw the held image into a Core Graphics context that the
   host program owns and hands over as an integer (for example the context behind a
   Picture's Graphics, Graphics.Handle). The platform's current graphics context is
   switched to that context for the drawing and switched back afterwards. */
#import <AppKit/AppKit.h>

#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "plugin/call_guard.h"
#include "plugin/errors.h"

namespace {

/* Makes a context current for one drawing and, also when a platform exception unwinds
   through the drawing, makes the one before current again. */
class CurrentContextSwitch {
 public:
  explicit CurrentContextSwitch(NSGraphicsContext* context) : previous_([[NSGraphicsContext currentContext] retain]) {
    [NSGraphicsContext setCurrentContext:context];
  }
  ~CurrentContextSwitch() {
    [NSGraphicsContext setCurrentContext:previous_];
    [previous_ release];
  }
  CurrentContextSwitch(const CurrentContextSwitch&) = delete;
  CurrentContextSwitch& operator=(const CurrentContextSwitch&) = delete;

 private:
  NSGraphicsContext* previous_;
};

/* The checks both members share: a zero context is refused before the guard, an
   instance without an image or a context the platform cannot take draws nothing. draw
   gets the image and the platform context on the port. */
template <typename Draw>
bool DrawIntoCGContext(REALobject self, intptr_t cgcontext, Draw draw) {
  if (cgcontext == 0) {
    RaiseException("NilObjectException", "CGContext is nil");
    return false;
  }
  bool result = false;
  CocoaGuardPooled([&] {
    NSImage* image = NSImageQVRDataOf(self)->Handle;
    if (image == nil) return;
    NSGraphicsContext* context = [NSGraphicsContext graphicsContextWithGraphicsPort:(void*)cgcontext flipped:NO];
    if (context == nil) return;
    draw(image, context);
    result = true;
  });
  return result;
}

}  // namespace

static bool DrawIntoCGContextAtPoint(REALobject self, intptr_t cgcontext, double x, double y, double sx, double sy,
                                     double SourceW, double SourceH, intptr_t operation, double fraction) {
  return DrawIntoCGContext(self, cgcontext, [&](NSImage* image, NSGraphicsContext* context) {
    /* The class-level save remembers the current context, the restore brings it back. */
    [NSGraphicsContext saveGraphicsState];
    [NSGraphicsContext setCurrentContext:context];
    [image drawAtPoint:NSMakePoint((float)x, (float)y)
              fromRect:NSMakeRect((float)sx, (float)sy, (float)SourceW, (float)SourceH)
             operation:(NSCompositingOperation)operation
              fraction:(float)fraction];
    [NSGraphicsContext restoreGraphicsState];
    [context flushGraphics];
  });
}

static bool DrawIntoCGContextAtRect(REALobject self, intptr_t cgcontext, double x, double y, double w, double h,
                                    double SourceX, double SourceY, double SourceW, double SourceH,
                                    intptr_t operation, double fraction) {
  return DrawIntoCGContext(self, cgcontext, [&](NSImage* image, NSGraphicsContext* context) {
    CurrentContextSwitch current(context);
    [context saveGraphicsState];
    [image drawInRect:NSMakeRect((float)x, (float)y, (float)w, (float)h)
             fromRect:NSMakeRect((float)SourceX, (float)SourceY, (float)SourceW, (float)SourceH)
            operation:(NSCompositingOperation)operation
             fraction:(float)fraction];
    [context restoreGraphicsState];
    [context flushGraphics];
  });
}

static const REALmethodDefinition DrawingRows[] = {
    MethodRow(&DrawIntoCGContextAtPoint,
              "DrawIntoCGContextAtPoint(cgcontext as integer, x as double, y as double, sx as double, sy as double, "
              "SourceW as double, SourceH as double, operation as integer, fraction as double) as boolean"),
    MethodRow(&DrawIntoCGContextAtRect,
              "DrawIntoCGContextAtRect(cgcontext as integer, x as double, y as double, w as double, h as double, "
              "SourceX as double, SourceY as double, SourceW as double, SourceH as double, operation as integer, "
              "fraction as double) as boolean"),
};

const MemberRows<REALmethodDefinition> NSImageDrawingMethods = RowsOf(DrawingRows);
