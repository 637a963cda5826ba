/* Reading a host string's stored bytes, the way each host generation allows. */
#include "convert/string_bytes.h"

#include <stdint.h>

#include "plugin/host_bridge.h"
#include "plugin/registration.h"

HostStringBytes::HostStringBytes(REALstring string) {
  if (string == nullptr) return;
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

HostStringBytes::~HostStringBytes() {
  if (locked_ != nullptr) REALUnlockString(locked_);
  if (filled_) REALDisposeStringData(&data_);
}
