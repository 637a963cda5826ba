// Calling plugin functions with the C signature their declaration implies (libffi),
// choosing among overloads, and reading and writing properties. Shared by the call API
// (calls.cpp) and the entry points that read and write properties by name.
#pragma once

#include "types.h"

namespace host {

// Calls fn with the given C arguments. guard: run it inside the call boundary (calls
// from host code); calls made for a plugin let its platform exceptions reach it.
Slot callFunction(void* fn, const HostType& result, const std::vector<HostType>& types, std::vector<Slot>& args,
                  bool guard);

struct PropertyAccess {
  const PropertyInfo* property = nullptr;
  ClassInfo* owner = nullptr;
};
PropertyAccess findProperty(ClassInfo* cls, std::string_view name);

// Property values by name; false when the object has no such readable/writable property
// or the value does not fit. Exceptions a getter raises stay pending.
bool readProperty(Runtime::Impl& impl, ObjectHeader* self, std::string_view name, Value& out, bool guard);
bool writeProperty(Runtime::Impl& impl, ObjectHeader* self, std::string_view name, const Value& value, bool guard);

}  // namespace host
