/* The six classes of the image plugin, in the order the host must see them: the flags of
   the classes that carry marker bits are fixed first, and the representation base class
   is registered before its four subclasses. */
#include "image/NSImageQVR_class.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "plugin/registration.h"

void RegisterImageClassesQVR(void) {
  FixConsoleFlags(&NSImageQVRClass);
  FixConsoleFlags(&NSImageRepQVRClass);
  FixConsoleFlags(&NSBitmapImageRepQVRClass);

  MyREALRegisterClass(&NSImageQVRClass);
  MyREALRegisterClass(&NSImageRepQVRClass);
  MyREALRegisterClass(&NSPDFImageRepQVRClass);
  MyREALRegisterClass(&NSEPSImageRepQVRClass);
  MyREALRegisterClass(&NSPICTImageRepQVRClass);
  MyREALRegisterClass(&NSBitmapImageRepQVRClass);
}
