// "REALGetPropValue..." and "REALSetPropValue...": plugins read and write properties of
// host objects by name (built-in and plugin properties alike), answering true when they
// could. Values are converted to and from the C type each entry point names; a string
// or object read this way carries one reference for the caller.
#include "calls.h"

#include <cstdio>

namespace host {

namespace {

template <class T>
int getAs(ObjectHeader* object, const char* name, T* out, const char* typeName) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !name || !out || !impl->isLiveObject(object)) return 0;
  try {
    Value value;
    if (!readProperty(*impl, object, name, value, false)) return 0;
    HostType type = hostType(typeName);
    Slot slot{};
    if (!toSlot(type, value, slot)) return 0;
    if (type.kind == TypeKind::String && slot.p) impl->lockString(static_cast<StringObject*>(slot.p));
    if (type.kind == TypeKind::Object && slot.p) impl->lockObject(static_cast<ObjectHeader*>(slot.p));
    *out = *reinterpret_cast<T*>(slot.bytes);
    return 1;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "host: reading property %s: %s\n", name, e.what());
    return 0;
  }
}

int setValue(ObjectHeader* object, const char* name, const Value& value) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !name || !impl->isLiveObject(object)) return 0;
  try {
    return writeProperty(*impl, object, name, value, false) ? 1 : 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "host: setting property %s: %s\n", name, e.what());
    return 0;
  }
}

int getInt(ObjectHeader* o, const char* n, int32_t* out) { return getAs(o, n, out, "Int32"); }
int getBool(ObjectHeader* o, const char* n, uint8_t* out) { return getAs(o, n, out, "Boolean"); }
int getDouble(ObjectHeader* o, const char* n, double* out) { return getAs(o, n, out, "Double"); }
int getSingle(ObjectHeader* o, const char* n, float* out) { return getAs(o, n, out, "Single"); }
int getString(ObjectHeader* o, const char* n, StringObject** out) { return getAs(o, n, out, "String"); }
int getObject(ObjectHeader* o, const char* n, ObjectHeader** out) { return getAs(o, n, out, "Object"); }
int getInt64(ObjectHeader* o, const char* n, int64_t* out) { return getAs(o, n, out, "Int64"); }

int setInt(ObjectHeader* o, const char* n, int32_t v) { return setValue(o, n, Value::ofInt32(v)); }
int setBool(ObjectHeader* o, const char* n, uint8_t v) { return setValue(o, n, Value::ofBoolean(v != 0)); }
int setDouble(ObjectHeader* o, const char* n, double v) { return setValue(o, n, Value::ofDouble(v)); }
int setSingle(ObjectHeader* o, const char* n, float v) { return setValue(o, n, Value::ofSingle(v)); }
int setInt64(ObjectHeader* o, const char* n, int64_t v) {
  Value value = Value::ofInteger(v);
  value.kind = Value::Kind::Int64;
  return setValue(o, n, value);
}
int setString(ObjectHeader* o, const char* n, StringObject* v) {
  Runtime::Impl* impl = currentImpl();
  if (!impl) return 0;
  if (v && !impl->isLiveString(v)) return 0;
  return setValue(o, n, Value::ofString(StringRef::retain(v)));
}
int setObject(ObjectHeader* o, const char* n, ObjectHeader* v) {
  Runtime::Impl* impl = currentImpl();
  if (!impl) return 0;
  if (v && !impl->isLiveObject(v)) return 0;
  return setValue(o, n, v ? Value::ofObject(ObjectRef::retain(v)) : Value::nil());
}

}  // namespace

void addPropertyEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"REALGetPropValueInt", guardedEntryPoint<&getInt>("REALGetPropValueInt")});
  table.push_back({"REALGetPropValueBool", guardedEntryPoint<&getBool>("REALGetPropValueBool")});
  table.push_back({"REALGetPropValueDouble", guardedEntryPoint<&getDouble>("REALGetPropValueDouble")});
  table.push_back({"REALGetPropValueSingle", guardedEntryPoint<&getSingle>("REALGetPropValueSingle")});
  table.push_back({"REALGetPropValueString", guardedEntryPoint<&getString>("REALGetPropValueString")});
  table.push_back({"REALGetPropValueObject", guardedEntryPoint<&getObject>("REALGetPropValueObject")});
  table.push_back({"REALGetPropValueInt64", guardedEntryPoint<&getInt64>("REALGetPropValueInt64")});
  table.push_back({"REALSetPropValueInt", guardedEntryPoint<&setInt>("REALSetPropValueInt")});
  table.push_back({"REALSetPropValueBool", guardedEntryPoint<&setBool>("REALSetPropValueBool")});
  table.push_back({"REALSetPropValueDouble", guardedEntryPoint<&setDouble>("REALSetPropValueDouble")});
  table.push_back({"REALSetPropValueSingle", guardedEntryPoint<&setSingle>("REALSetPropValueSingle")});
  table.push_back({"REALSetPropValueString", guardedEntryPoint<&setString>("REALSetPropValueString")});
  table.push_back({"REALSetPropValueObject", guardedEntryPoint<&setObject>("REALSetPropValueObject")});
  table.push_back({"REALSetPropValueInt64", guardedEntryPoint<&setInt64>("REALSetPropValueInt64")});
}

}  // namespace host
