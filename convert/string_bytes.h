/* The bytes of a host string as it stores them, with no conversion of encoding, however
   this host hands them out: older hosts by locking the string and reading it in place,
   newer ones through their string data record. */
#ifndef QVR_CONVERT_STRING_BYTES_H
#define QVR_CONVERT_STRING_BYTES_H

#include <stddef.h>

#include "plugin/host_sdk.h"

/* Holds the bytes from construction to destruction (also when an exception unwinds
   through the holder); bytes() is null when the host gave none. */
class HostStringBytes {
 public:
  explicit HostStringBytes(REALstring string);
  ~HostStringBytes();
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

#endif
