/* Platform strings for "REALGetStringCFString": an NSString (the platform's CFString)
   made from UTF-16 code units, owned by the caller. */
#import <Foundation/Foundation.h>
#include <stdint.h>

void *qvr_host_platform_string(const uint16_t *units, size_t count)
{
  NSString *string = [[NSString alloc] initWithCharacters:(const unichar *)units length:count];
  return (void *)string;
}
