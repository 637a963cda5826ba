/* The six classes of the image plugin, in the order the host must see them: member tables
   are joined first, then the flags of the classes that carry marker bits are fixed, and
   the representation base class is registered before its four subclasses. */
#include "image/NSImageQVR_class.h"
#include "image/NSImageQVR_members.h"
#include "imagerep/NSBitmapImageRepQVR_members.h"
#include "imagerep/NSImageRepQVR_class.h"
#include "imagerep/NSImageRepQVR_members.h"
#include "plugin/registration.h"

void RegisterImageClassesQVR(void) {
  PrepareNSImageQVRClass();
  PrepareNSImageRepQVRClass();

  PrepareNSBitmapImageRepQVRClass();
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
