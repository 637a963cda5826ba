/* String conversion between the host and the platform. Host strings are byte strings
   tagged with an encoding; platform strings are NSStrings (CFStrings). Short platform
   strings convert through a stack buffer, longer ones through a heap buffer sized for
   six UTF-8 bytes per UTF-16 unit. */
#import <Foundation/Foundation.h>

#include "convert/strings.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "plugin/host_bridge.h"
#include "plugin/registration.h"

namespace {

/* The bytes of a host string, however this host hands them out, released on scope exit
   (also when an exception unwinds through the conversion). */
class HostStringBytes {
 public:
  explicit HostStringBytes(REALstring string) {
    if (rbversion_rbversion <= 2013.0) {
      /* Older hosts: read the string object itself; its second word is a buffer whose
         text starts at the second byte, its fourth word the byte length. */
      REALLockString(string);
      locked_ = string;
      auto words = reinterpret_cast<const uintptr_t*>(string);
      const char* buffer = reinterpret_cast<const char*>(words[1]);
      bytes_ = buffer ? buffer + 1 : nullptr;
      length_ = buffer ? static_cast<size_t>(words[3]) : 0;
    } else if (REALGetStringData(string, kREALTextEncodingUnknown, &data_)) {
      filled_ = true;
      bytes_ = static_cast<const char*>(data_.data);
      length_ = static_cast<size_t>(data_.length);
    }
  }
  ~HostStringBytes() {
    if (locked_ != nullptr) REALUnlockString(locked_);
    if (filled_) REALDisposeStringData(&data_);
  }
  HostStringBytes(const HostStringBytes&) = delete;
  HostStringBytes& operator=(const HostStringBytes&) = delete;

  const char* bytes() const { return bytes_; }
  size_t length() const { return length_; }

 private:
  REALstring locked_ = nullptr;
  REALstringData data_ = {};
  bool filled_ = false;
  const char* bytes_ = nullptr;
  size_t length_ = 0;
};

}  // namespace

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
