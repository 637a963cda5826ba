// Variant: the host boxes a value that is not an object (a number, a string, a Boolean,
// a colour) in a Variant object where a Variant is wanted; an object is its own Variant.
// This file holds the Variant class and its accessors, boxing and unboxing for the call
// API, the global VarType, and the entry points plugins make and read Variants with.
#include "native_members.h"

#include "types.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace host {

namespace {

struct VariantBox {
  Value value;
};

constexpr int32_t kTypeNil = 0, kTypeInt32 = 2, kTypeInt64 = 3, kTypeSingle = 4, kTypeDouble = 5, kTypeDate = 7,
                  kTypeString = 8, kTypeObject = 9, kTypeBoolean = 11, kTypeColor = 16, kTypePtr = 26,
                  kTypeArray = 0x1000;

bool isIntegerKind(Value::Kind k) {
  return k == Value::Kind::Integer || k == Value::Kind::Int32 || k == Value::Kind::Int64 || k == Value::Kind::UInt32 ||
         k == Value::Kind::UInt64;
}

// The number text the host language prints: integers exactly, reals in at most 15
// significant digits without trailing zeros.
std::string numberText(const Value& v) {
  if (v.kind == Value::Kind::UInt64) return std::to_string(static_cast<uint64_t>(v.integer));
  if (isIntegerKind(v.kind)) return std::to_string(v.integer);
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.15g", v.real);
  return buffer;
}

double realOf(const Value& v, Runtime& runtime) {
  switch (v.kind) {
    case Value::Kind::Single: case Value::Kind::Double: return v.real;
    case Value::Kind::UInt64: return static_cast<double>(static_cast<uint64_t>(v.integer));
    case Value::Kind::Boolean: return v.boolean ? 1 : 0;
    case Value::Kind::String: return std::strtod(runtime.utf8(v).c_str(), nullptr);
    case Value::Kind::Nil: case Value::Kind::Object: case Value::Kind::Ptr: return 0;
    default: return static_cast<double>(v.integer);
  }
}

int64_t integerOf(const Value& v, Runtime& runtime) {
  if (isIntegerKind(v.kind) || v.kind == Value::Kind::Color) return v.integer;
  if (v.kind == Value::Kind::String) return std::strtoll(runtime.utf8(v).c_str(), nullptr, 10);
  double d = realOf(v, runtime);
  if (!std::isfinite(d)) return 0;
  return d >= 9.2e18 ? INT64_MAX : d <= -9.2e18 ? INT64_MIN : static_cast<int64_t>(d);
}

}  // namespace

// The value a Variant holds, or the value itself when it is no Variant.
Value unboxedValue(Runtime::Impl& impl, const Value& value) {
  if (VariantBox* box = boxedData<VariantBox>(impl.runtime, value, impl.variantClass)) return box->value;
  return value;
}

ObjectHeader* Runtime::Impl::newVariant(const Value& value) {
  ObjectHeader* object = instantiate(variantClass);
  if (VariantBox* box = boxedData<VariantBox>(*this, object, variantClass)) box->value = value;
  return object;
}

Value boxedValue(Runtime::Impl& impl, const Value& value) {
  if (value.kind == Value::Kind::Object || value.kind == Value::Kind::Nil) return value;
  return Value::ofObject(ObjectRef::adopt(impl.newVariant(value)));
}

int32_t variantType(Runtime::Impl& impl, const Value& given) {
  Value value = unboxedValue(impl, given);
  switch (value.kind) {
    case Value::Kind::Nil: return kTypeNil;
    case Value::Kind::Int32: case Value::Kind::UInt32: return kTypeInt32;
    case Value::Kind::Integer: case Value::Kind::Int64: case Value::Kind::UInt64: return kTypeInt64;
    case Value::Kind::Single: return kTypeSingle;
    case Value::Kind::Double: return kTypeDouble;
    case Value::Kind::String: return kTypeString;
    case Value::Kind::Boolean: return kTypeBoolean;
    case Value::Kind::Color: return kTypeColor;
    case Value::Kind::Ptr: return kTypePtr;
    case Value::Kind::Object: break;
  }
  if (!value.object) return kTypeNil;
  ObjectHeader* object = value.object.get();
  if (object->cls->isA(impl.dateClass)) return kTypeDate;
  if (ArrayData* array = impl.arrayData(object)) {
    static const int32_t kElementTypes[] = {kTypeInt64, kTypeInt32, kTypeDouble, kTypeString,
                                            kTypeObject, kTypeBoolean, kTypeSingle, kTypeInt64, kTypeDate};
    if (array->elementType >= 0 && array->elementType <= 8) return kTypeArray | kElementTypes[array->elementType];
  }
  return kTypeObject;
}

