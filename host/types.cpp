// Host-language types on the C side of a call: the C type of each host type name, the
// conversions between host values and C arguments or results, the fit of a value to a
// parameter, and literal values (default parameters and constants).
#include "types.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace host {

HostType hostType(std::string_view name, bool isArray) {
  static const struct {
    const char* name;
    TypeKind kind;
  } kNames[] = {
      {"integer", TypeKind::Integer}, {"int8", TypeKind::Int8},     {"int16", TypeKind::Int16},
      {"int32", TypeKind::Int32},     {"int64", TypeKind::Int64},   {"uint8", TypeKind::UInt8},
      {"byte", TypeKind::UInt8},      {"uint16", TypeKind::UInt16}, {"uint32", TypeKind::UInt32},
      {"uint64", TypeKind::UInt64},   {"uinteger", TypeKind::UInt64}, {"boolean", TypeKind::Boolean},
      {"single", TypeKind::Single},   {"double", TypeKind::Double}, {"currency", TypeKind::Currency},
      {"color", TypeKind::Color},     {"ptr", TypeKind::Ptr},       {"string", TypeKind::String},
      {"variant", TypeKind::Variant},
  };
  HostType type;
  while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
  if (name.size() > 2 && name.substr(name.size() - 2) == "()") {  // "String()" names an array type
    name.remove_suffix(2);
    isArray = true;
  }
  type.isArray = isArray;
  if (name.empty()) return type;
  for (const auto& entry : kNames)
    if (equalsIgnoringCase(name, entry.name)) {
      type.kind = entry.kind;
      return type;
    }
  type.kind = TypeKind::Object;
  type.className = std::string(name);
  return type;
}

HostType returnType(const Declaration& declaration) {
  return hostType(declaration.returnType, declaration.returnsArray);
}

HostType parameterType(const Parameter& parameter) { return hostType(parameter.type, parameter.isArray); }

bool isReference(const HostType& type) {
  if (type.isArray) return true;
  switch (type.kind) {
    case TypeKind::String:
    case TypeKind::Object:
    case TypeKind::Variant:
    case TypeKind::Ptr:
      return true;
    default:
      return false;
  }
}

ffi_type* ffiType(const HostType& type) {
  if (type.isArray) return &ffi_type_pointer;
  switch (type.kind) {
    case TypeKind::Void: return &ffi_type_void;
    case TypeKind::Integer: return &ffi_type_sint64;
    case TypeKind::Int8: return &ffi_type_sint8;
    case TypeKind::Int16: return &ffi_type_sint16;
    case TypeKind::Int32: return &ffi_type_sint32;
    case TypeKind::Int64: return &ffi_type_sint64;
    case TypeKind::UInt8: return &ffi_type_uint8;
    case TypeKind::UInt16: return &ffi_type_uint16;
    case TypeKind::UInt32: return &ffi_type_uint32;
    case TypeKind::UInt64: return &ffi_type_uint64;
    case TypeKind::Boolean: return &ffi_type_uint8;
    case TypeKind::Single: return &ffi_type_float;
    case TypeKind::Double: return &ffi_type_double;
    case TypeKind::Currency: return &ffi_type_sint64;
    case TypeKind::Color: return &ffi_type_uint32;
    default: return &ffi_type_pointer;
  }
}

size_t fieldSize(const HostType& type) {
  if (isReference(type)) return sizeof(void*);
  switch (type.kind) {
    case TypeKind::Int8: case TypeKind::UInt8: case TypeKind::Boolean: return 1;
    case TypeKind::Int16: case TypeKind::UInt16: return 2;
    case TypeKind::Int32: case TypeKind::UInt32: case TypeKind::Single: case TypeKind::Color: return 4;
    case TypeKind::Void: return 0;
    default: return 8;
  }
}

