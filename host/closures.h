// Real C entry points for members the host implements itself: when a plugin loads a
// built-in method or a global function by declaration, it gets a libffi closure with the
// C signature of that declaration, which converts the C arguments to host values, runs
// the native function and converts its result back.
#pragma once

#include "types.h"

#include <map>
#include <memory>

namespace host {

class ClosurePool {
 public:
  ClosurePool();
  ~ClosurePool();
  ClosurePool(const ClosurePool&) = delete;
  ClosurePool& operator=(const ClosurePool&) = delete;

  // A C function R f([self,] args...) for the declaration; the same function is handed
  // out again for the same member. Null when the signature cannot be prepared.
  void* entryFor(const void* key, const Declaration& declaration, bool hasSelf, NativeFunction function);

  struct Closure;

 private:
  std::map<std::pair<const void*, bool>, std::unique_ptr<Closure>> closures_;
};

}  // namespace host
