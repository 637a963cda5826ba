/* The sibling plugin's exported entry point: registers the family's shared classes.
   The exception class comes first so that converted exceptions can always be made. */
#include "plugin/host_sdk.h"
#include "siblings/cf_classes.h"
#include "siblings/color_classes.h"
#include "siblings/exception_additions.h"
#include "siblings/foundation_classes.h"
#include "siblings/geometry_classes.h"
#include "siblings/sibling_registration.h"

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALResolver resolver) {
  siblings::Start(resolver);
  REALclassDefinition* classes[] = {&NSExceptionQVRClass, &NSSizeQVRClass,  &NSPointQVRClass,
                                    &NSRangeQVRClass,     &NSRectQVRClass,  &NSColorQVRClass,
                                    &NSColorSpaceQVRClass, &CFObjectQVRClass, &CGImageQVRClass,
                                    &NSTimeZoneQVRClass,  &NSLocaleQVRClass, &NSErrorQVRClass,
                                    &NSCalendarQVRClass,  &NSCharacterSetQVRClass, &NSTimerQVRClass,
                                    &NSAttributedStringQVRClass};
  for (REALclassDefinition* definition : classes) siblings::Register(definition);
  RegisterCFSubclasses(&siblings::Register);
}