namespace {

bool isIntegerKind(Value::Kind k) {
  return k == Value::Kind::Integer || k == Value::Kind::Int32 || k == Value::Kind::Int64 ||
         k == Value::Kind::UInt32 || k == Value::Kind::UInt64;
}

bool isRealKind(Value::Kind k) { return k == Value::Kind::Single || k == Value::Kind::Double; }

int64_t asInteger(const Value& v) {
  if (isRealKind(v.kind)) {
    if (!std::isfinite(v.real)) return 0;
    if (v.real >= 9.2e18) return INT64_MAX;
    if (v.real <= -9.2e18) return INT64_MIN;
    return static_cast<int64_t>(v.real);
  }
  if (v.kind == Value::Kind::Boolean) return v.boolean ? 1 : 0;
  if (v.kind == Value::Kind::Ptr) return static_cast<int64_t>(reinterpret_cast<intptr_t>(v.pointer));
  return v.integer;
}

double asReal(const Value& v) {
  if (isRealKind(v.kind)) return v.real;
  if (v.kind == Value::Kind::UInt64) return static_cast<double>(static_cast<uint64_t>(v.integer));
  return static_cast<double>(asInteger(v));
}

Value::Kind valueKind(TypeKind kind) {
  switch (kind) {
    case TypeKind::Integer: return Value::Kind::Integer;
    case TypeKind::Int8: case TypeKind::Int16: case TypeKind::Int32: return Value::Kind::Int32;
    case TypeKind::Int64: case TypeKind::Currency: return Value::Kind::Int64;
    case TypeKind::UInt8: case TypeKind::UInt16: case TypeKind::UInt32: return Value::Kind::UInt32;
    case TypeKind::UInt64: return Value::Kind::UInt64;
    case TypeKind::Boolean: return Value::Kind::Boolean;
    case TypeKind::Single: return Value::Kind::Single;
    case TypeKind::Double: return Value::Kind::Double;
    case TypeKind::Color: return Value::Kind::Color;
    case TypeKind::Ptr: return Value::Kind::Ptr;
    case TypeKind::String: return Value::Kind::String;
    default: return Value::Kind::Object;
  }
}

Value integerValue(Value::Kind kind, int64_t v) {
  Value value;
  value.kind = kind;
  value.integer = v;
  return value;
}

}  // namespace

bool toSlot(const HostType& type, const Value& value, Slot& slot) {
  std::memset(&slot, 0, sizeof slot);
  if (type.isArray || type.kind == TypeKind::Object || type.kind == TypeKind::Variant) {
    if (value.kind == Value::Kind::Nil) return true;
    if (value.kind != Value::Kind::Object) return false;
    slot.p = value.object.get();
    return true;
  }
  switch (type.kind) {
    case TypeKind::String:
      if (value.kind == Value::Kind::Nil) return true;
      if (value.kind != Value::Kind::String) return false;
      // The host's empty string is no string at all: a plugin sees "" as a null reference.
      if (value.string && value.string.get()->length > 0) slot.p = value.string.get();
      return true;
    case TypeKind::Ptr:
      if (value.kind == Value::Kind::Nil) return true;
      if (value.kind == Value::Kind::Ptr) {
        slot.p = value.pointer;
        return true;
      }
      if (!isIntegerKind(value.kind)) return false;
      slot.p = reinterpret_cast<void*>(static_cast<intptr_t>(value.integer));
      return true;
    case TypeKind::Boolean:
      if (value.kind != Value::Kind::Boolean) return false;
      slot.u8 = value.boolean ? 1 : 0;
      return true;
    case TypeKind::Color:
      if (value.kind != Value::Kind::Color && !isIntegerKind(value.kind)) return false;
      slot.u32 = static_cast<uint32_t>(value.integer);
      return true;
    default:
      break;
  }
  if (!isIntegerKind(value.kind) && !isRealKind(value.kind)) return false;
  switch (type.kind) {
    case TypeKind::Integer: case TypeKind::Int64: slot.i64 = asInteger(value); return true;
    case TypeKind::Int8: slot.i8 = static_cast<int8_t>(asInteger(value)); return true;
    case TypeKind::Int16: slot.i16 = static_cast<int16_t>(asInteger(value)); return true;
    case TypeKind::Int32: slot.i32 = static_cast<int32_t>(asInteger(value)); return true;
    case TypeKind::UInt8: slot.u8 = static_cast<uint8_t>(asInteger(value)); return true;
    case TypeKind::UInt16: slot.u16 = static_cast<uint16_t>(asInteger(value)); return true;
    case TypeKind::UInt32: slot.u32 = static_cast<uint32_t>(asInteger(value)); return true;
    case TypeKind::UInt64: slot.u64 = static_cast<uint64_t>(asInteger(value)); return true;
    case TypeKind::Single: slot.f = static_cast<float>(asReal(value)); return true;
    case TypeKind::Double: slot.d = asReal(value); return true;
    case TypeKind::Currency: slot.i64 = static_cast<int64_t>(std::llround(asReal(value) * 10000.0)); return true;
    default: return false;
  }
}