Value variantString(Runtime& runtime, const Value& given) {
  Value value = unboxedValue(runtime.impl(), given);
  switch (value.kind) {
    case Value::Kind::String: return value;
    case Value::Kind::Nil: case Value::Kind::Object: case Value::Kind::Ptr: return runtime.string("");
    case Value::Kind::Boolean: return runtime.string(value.boolean ? "True" : "False");
    case Value::Kind::Color: {
      char buffer[16];
      std::snprintf(buffer, sizeof buffer, "&h%08X", static_cast<unsigned>(value.integer));
      return runtime.string(buffer);
    }
    default: return runtime.string(numberText(value));
  }
}

void installVariantClass(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<VariantBox>(impl, "Variant");
  impl.variantClass = cls;
  auto held = [](Runtime& runtime, const Value& self) { return unboxedValue(runtime.impl(), self); };
  addNativeProperty(cls, "Type", "Int32", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return Value::ofInt32(variantType(runtime.impl(), self));
  });
  addNativeProperty(cls, "StringValue", "String", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return variantString(runtime, self);
  });
  for (const char* name : {"IntegerValue", "Int64Value", "LongValue"})
    addNativeProperty(cls, name, "Int64", [held](Runtime& runtime, const Value& self, std::vector<Value>&) {
      return Value::ofInteger(integerOf(held(runtime, self), runtime));
    });
  addNativeProperty(cls, "Int32Value", "Int32", [held](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return Value::ofInt32(static_cast<int32_t>(integerOf(held(runtime, self), runtime)));
  });
  addNativeProperty(cls, "DoubleValue", "Double", [held](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return Value::ofDouble(realOf(held(runtime, self), runtime));
  });
  addNativeProperty(cls, "SingleValue", "Single", [held](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return Value::ofSingle(static_cast<float>(realOf(held(runtime, self), runtime)));
  });
  addNativeProperty(cls, "BooleanValue", "Boolean", [held](Runtime& runtime, const Value& self, std::vector<Value>&) {
    Value v = held(runtime, self);
    if (v.kind == Value::Kind::String) return Value::ofBoolean(equalsIgnoringCase(runtime.utf8(v), "true"));
    return Value::ofBoolean(v.kind == Value::Kind::Boolean ? v.boolean : realOf(v, runtime) != 0);
  });
  addNativeProperty(cls, "ColorValue", "Color", [held](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return Value::ofColor(static_cast<uint32_t>(integerOf(held(runtime, self), runtime)));
  });
  addNativeProperty(cls, "ObjectValue", "Object", [held](Runtime& runtime, const Value& self, std::vector<Value>&) {
    Value v = held(runtime, self);
    return v.kind == Value::Kind::Object ? v : Value::nil();
  });
  // The Date a Variant holds; Nil for any other value.
  addNativeProperty(cls, "DateValue", "Date", [held](Runtime& runtime, const Value& self, std::vector<Value>&) {
    Value v = held(runtime, self);
    return v.kind == Value::Kind::Object && v.object && v.object.get()->cls->isA(runtime.impl().dateClass) ? v
                                                                                                           : Value::nil();
  });
  addNativeProperty(cls, "IsNull", "Boolean", [held](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return Value::ofBoolean(held(runtime, self).isNil());
  });
}

Value Runtime::variant(const Value& value) { return boxedValue(*impl_, value); }

Value Runtime::unboxed(const Value& value) const { return unboxedValue(*impl_, value); }

