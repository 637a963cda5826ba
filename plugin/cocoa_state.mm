/* CocoaInit: the first layer of the call guard. It looks for the sibling plugin's
   NSException additions on every call until it finds them, so a sibling that registers
   after this plugin is still picked up. */
#import <Foundation/Foundation.h>

#include "plugin/cocoa_state.h"
#include "plugin/sibling_interfaces.h"

CFMutableDictionaryRef instances = NULL;
bool ExceptionsInitialized = false;

void CocoaInit(void) {
  if (instances == NULL && [NSException respondsToSelector:@selector(GetInstancesDictionaryQVR)]) {
    instances = [NSException GetInstancesDictionaryQVR];
  }
  if (!ExceptionsInitialized && [NSException respondsToSelector:@selector(PrepareNSExceptionQVR)]) {
    [NSException PrepareNSExceptionQVR];
    ExceptionsInitialized = true;
  }
}