Slot resultSlot(const HostType& type, const Slot& raw) {
  Slot slot;
  std::memset(&slot, 0, sizeof slot);
  if (isReference(type)) {
    slot.p = raw.p;
    return slot;
  }
  switch (type.kind) {
    case TypeKind::Int8: slot.i8 = static_cast<int8_t>(raw.widened); break;
    case TypeKind::Int16: slot.i16 = static_cast<int16_t>(raw.widened); break;
    case TypeKind::Int32: slot.i32 = static_cast<int32_t>(raw.widened); break;
    case TypeKind::UInt8: case TypeKind::Boolean: slot.u8 = static_cast<uint8_t>(raw.widened); break;
    case TypeKind::UInt16: slot.u16 = static_cast<uint16_t>(raw.widened); break;
    case TypeKind::UInt32: case TypeKind::Color: slot.u32 = static_cast<uint32_t>(raw.widened); break;
    case TypeKind::Single: slot.f = raw.f; break;
    case TypeKind::Double: slot.d = raw.d; break;
    default: slot.i64 = raw.i64; break;
  }
  return slot;
}

void writeResult(const HostType& type, const Slot& slot, void* out) {
  if (isReference(type)) {
    *static_cast<void**>(out) = slot.p;
    return;
  }
  switch (type.kind) {
    case TypeKind::Void: return;
    case TypeKind::Int8: *static_cast<ffi_sarg*>(out) = slot.i8; return;
    case TypeKind::Int16: *static_cast<ffi_sarg*>(out) = slot.i16; return;
    case TypeKind::Int32: *static_cast<ffi_sarg*>(out) = slot.i32; return;
    case TypeKind::UInt8: case TypeKind::Boolean: *static_cast<ffi_arg*>(out) = slot.u8; return;
    case TypeKind::UInt16: *static_cast<ffi_arg*>(out) = slot.u16; return;
    case TypeKind::UInt32: case TypeKind::Color: *static_cast<ffi_arg*>(out) = slot.u32; return;
    case TypeKind::Single: *static_cast<float*>(out) = slot.f; return;
    case TypeKind::Double: *static_cast<double*>(out) = slot.d; return;
    default: *static_cast<int64_t*>(out) = slot.i64; return;
  }
}

Value fromSlot(Runtime::Impl& impl, const HostType& type, const Slot& slot, bool adopt) {
  if (type.isArray || type.kind == TypeKind::Object || type.kind == TypeKind::Variant) {
    auto* object = static_cast<ObjectHeader*>(slot.p);
    if (!object || !impl.isLiveObject(object)) return Value::nil();
    return Value::ofObject(adopt ? ObjectRef::adopt(object) : ObjectRef::retain(object));
  }
  switch (type.kind) {
    case TypeKind::Void: return Value::nil();
    case TypeKind::String: {
      auto* string = static_cast<StringObject*>(slot.p);
      if (string && !impl.isLiveString(string)) string = nullptr;
      return Value::ofString(adopt ? StringRef::adopt(string) : StringRef::retain(string));
    }
    case TypeKind::Ptr: return Value::ofPtr(slot.p);
    case TypeKind::Integer: return Value::ofInteger(slot.i64);
    case TypeKind::Int8: return Value::ofInt32(slot.i8);
    case TypeKind::Int16: return Value::ofInt32(slot.i16);
    case TypeKind::Int32: return Value::ofInt32(slot.i32);
    case TypeKind::Int64: return integerValue(Value::Kind::Int64, slot.i64);
    case TypeKind::UInt8: return integerValue(Value::Kind::UInt32, slot.u8);
    case TypeKind::UInt16: return integerValue(Value::Kind::UInt32, slot.u16);
    case TypeKind::UInt32: return integerValue(Value::Kind::UInt32, slot.u32);
    case TypeKind::UInt64: return integerValue(Value::Kind::UInt64, static_cast<int64_t>(slot.u64));
    case TypeKind::Boolean: return Value::ofBoolean(slot.u8 != 0);
    case TypeKind::Single: return Value::ofSingle(slot.f);
    case TypeKind::Double: return Value::ofDouble(slot.d);
    case TypeKind::Currency: return Value::ofDouble(static_cast<double>(slot.i64) / 10000.0);
    case TypeKind::Color: return Value::ofColor(slot.u32);
    default: return Value::nil();
  }
}