namespace {

template <typename T, Value (*Make)(T)>
ObjectHeader* toVariant(T value) {
  Runtime::Impl* impl = currentImpl();
  return impl ? impl->newVariant(Make(value)) : nullptr;
}

Value int64Value(int64_t v) {
  Value value = Value::ofInteger(v);
  value.kind = Value::Kind::Int64;
  return value;
}
Value int32Value(int32_t v) { return Value::ofInt32(v); }
Value uint32Value(uint32_t v) {
  Value value = Value::ofInteger(v);
  value.kind = Value::Kind::UInt32;
  return value;
}
Value uint64Value(uint64_t v) {
  Value value = Value::ofInteger(static_cast<int64_t>(v));
  value.kind = Value::Kind::UInt64;
  return value;
}
Value doubleValue(double v) { return Value::ofDouble(v); }
Value singleValue(float v) { return Value::ofSingle(v); }
Value booleanValue(bool v) { return Value::ofBoolean(v); }

ObjectHeader* stringToVariant(StringObject* string) {
  Runtime::Impl* impl = currentImpl();
  if (!impl) return nullptr;
  if (string && !impl->isLiveString(string)) string = nullptr;
  return impl->newVariant(Value::ofString(StringRef::retain(string)));
}

Value heldValue(ObjectHeader* variant) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !impl->isLiveObject(variant)) return Value::nil();
  return unboxedValue(*impl, Value::ofObject(ObjectRef::retain(variant)));
}

int32_t variantToInt32(ObjectHeader* variant) {
  Runtime::Impl* impl = currentImpl();
  return impl ? static_cast<int32_t>(integerOf(heldValue(variant), impl->runtime)) : 0;
}

int64_t variantToInt64(ObjectHeader* variant) {
  Runtime::Impl* impl = currentImpl();
  return impl ? integerOf(heldValue(variant), impl->runtime) : 0;
}

double variantToDouble(ObjectHeader* variant) {
  Runtime::Impl* impl = currentImpl();
  return impl ? realOf(heldValue(variant), impl->runtime) : 0;
}

float variantToSingle(ObjectHeader* variant) { return static_cast<float>(variantToDouble(variant)); }

// A new string (one reference for the caller), or null for a Variant without text.
StringObject* variantToString(ObjectHeader* variant) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !impl->isLiveObject(variant)) return nullptr;
  return variantString(impl->runtime, Value::ofObject(ObjectRef::retain(variant))).string.release();
}

}  // namespace

void addVariantGlobals(Runtime::Impl& impl) {
  impl.globals.push_back(nativeMember("VarType(value as Variant) as Int32", [](Runtime& runtime, const Value&,
                                                                             std::vector<Value>& args) {
    return Value::ofInt32(variantType(runtime.impl(), args.at(0)));
  }));
}

void addVariantEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"StringToVariant", guardedEntryPoint<&stringToVariant>("StringToVariant")});
  table.push_back({"Int32ToVariant", guardedEntryPoint<&toVariant<int32_t, &int32Value>>("Int32ToVariant")});
  table.push_back({"UInt32ToVariant", guardedEntryPoint<&toVariant<uint32_t, &uint32Value>>("UInt32ToVariant")});
  table.push_back({"Int64ToVariant", guardedEntryPoint<&toVariant<int64_t, &int64Value>>("Int64ToVariant")});
  table.push_back({"UInt64ToVariant", guardedEntryPoint<&toVariant<uint64_t, &uint64Value>>("UInt64ToVariant")});
  table.push_back({"DoubleToVariant", guardedEntryPoint<&toVariant<double, &doubleValue>>("DoubleToVariant")});
  table.push_back({"SingleToVariant", guardedEntryPoint<&toVariant<float, &singleValue>>("SingleToVariant")});
  table.push_back({"BooleanToVariant", guardedEntryPoint<&toVariant<bool, &booleanValue>>("BooleanToVariant")});
  table.push_back({"VariantToInt32", guardedEntryPoint<&variantToInt32>("VariantToInt32")});
  table.push_back({"VariantToInt64", guardedEntryPoint<&variantToInt64>("VariantToInt64")});
  table.push_back({"VariantToDouble", guardedEntryPoint<&variantToDouble>("VariantToDouble")});
  table.push_back({"VariantToSingle", guardedEntryPoint<&variantToSingle>("VariantToSingle")});
  table.push_back({"VariantToString", guardedEntryPoint<&variantToString>("VariantToString")});
}

}  // namespace host
