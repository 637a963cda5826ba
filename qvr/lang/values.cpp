// Values and declared types: which written names are the language's value types, what a
// fresh variable holds, and the conversions an assignment makes (Integer to Double and
// back by truncation, objects only to their classes and superclasses).
#include "values.h"

#include "lexer.h"

#include <cctype>
#include <cmath>
#include <cstdlib>

namespace qvrlang {

using HK = host::Value::Kind;

bool Value::isInteger() const {
  if (array) return false;
  switch (v.kind) {
    case HK::Integer: case HK::Int32: case HK::Int64: case HK::UInt32: case HK::UInt64: return true;
    default: return false;
  }
}

bool Value::isReal() const { return !array && (v.kind == HK::Double || v.kind == HK::Single); }

int64_t Value::integer() const {
  if (isReal()) {
    if (!std::isfinite(v.real)) return 0;
    if (v.real >= 9.2e18) return INT64_MAX;
    if (v.real <= -9.2e18) return INT64_MIN;
    return static_cast<int64_t>(v.real);
  }
  if (v.kind == HK::Boolean) return v.boolean;
  return v.integer;
}

double Value::real() const {
  if (isReal()) return v.real;
  if (v.kind == HK::UInt64) return static_cast<double>(static_cast<uint64_t>(v.integer));
  return static_cast<double>(v.integer);
}

Type resolveType(host::Runtime& rt, const std::string& written, bool isArray, Position where) {
  static const struct {
    const char* name;
    Type::Kind kind;
    int bits;
    bool isUnsigned;
  } kBuiltIn[] = {
      {"integer", Type::Kind::Integer, 64, false}, {"int64", Type::Kind::Integer, 64, false},
      {"int32", Type::Kind::Integer, 32, false},   {"int16", Type::Kind::Integer, 16, false},
      {"int8", Type::Kind::Integer, 8, false},     {"uinteger", Type::Kind::Integer, 64, true},
      {"uint64", Type::Kind::Integer, 64, true},   {"uint32", Type::Kind::Integer, 32, true},
      {"uint16", Type::Kind::Integer, 16, true},   {"uint8", Type::Kind::Integer, 8, true},
      {"byte", Type::Kind::Integer, 8, true},      {"double", Type::Kind::Double, 64, false},
      {"single", Type::Kind::Double, 32, false},   {"currency", Type::Kind::Double, 64, false},
      {"boolean", Type::Kind::Boolean, 0, false},  {"string", Type::Kind::String, 0, false},
      {"color", Type::Kind::Color, 0, false},      {"ptr", Type::Kind::Ptr, 0, false},
      {"variant", Type::Kind::Variant, 0, false},  {"object", Type::Kind::Object, 0, false},
  };
  static const char* const kCanonical[] = {"Integer", "Int64", "Int32", "Int16", "Int8", "UInteger", "UInt64",
                                           "UInt32", "UInt16", "UInt8", "Byte", "Double", "Single", "Currency",
                                           "Boolean", "String", "Color", "Ptr", "Variant", "Object"};
  Type type;
  type.name = written;
  type.isArray = isArray;
  const std::string lower = lowered(written);
  for (const auto& b : kBuiltIn)
    if (lower == b.name) {
      type.name = kCanonical[&b - kBuiltIn];
      type.kind = b.kind;
      type.integerBits = b.bits;
      type.isUnsigned = b.isUnsigned;
      return type;
    }
  host::ClassInfo* cls = rt.findClass(written);
  // The module's class by its full name: Introspection.TypeInfo.
  if (!cls && lower.rfind("introspection.", 0) == 0) cls = rt.findClass(written.substr(14));
  if (!cls || cls->name.back() == ')') fail(where, "unknown type \"" + written + "\"");
  type.kind = Type::Kind::Object;
  type.cls = cls;
  type.name = cls->name;
  return type;
}

Type resolveType(host::Runtime& rt, const TypeName& written) {
  return resolveType(rt, written.name, written.isArray, written.where);
}

Value makeArray(const Type& elementType, std::vector<Value> items) {
  Value value;
  value.array = std::make_shared<ArrayObject>();
  value.array->elementType = elementType;
  value.array->elementType.isArray = false;
  value.array->items = std::move(items);
  return value;
}

Value defaultValue(host::Runtime& rt, const Type& type) {
  if (type.isArray) return makeArray(type.element());
  switch (type.kind) {
    case Type::Kind::Integer: return host::Value::ofInteger(0);
    case Type::Kind::Double: return host::Value::ofDouble(0);
    case Type::Kind::Boolean: return host::Value::ofBoolean(false);
    case Type::Kind::String: return rt.string("");
    case Type::Kind::Color: return host::Value::ofColor(0);
    case Type::Kind::Ptr: return host::Value::ofPtr(nullptr);
    default: return host::Value::nil();
  }
}

std::string typeNameOf(const Value& value) {
  if (value.array) return value.array->elementType.describe() + "()";
  switch (value.v.kind) {
    case HK::Nil: return "Nil";
    case HK::Integer: return "Integer";
    case HK::Int32: return "Int32";
    case HK::Int64: return "Int64";
    case HK::UInt32: return "UInt32";
    case HK::UInt64: return "UInt64";
    case HK::Boolean: return "Boolean";
    case HK::Single: return "Single";
    case HK::Double: return "Double";
    case HK::String: return "String";
    case HK::Ptr: return "Ptr";
    case HK::Color: return "Color";
    case HK::Object: return value.v.object ? value.v.object.get()->cls->name : "Nil";
  }
  return "a value";
}

std::string withArticle(const std::string& typeName) {
  if (typeName.empty() || typeName == "Nil") return typeName.empty() ? "a value" : typeName;
  const char first = static_cast<char>(std::tolower(static_cast<unsigned char>(typeName[0])));
  // A name that starts as an abbreviation is read letter by letter: an NSImageQVR, an
  // RGBSurface, but a MemoryBlock.
  const bool spelled = typeName.size() > 1 && std::isupper(static_cast<unsigned char>(typeName[0])) &&
                       std::isupper(static_cast<unsigned char>(typeName[1]));
  const char* vowelSounds = spelled ? "aefhilmnorsx" : "aeio";
  return (std::string(vowelSounds).find(first) != std::string::npos ? "an " : "a ") + typeName;
}

std::string groupedConstant(const host::ClassInfo* cls, const std::string& group, const std::string& name) {
  const std::string dotted = group + "." + name;
  for (const host::ClassInfo* c = cls; c; c = c->superclass)
    for (const host::ConstantInfo& k : c->constants)
      if (sameName(k.name, dotted)) return k.name;
  return "";
}

namespace {

int64_t narrowed(int64_t v, int bits, bool isUnsigned) {
  if (bits >= 64) return v;
  uint64_t mask = (uint64_t(1) << bits) - 1;
  uint64_t u = static_cast<uint64_t>(v) & mask;
  if (!isUnsigned && (u >> (bits - 1)) & 1) u |= ~mask;
  return static_cast<int64_t>(u);
}

bool isMemoryBlock(const Value& value) { return value.isObject() && value.v.object.get()->cls->name == "MemoryBlock"; }

bool elementsFit(const Type& element, const ArrayObject& array) {
  if (element.kind == Type::Kind::Variant) return true;
  for (const Value& item : array.items)
    if (!fits(element, item)) return false;
  return true;
}

bool sameElementType(const Type& a, const Type& b) {
  if (a.kind != b.kind) return false;
  if (a.kind == Type::Kind::Object) return a.cls == b.cls;
  if (a.kind == Type::Kind::Integer) return a.integerBits == b.integerBits && a.isUnsigned == b.isUnsigned;
  return true;
}

}  // namespace

bool fits(const Type& type, const Value& value) {
  if (type.isArray) {
    if (value.isNil()) return true;
    if (!value.array) return false;
    const Type element = type.element();
    if (sameElementType(element, value.array->elementType)) return true;
    // An array of objects from the host ("Object()") fits an array of a class when its
    // elements do, as the host's typed arrays would.
    // It fits a Variant array too.
    return value.array->elementType.kind == Type::Kind::Object && !value.array->elementType.cls &&
           (element.kind == Type::Kind::Variant || (element.kind == Type::Kind::Object && elementsFit(element, *value.array)));
  }
  if (value.array) return type.kind == Type::Kind::Variant;
  switch (type.kind) {
    case Type::Kind::Variant: return true;
    case Type::Kind::Integer:
    case Type::Kind::Double: return value.isNumber() || (value.variant && (value.isBoolean() || value.isString()));
    case Type::Kind::Boolean: return value.isBoolean();
    // Nil here is a MemoryBlock variable that holds none (the checker refuses a Nil
    // written where a String is wanted): it reads as "".
    case Type::Kind::String: return value.isString() || value.variant || isMemoryBlock(value) || value.isNil();
    case Type::Kind::Color: return value.isColor();
    case Type::Kind::Ptr: return value.v.kind == HK::Ptr || value.isNil() || value.isObject();
    case Type::Kind::Object:
      if (value.v.kind == HK::Nil) return true;
      if (value.isString()) return type.cls && type.cls->name == "MemoryBlock";
      if (value.v.kind != HK::Object) return false;
      if (!value.v.object || !type.cls) return true;
      return value.v.object.get()->cls->isA(type.cls);
  }
  return false;
}

std::string variantText(host::Runtime& rt, const Value& value);

std::string uncaught(host::Runtime& rt, const Raised& raised) {
  std::string out = "uncaught an exception";
  if (host::ClassInfo* cls = rt.classOf(raised.exception.v)) out = "uncaught " + cls->name;
  try {
    const std::string message = variantText(rt, Value(rt.get(raised.exception.v, "Message")));
    if (!message.empty()) out += ": " + message;
  } catch (...) {
  }
  return out;
}

void raiseException(host::Runtime& rt, const std::string& className, const std::string& message, Position where) {
  std::string cls = rt.findClass(className) ? className : "RuntimeException";
  host::Value exception = rt.newInstance(cls);
  rt.set(exception, "Message", rt.string(message));
  throw Raised{Value(exception), where, {}};
}

Value convertTo(host::Runtime& rt, const Type& type, const Value& value, Position where, const std::string& what) {
  // A Variant that holds nothing reads as the target type's default: 0, False, &c000000.
  if (value.variant && value.isNil() && !type.isArray) {
    switch (type.kind) {
      case Type::Kind::Integer: return host::Value::ofInteger(0);
      case Type::Kind::Double: return host::Value::ofDouble(0);
      case Type::Kind::Boolean: return host::Value::ofBoolean(false);
      case Type::Kind::Color: return host::Value::ofColor(0);
      default: break;
    }
  }
  if (!fits(type, value)) {
    if (value.variant && !value.isArray())
      raiseException(rt, "TypeMismatchException",
                     "expected " + withArticle(type.describe()) + " but the Variant holds " + withArticle(typeNameOf(value)), where);
    std::string have = typeNameOf(value);
    if (type.kind == Type::Kind::Object && !type.isArray && value.isObject())
      fail(where, what + " expects " + withArticle(type.describe()) + " but got an instance of " + have);
    fail(where, what + " expects " + withArticle(type.describe()) + " but got " + withArticle(have));
  }
  if (type.isArray) {
    if (value.isNil()) return makeArray(type.element());
    if (value.array->elementType.kind == Type::Kind::Object && !value.array->elementType.cls &&
        (type.kind == Type::Kind::Object || type.kind == Type::Kind::Variant))
      value.array->elementType = type.element();
    return value;
  }
  if (value.isString() && (type.kind == Type::Kind::Integer || type.kind == Type::Kind::Double))
    return convertTo(rt, type, host::Value::ofDouble(std::strtod(variantText(rt, value).c_str(), nullptr)), where, what);
  Value out;
  switch (type.kind) {
    case Type::Kind::Variant:
      out = value;
      out.variant = false;
      return out;
    case Type::Kind::Integer:
      return host::Value::ofInteger(narrowed(value.integer(), type.integerBits, type.isUnsigned));
    case Type::Kind::Double:
      if (type.integerBits == 32) return host::Value::ofDouble(static_cast<float>(value.real()));
      return host::Value::ofDouble(value.real());
    case Type::Kind::String:
      if (value.isString()) return host::Value(value.v);
      if (isMemoryBlock(value)) return rt.string(rt.memoryBlockBytes(value.v), host::kEncodingUnknown);
      if (value.isNil()) return rt.string("");
      return rt.string(variantText(rt, value));
    case Type::Kind::Object:
      if (value.isString()) {
        const std::string bytes = rt.bytes(value.v);
        return rt.memoryBlock(bytes.data(), bytes.size());
      }
      return Value(value.v);
    case Type::Kind::Ptr:
      // A MemoryBlock as a Ptr is where its bytes are.
      if (isMemoryBlock(value)) return host::Value::ofPtr(rt.memoryBlockPointer(value.v));
      if (value.isNil()) return host::Value::ofPtr(nullptr);
      return Value(value.v);
    default:
      out = Value(value.v);
      return out;
  }
}

}  // namespace qvrlang