Value readField(Runtime::Impl& impl, const HostType& type, const unsigned char* field) {
  Slot slot;
  std::memset(&slot, 0, sizeof slot);
  std::memcpy(slot.bytes, field, fieldSize(type));
  return fromSlot(impl, type, slot, false);
}

void clearField(Runtime::Impl& impl, const HostType& type, unsigned char* field) {
  void* old = nullptr;
  std::memcpy(&old, field, sizeof old);
  std::memset(field, 0, sizeof old);
  if (!old) return;
  if (type.kind == TypeKind::String && !type.isArray) {
    if (impl.isLiveString(old)) impl.unlockString(static_cast<StringObject*>(old));
  } else if (impl.isLiveObject(old)) {
    impl.unlockObject(static_cast<ObjectHeader*>(old));
  }
}

void writeField(Runtime::Impl& impl, const HostType& type, unsigned char* field, const Value& value) {
  Slot slot;
  if (!toSlot(type, value, slot)) {
    Value converted = coerce(impl, type, value);
    if (!toSlot(type, converted, slot)) return;
  }
  bool counted = type.isArray || type.kind == TypeKind::String || type.kind == TypeKind::Object ||
                 type.kind == TypeKind::Variant;
  if (counted) {
    // Take the new reference before dropping the old one: they may be the same.
    if (slot.p) {
      if (type.kind == TypeKind::String && !type.isArray)
        impl.lockString(static_cast<StringObject*>(slot.p));
      else
        impl.lockObject(static_cast<ObjectHeader*>(slot.p));
    }
    clearField(impl, type, field);
  }
  std::memcpy(field, slot.bytes, fieldSize(type));
}

int fitScore(Runtime::Impl& impl, const HostType& type, const Value& value) {
  const Value::Kind k = value.kind;
  if (type.isArray) {
    if (k == Value::Kind::Nil) return 1;
    if (k != Value::Kind::Object || !value.object) return -1;
    ArrayData* data = impl.arrayData(value.object.get());
    if (!data) return -1;
    HostType element = type;
    element.isArray = false;
    static const TypeKind kElementKinds[] = {TypeKind::Integer, TypeKind::Int32, TypeKind::Double, TypeKind::String,
                                             TypeKind::Object,  TypeKind::Boolean, TypeKind::Single, TypeKind::Int64,
                                             TypeKind::Object};
    if (data->elementType < 0 || data->elementType > 8) return -1;
    TypeKind have = kElementKinds[data->elementType];
    if (element.kind == TypeKind::Object || element.kind == TypeKind::Variant) return have == TypeKind::Object ? 0 : -1;
    return have == element.kind ? 0 : -1;
  }
  switch (type.kind) {
    case TypeKind::Void:
      return -1;
    case TypeKind::String:
      // A Nil passes as the null string, but an object overload beside a String one
      // takes it: the host's compiler gives Nil only to object parameters.
      if (k == Value::Kind::String) return 0;
      return k == Value::Kind::Nil ? 3 : -1;
    case TypeKind::Boolean:
      return k == Value::Kind::Boolean ? 0 : -1;
    case TypeKind::Color:
      return k == Value::Kind::Color ? 0 : -1;
    case TypeKind::Ptr:
      if (k == Value::Kind::Ptr) return 0;
      if (k == Value::Kind::Nil) return 1;
      if (k == Value::Kind::Object && impl.memoryBlockData(value.object.get())) return 1;  // passes its bytes
      if (k == Value::Kind::Integer) return 2;
      return -1;
    case TypeKind::Variant:
      // Objects are Variants themselves; any other value is boxed in one.
      if (k == Value::Kind::Nil) return 1;
      return k == Value::Kind::Object ? 5 : 6;
    case TypeKind::Object: {
      if (k == Value::Kind::Nil) return 1;
      if (k != Value::Kind::Object) return -1;
      if (!value.object) return 1;
      ClassInfo* have = value.object.get()->cls;
      if (equalsIgnoringCase(type.className, "Object")) {
        int depth = 0;
        for (ClassInfo* c = have; c; c = c->superclass) ++depth;
        return 1 + depth;
      }
      ClassInfo* want = impl.findClass(type.className);
      if (!want) return -1;
      int distance = 0;
      for (ClassInfo* c = have; c; c = c->superclass, ++distance)
        if (c == want) return distance;
      return -1;
    }
    default:
      break;
  }
  // Numbers: the same kind fits exactly, other integers next, then reals (and the reverse).
  const bool wantReal = type.kind == TypeKind::Single || type.kind == TypeKind::Double || type.kind == TypeKind::Currency;
  if (isIntegerKind(k)) {
    if (valueKind(type.kind) == k && type.kind != TypeKind::Currency) return 0;
    return wantReal ? 2 : 1;
  }
  if (isRealKind(k)) {
    if (valueKind(type.kind) == k) return 0;
    return wantReal ? 1 : 3;
  }
  return -1;
}

