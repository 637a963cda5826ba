// Introspection: GetType answers the class of an object as a TypeInfo, whose Name and
// FullName are the class's name and whose BaseType is its superclass (Nil at the root),
// so that programs can report what they caught: Introspection.GetType(err).Name.
#include "native_members.h"

namespace host {

namespace {

struct TypeInfoData {
  const ClassInfo* cls = nullptr;
};

// A new TypeInfo of a class; Nil for none.
Value typeInfo(Runtime& runtime, ClassInfo* typeInfoClass, const ClassInfo* cls) {
  if (!cls) return Value::nil();
  ObjectRef info = ObjectRef::adopt(runtime.impl().instantiate(typeInfoClass));
  TypeInfoData* data = info ? boxedData<TypeInfoData>(runtime.impl(), info.get(), typeInfoClass) : nullptr;
  if (!data) return Value::nil();
  data->cls = cls;
  return Value::ofObject(std::move(info));
}

}  // namespace

void installIntrospection(Runtime::Impl& impl) {
  ClassInfo* info = addBoxedClass<TypeInfoData>(impl, "TypeInfo");
  for (const char* name : {"Name", "FullName"})
    addNativeProperty(info, name, "String", [info](Runtime& runtime, const Value& self, std::vector<Value>&) {
      TypeInfoData* data = boxedData<TypeInfoData>(runtime, self, info);
      return runtime.string(data && data->cls ? data->cls->name : std::string());
    });
  addNativeProperty(info, "BaseType", "TypeInfo", [info](Runtime& runtime, const Value& self, std::vector<Value>&) {
    TypeInfoData* data = boxedData<TypeInfoData>(runtime, self, info);
    return typeInfo(runtime, info, data && data->cls ? data->cls->superclass : nullptr);
  });
  addNativeProperty(info, "IsClass", "Boolean", [info](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return Value::ofBoolean(boxedData<TypeInfoData>(runtime, self, info) != nullptr);
  });
  ClassInfo* introspection = impl.addBuiltInClass("Introspection", "", 0);
  addSharedMethod(introspection, "GetType(o as Object) as TypeInfo", [info](Runtime& runtime, const Value&, std::vector<Value>& args) {
    const Value& object = args.at(0);
    return typeInfo(runtime, info, object.kind == Value::Kind::Object ? runtime.classOf(object) : nullptr);
  });
}

}  // namespace host
