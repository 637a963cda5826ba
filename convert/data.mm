/* MemoryBlock <-> NSData. The block is locked while its bytes are copied, so that host
   code running on another host thread cannot free it under the copy. The only
   conversion that raises: a MemoryBlock the host cannot make is reported to host code
   as an OutOfMemoryException, since a nil result would read as "no data". */
#import <Foundation/Foundation.h>

#include "convert/data.h"

#include <cstdio>
#include <cstring>

#include "plugin/errors.h"
#include "plugin/host_bridge.h"

namespace {

/* Holds a host object locked for one scope, unwinding included. */
class LockedObject {
 public:
  explicit LockedObject(REALobject object) : object_(object) { REALLockObject(object_); }
  ~LockedObject() { REALUnlockObject(object_); }
  LockedObject(const LockedObject&) = delete;
  LockedObject& operator=(const LockedObject&) = delete;

 private:
  REALobject object_;
};

/* The largest block asked of the host: a count of 0x7FFFFFFF is reported as a failure
   without asking, as the host cannot address it. */
const int32_t kLargestBlock = 0x7FFFFFFE;

}  // namespace

NSData* NewNSData(REALmemoryBlock block) {
  if (block == nullptr) return nil;
  LockedObject locked(reinterpret_cast<REALobject>(block));
  intptr_t size = REALMemoryBlockGetSize(block);
  if (size < 0) size = 0;
  const void* bytes = REALMemoryBlockGetPtr(block);
  if (bytes == nullptr) size = 0;
  return size != 0 ? [NSData dataWithBytes:bytes length:static_cast<NSUInteger>(size)] : nil;
}

REALmemoryBlock NSDataRB(NSData* data) {
  if (data == nil) return nullptr;
  const void* bytes = [data bytes];
  /* Counts are signed 32-bit on the host's side of the hand-over. */
  int32_t count = static_cast<int32_t>([data length]);
  if (bytes == nullptr || count < 1) return nullptr;
  REALmemoryBlock block = count <= kLargestBlock ? REALNewMemoryBlockOriginal(count) : nullptr;
  if (block == nullptr) {
    char message[200];
    std::snprintf(message, sizeof message, "Failed to allocate a memoryblock with %lld bytes in size.",
                  static_cast<long long>(count));
    RaiseException("OutOfMemoryException", message);
    return nullptr;
  }
  void* target = REALMemoryBlockGetPtr(block);
  if (target == nullptr) {
    REALUnlockObject(reinterpret_cast<REALobject>(block));
    return nullptr;
  }
  std::memcpy(target, bytes, static_cast<size_t>(count));
  return block;
}
