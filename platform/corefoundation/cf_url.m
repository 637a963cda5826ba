/* Core Foundation URLs are NSURLs: file URLs from POSIX paths and back, and the path
   component edits the plugin makes when it names files. */
#import <Foundation/Foundation.h>
#include <CoreFoundation/CoreFoundation.h>

CFURLRef CFURLCreateWithString(CFAllocatorRef alloc, CFStringRef string, CFURLRef baseURL) {
  if (string == NULL) return NULL;
  return (CFURLRef)[[NSURL alloc] initWithString:(NSString*)string relativeToURL:(NSURL*)baseURL];
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef alloc, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory) {
  if (path == NULL || [(NSString*)path length] == 0 || style != kCFURLPOSIXPathStyle) return NULL;
  return (CFURLRef)[[NSURL alloc] initFileURLWithPath:(NSString*)path isDirectory:isDirectory ? YES : NO];
}

CFStringRef CFURLGetString(CFURLRef url) {
  return url ? (CFStringRef)[(NSURL*)url relativeString] : NULL;
}

/* Foundation's temporaries go to a pool of the call's own: CF calls may run outside
   any caller's pool. Results are retained before it drains (the Copy and Create rule). */
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
  if (url == NULL || style != kCFURLPOSIXPathStyle) return NULL;
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSString* path = [[(NSURL*)url path] copy];
  [pool release];
  return (CFStringRef)path;
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef url) {
  if (url == NULL) return NULL;
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSString* component = [[[(NSURL*)url path] lastPathComponent] copy];
  [pool release];
  return (CFStringRef)component;
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef alloc, CFURLRef url) {
  if (url == NULL) return NULL;
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSURL* result = [[(NSURL*)url URLByDeletingLastPathComponent] retain];
  [pool release];
  return (CFURLRef)result;
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef alloc, CFURLRef url, CFStringRef component,
                                               Boolean isDirectory) {
  if (url == NULL || component == NULL) return NULL;
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSURL* result =
      [[(NSURL*)url URLByAppendingPathComponent:(NSString*)component isDirectory:isDirectory ? YES : NO] retain];
  [pool release];
  return (CFURLRef)result;
}
