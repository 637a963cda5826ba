/* One host reference held for a scope and dropped when the scope ends, platform
   exceptions unwinding through it included, so conversions stay balanced on every path. */
#ifndef QVR_CONVERT_HELD_REFERENCES_H
#define QVR_CONVERT_HELD_REFERENCES_H

#include "plugin/host_bridge.h"

template <typename Reference, void (*Unlock)(Reference)>
class HeldReference {
 public:
  explicit HeldReference(Reference reference) : reference_(reference) {}
  ~HeldReference() {
    if (reference_ != nullptr) Unlock(reference_);
  }
  HeldReference(const HeldReference&) = delete;
  HeldReference& operator=(const HeldReference&) = delete;
  Reference get() const { return reference_; }

 private:
  Reference reference_;
};

using HeldObject = HeldReference<REALobject, &REALUnlockObject>;
using HeldString = HeldReference<REALstring, &REALUnlockString>;

#endif
