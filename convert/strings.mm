/* String conversion between the host and the platform. Host strings are byte strings
   tagged with an encoding; platform strings are NSStrings (CFStrings). Short platform
   strings convert through a stack buffer, longer ones through a heap buffer sized for
   six UTF-8 bytes per UTF-16 unit. */
#import <Foundation/Foundation.h>

#include "convert/strings.h"
#include "convert/string_bytes.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "plugin/host_bridge.h"

CFStringRef RBString2CFString(REALstring string) {
  if (string == nullptr) return nullptr;
  if (CFStringRef own = REALCopyStringCFString(string, false)) return own;

  uint32_t encoding = REALGetStringEncoding(string);
  if (encoding == kREALTextEncodingUnknown) encoding = kREALTextEncodingMacRoman;
  HostStringBytes text(string);
  if (text.bytes() == nullptr) return nullptr;
  if (encoding == kREALTextEncodingUTF16) {
    /* Copied so the units are aligned whatever the host's buffer is. */
    size_t units = text.length() / 2;
    std::unique_ptr<UniChar[]> characters(new UniChar[units ? units : 1]);
    std::memcpy(characters.get(), text.bytes(), units * sizeof(UniChar));
    return CFStringCreateWithCharacters(kCFAllocatorDefault, characters.get(), static_cast<CFIndex>(units));
  }
  /* The host's buffers end with a NUL (ours add four zero bytes). */
  return CFStringCreateWithCString(kCFAllocatorDefault, text.bytes(), encoding);
}

REALstring CFString2RBString(CFStringRef string) {
  if (string == nullptr) return nullptr;
  CFIndex length = CFStringGetLength(string);
  if (length < 1) return nullptr;

  char stackBuffer[601];
  std::memset(stackBuffer, 0, sizeof stackBuffer);
  std::unique_ptr<char, decltype(&std::free)> heapBuffer(nullptr, &std::free);
  char* buffer = stackBuffer;
  CFIndex bufferSize = 600;
  if (length >= 100) {
    if (length > 0x7FFFFFFF / 6) return nullptr;
    bufferSize = length * 6;
    heapBuffer.reset(static_cast<char*>(std::calloc(static_cast<size_t>(bufferSize), 1)));
    if (!heapBuffer) return nullptr;
    buffer = heapBuffer.get();
  }
  if (!CFStringGetCString(string, buffer, bufferSize, kCFStringEncodingUTF8)) return nullptr;
  size_t byteCount = std::strlen(buffer);
  if (byteCount == 0) return nullptr;

  REALstring result = originalREALBuildString(buffer, static_cast<intptr_t>(byteCount));
  if (result == nullptr) return nullptr;
  REALSetStringEncoding(result, kREALTextEncodingUTF8);
  return result;
}

void FillStringArray(REALarray array, CFArrayRef strings) {
  NSEnumerator* enumerator = [(NSArray*)strings objectEnumerator];
  intptr_t index = 0;
  for (id element = [enumerator nextObject]; element != nil; element = [enumerator nextObject], index++) {
    REALstring value = CFString2RBString((CFStringRef)element);
    REALInsertArrayValueString(array, index, value);
    if (value != nullptr) REALUnlockString(value);
  }
}