Value coerce(Runtime::Impl& impl, const HostType& type, const Value& value) {
  if (type.kind == TypeKind::Ptr && !type.isArray && value.kind == Value::Kind::Object) {
    // A MemoryBlock passed for a Ptr gives the address of its bytes.
    MemoryBlockData* block = impl.memoryBlockData(value.object.get());
    return block ? Value::ofPtr(block->bytes) : value;
  }
  if (type.kind == TypeKind::Variant && !type.isArray) return boxedValue(impl, value);
  if (isReference(type) && type.kind != TypeKind::Ptr) return value;
  Slot slot;
  if (!toSlot(type, value, slot)) return value;
  return fromSlot(impl, type, slot, false);
}

std::string literalTypeName(const std::string& text) {
  if (text.empty()) return "String";
  if (text.front() == '"') return "String";
  if (equalsIgnoringCase(text, "true") || equalsIgnoringCase(text, "false")) return "Boolean";
  if (text.size() > 2 && text[0] == '&' && (text[1] == 'c' || text[1] == 'C')) return "Color";
  if (text.size() > 2 && text[0] == '&') return "Integer";
  const char* start = text.c_str();
  char* end = nullptr;
  std::strtoll(start, &end, 10);
  if (end && *end == '\0' && end != start) return "Integer";
  std::strtod(start, &end);
  if (end && *end == '\0' && end != start) return "Double";
  return "String";
}

namespace {

bool parseNumber(const std::string& text, Value& out) {
  if (text.size() > 2 && text[0] == '&') {
    int base = 0;
    switch (text[1]) {
      case 'h': case 'H': case 'c': case 'C': base = 16; break;
      case 'o': case 'O': base = 8; break;
      case 'b': case 'B': base = 2; break;
      default: return false;
    }
    char* end = nullptr;
    unsigned long long v = std::strtoull(text.c_str() + 2, &end, base);
    if (!end || *end) return false;
    out = (text[1] == 'c' || text[1] == 'C') ? Value::ofColor(static_cast<uint32_t>(v))
                                             : Value::ofInteger(static_cast<int64_t>(v));
    return true;
  }
  const char* start = text.c_str();
  char* end = nullptr;
  long long i = std::strtoll(start, &end, 10);
  if (end != start && end && *end == '\0') {
    out = Value::ofInteger(i);
    return true;
  }
  double d = std::strtod(start, &end);
  if (end != start && end && *end == '\0') {
    out = Value::ofDouble(d);
    return true;
  }
  return false;
}

}  // namespace

Value literalValue(Runtime::Impl& impl, const HostType& type, const std::string& text, const ClassInfo* cls) {
  Value raw;
  if (equalsIgnoringCase(text, "nil")) {
    raw = Value::nil();
  } else if (equalsIgnoringCase(text, "true") || equalsIgnoringCase(text, "false")) {
    raw = Value::ofBoolean(equalsIgnoringCase(text, "true"));
  } else if (!text.empty() && text.front() == '"') {
    std::string body;
    for (size_t i = 1; i < text.size(); ++i) {
      if (text[i] == '"') {
        if (i + 1 < text.size() && text[i + 1] == '"') {
          body += '"';
          ++i;
          continue;
        }
        break;
      }
      body += text[i];
    }
    raw = Value::ofString(StringRef::adopt(impl.newString(body.data(), body.size(), kEncodingUTF8)));
  } else if (parseNumber(text, raw)) {
  } else {
    // A constant of the class (or of a superclass) by name.
    for (const ClassInfo* c = cls; c; c = c->superclass)
      for (const ConstantInfo& constant : c->constants)
        if (equalsIgnoringCase(constant.name, text) && constant.value != text)
          return literalValue(impl, type, constant.value, c);
    throw std::invalid_argument("unknown value \"" + text + "\"");
  }
  if (type.kind == TypeKind::Void) return raw;
  return coerce(impl, type, raw);
}

}  // namespace host
