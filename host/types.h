// Host-language types as the C side sees them: which C type a declaration's type name
// stands for, how a host Value becomes a C argument and a C result becomes a Value, how
// well a value fits a parameter (for choosing overloads), and default values.
#pragma once

#include "runtime_private.h"

#include <ffi.h>

namespace host {

enum class TypeKind {
  Void, Integer, Int8, Int16, Int32, Int64, UInt8, UInt16, UInt32, UInt64,
  Boolean, Single, Double, Currency, Color, Ptr, String, Object, Variant,
};

struct HostType {
  TypeKind kind = TypeKind::Void;
  std::string className;  // Object: the class name as written ("Object" for any object)
  bool isArray = false;
};

HostType hostType(std::string_view name, bool isArray = false);
HostType returnType(const Declaration& declaration);
HostType parameterType(const Parameter& parameter);

// Pointer-sized types (strings, objects, arrays, Variants, Ptr) are all passed as pointers.
bool isReference(const HostType& type);

// One C argument or result.
union Slot {
  int8_t i8;
  int16_t i16;
  int32_t i32;
  int64_t i64;
  uint8_t u8;
  uint16_t u16;
  uint32_t u32;
  uint64_t u64;
  float f;
  double d;
  void* p;
  ffi_arg widened;  // integer results narrower than a register come back widened
  unsigned char bytes[16];
};

ffi_type* ffiType(const HostType& type);
// Bytes a field of this type takes in instance data.
size_t fieldSize(const HostType& type);

// Converts a value to a C argument; strings and objects are borrowed (no reference
// taken). Returns false when the value cannot be passed as that type.
bool toSlot(const HostType& type, const Value& value, Slot& slot);
// Converts a C result (adopt: it carries a reference for the caller, as function results
// do) or a borrowed C argument (adopt false: a reference is taken).
Value fromSlot(Runtime::Impl& impl, const HostType& type, const Slot& slot, bool adopt);
// Reads a C result written by ffi_call into a slot of the right width.
Slot resultSlot(const HostType& type, const Slot& raw);
// Writes a closure's result for libffi (narrow integers widened to a register).
void writeResult(const HostType& type, const Slot& slot, void* out);

// Fields of instance data read and written by the (void*)-1 property marker.
Value readField(Runtime::Impl& impl, const HostType& type, const unsigned char* field);
void writeField(Runtime::Impl& impl, const HostType& type, unsigned char* field, const Value& value);
// Drops the reference a String or Object field holds (when its object dies).
void clearField(Runtime::Impl& impl, const HostType& type, unsigned char* field);

// How well a value fits a parameter: 0 exact, larger is a looser conversion, -1 no fit.
int fitScore(Runtime::Impl& impl, const HostType& type, const Value& value);

// Converts a value to the value the parameter type would hold (Integer to Double, ...),
// as the host language converts arguments before a native member sees them.
Value coerce(Runtime::Impl& impl, const HostType& type, const Value& value);

// A default value or constant as written in a declaration: integer (decimal or &h),
// double, true/false, nil, a quoted string, or the name of a constant of cls.
Value literalValue(Runtime::Impl& impl, const HostType& type, const std::string& text, const ClassInfo* cls);

// Host type name of a literal, for constants declared without a type.
std::string literalTypeName(const std::string& text);

}  // namespace host
