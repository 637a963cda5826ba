/* The test plugin's platform side: a function that throws a platform object that is not
   an NSException out of plugin code, and the length of a platform string. */
#import <Foundation/Foundation.h>

void testplugin_throw_string(void)
{
  @throw @"thrown by the test plugin";
}

long testplugin_platform_length(void *string)
{
  return (long)[(NSString *)string length];
}

void testplugin_platform_release(void *string)
{
  [(NSString *)string release];
}
