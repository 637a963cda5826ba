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

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
  if (url == NULL || style != kCFURLPOSIXPathStyle) return NULL;
  NSString* path = [(NSURL*)url path];
  return path ? (CFStringRef)[path copy] : NULL;
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef url) {
  if (url == NULL) return NULL;
  NSString* path = [(NSURL*)url path];
  if (path == nil) return NULL;
  return (CFStringRef)[[path lastPathComponent] copy];
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef alloc, CFURLRef url) {
  if (url == NULL) return NULL;
  NSURL* result = [(NSURL*)url URLByDeletingLastPathComponent];
  return (CFURLRef)[result retain];
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef alloc, CFURLRef url, CFStringRef component,
                                               Boolean isDirectory) {
  if (url == NULL || component == NULL) return NULL;
  NSURL* result = [(NSURL*)url URLByAppendingPathComponent:(NSString*)component isDirectory:isDirectory ? YES : NO];
  return (CFURLRef)[result retain];
}
