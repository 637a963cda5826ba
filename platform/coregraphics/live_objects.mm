/* The set of live Core Graphics contexts and images, so that references that arrive as
   integers from host code are checked before they are used as objects. Workers decode
   and encode images too, hence the lock. The set is never destroyed: objects may go away
   during the process's own exit. */
#include "coregraphics/live_objects.h"

#include <mutex>
#include <unordered_set>

namespace {

std::mutex& LiveLock() {
  static std::mutex* lock = new std::mutex;
  return *lock;
}

std::unordered_set<const void*>& LiveSet() {
  static auto* set = new std::unordered_set<const void*>;
  return *set;
}

}  // namespace

void CGLiveObjectEnter(const void* object) {
  if (!object) return;
  std::lock_guard<std::mutex> hold(LiveLock());
  LiveSet().insert(object);
}

void CGLiveObjectLeave(const void* object) {
  std::lock_guard<std::mutex> hold(LiveLock());
  LiveSet().erase(object);
}

bool CGLiveObjectIsLive(const void* object) {
  if (!object) return false;
  std::lock_guard<std::mutex> hold(LiveLock());
  return LiveSet().count(object) != 0;
}
