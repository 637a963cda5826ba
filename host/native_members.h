// Helpers for the built-in classes whose members the host implements itself: members
// from declaration text, properties with native accessors, and classes whose instance
// data is one pointer to a C++ object the host creates and destroys with the instance.
#pragma once

#include "runtime_private.h"

#include <cstring>

namespace host {

inline MethodInfo nativeMember(const char* declaration, NativeFunction function, NativeFunction setter = nullptr) {
  MethodInfo m;
  m.declarationText = declaration;
  m.declaration = Declaration::parse(declaration);
  m.native = std::move(function);
  m.nativeSetter = std::move(setter);
  return m;
}

inline void addNativeMethod(ClassInfo* cls, const char* declaration, NativeFunction function,
                            NativeFunction setter = nullptr) {
  cls->methods.push_back(nativeMember(declaration, std::move(function), std::move(setter)));
}

inline void addSharedMethod(ClassInfo* cls, const char* declaration, NativeFunction function) {
  cls->sharedMethods.push_back(nativeMember(declaration, std::move(function)));
}

inline void addNativeProperty(ClassInfo* cls, const char* name, const char* type, NativeFunction getter,
                              NativeFunction setter = nullptr) {
  PropertyInfo p;
  p.name = name;
  p.type = type;
  p.nativeGetter = std::move(getter);
  p.nativeSetter = std::move(setter);
  cls->properties.push_back(std::move(p));
}

inline void addConstant(ClassInfo* cls, const char* name, const char* type, const char* value) {
  ConstantInfo k;
  k.name = name;
  k.type = type;
  k.value = value;
  k.declarationText = std::string(name) + " as " + type + " = " + value;
  cls->constants.push_back(std::move(k));
}

// A built-in class whose instance data is one T*, made with the instance (before any
// Constructor runs) and deleted when the instance dies.
template <typename T>
ClassInfo* addBoxedClass(Runtime::Impl& impl, const std::string& name, const std::string& superName = "") {
  ClassInfo* cls = impl.addBuiltInClass(name, superName, sizeof(T*));
  cls->nativeConstructor = [cls](Runtime& runtime, ObjectHeader* object) {
    T* data = new T();
    std::memcpy(runtime.impl().instanceData(object, cls), &data, sizeof data);
  };
  cls->nativeDestructor = [cls](Runtime& runtime, ObjectHeader* object) {
    T* data = nullptr;
    unsigned char* field = runtime.impl().instanceData(object, cls);
    std::memcpy(&data, field, sizeof data);
    std::memset(field, 0, sizeof data);
    delete data;
  };
  return cls;
}

// The T* of an instance of cls (or of a subclass), or null for anything else.
template <typename T>
T* boxedData(Runtime::Impl& impl, ObjectHeader* object, const ClassInfo* cls) {
  if (!cls || !impl.isLiveObject(object) || !object->cls->isA(cls)) return nullptr;
  T* data = nullptr;
  std::memcpy(&data, impl.instanceData(object, cls), sizeof data);
  return data;
}

template <typename T>
T* boxedData(Runtime& runtime, const Value& value, const ClassInfo* cls) {
  return value.kind == Value::Kind::Object ? boxedData<T>(runtime.impl(), value.object.get(), cls) : nullptr;
}

}  // namespace host
