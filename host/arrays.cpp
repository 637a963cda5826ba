// One-dimensional host arrays. Hosts up to 2013.9 show the element storage in the
// object header's class word (byte offset 8), which plugins of those hosts read directly;
// later hosts leave that word null, so plugins go through the get procedure. Elements are stored in
// their C size (see ArrayElementType); String and Object elements hold a reference each,
// released when the array dies. The array entry points hand out per-type insert and get
// procedures.
#include "runtime_private.h"

#include "types.h"

#include <cstdlib>
#include <cstring>

namespace host {

namespace {

struct ElementKind {
  const char* className;
  const char* typeName;
  size_t size;
};

const ElementKind kElementKinds[] = {
    {"Integer()", "Integer", sizeof(intptr_t)}, {"Int32()", "Int32", 4},  {"Double()", "Double", 8},
    {"String()", "String", sizeof(void*)},      {"Object()", "Object", sizeof(void*)},
    {"Boolean()", "Boolean", 1},                {"Single()", "Single", 4}, {"Int64()", "Int64", 8},
    {"Date()", "Date", sizeof(void*)},
};
constexpr int32_t kElementKindCount = sizeof(kElementKinds) / sizeof(kElementKinds[0]);

bool validType(int32_t type) { return type >= 0 && type < kElementKindCount; }

// Whether plugins see the storage at byte offset 8: hosts up to 2013.9 (and hosts that
// give no version) keep it there.
bool showsStorage(const Runtime::Impl& impl) { return !impl.options.version || *impl.options.version <= 2013.9; }

HostType elementType(const ArrayData* data) { return hostType(kElementKinds[data->elementType].typeName); }

bool reserve(ObjectHeader* array, ArrayData* data, intptr_t count) {
  if (count <= data->capacity) return true;
  intptr_t capacity = data->capacity ? data->capacity : 4;
  while (capacity < count) capacity *= 2;
  auto* grown = static_cast<unsigned char*>(std::realloc(data->elements, size_t(capacity) * data->elementSize));
  if (!grown) return false;
  std::memset(grown + size_t(data->capacity) * data->elementSize, 0,
              size_t(capacity - data->capacity) * data->elementSize);
  data->elements = grown;
  Runtime::Impl* impl = currentImpl();
  array->classWord = impl && showsStorage(*impl) ? grown : nullptr;
  data->capacity = capacity;
  return true;
}

void destroyArray(Runtime& runtime, ObjectHeader* array) {
  Runtime::Impl& impl = runtime.impl();
  ArrayData* data = impl.arrayData(array);
  if (!data) return;
  HostType type = elementType(data);
  if (type.kind == TypeKind::String || type.kind == TypeKind::Object)
    for (intptr_t i = 0; i < data->count; ++i) clearField(impl, type, data->elements + size_t(i) * data->elementSize);
  std::free(data->elements);
  data->elements = nullptr;
  array->classWord = nullptr;
  data->count = data->capacity = 0;
}

// Inserts value at index (0..count), shifting later elements up; the element takes a
// reference on strings and objects.
void insertValue(ObjectHeader* array, intptr_t index, const Value& value) {
  Runtime::Impl* impl = currentImpl();
  if (!impl) return;
  ArrayData* data = impl->arrayData(array);
  if (!data) return;
  if (index < 0 || index > data->count) {
    impl->raise("OutOfBoundsException", "Index " + std::to_string(index) + " is outside the array");
    return;
  }
  if (!reserve(array, data, data->count + 1)) {
    impl->raise("OutOfMemoryException", "");
    return;
  }
  unsigned char* base = data->elements;
  const size_t size = data->elementSize;
  std::memmove(base + size_t(index + 1) * size, base + size_t(index) * size, size_t(data->count - index) * size);
  std::memset(base + size_t(index) * size, 0, size);
  ++data->count;
  writeField(*impl, elementType(data), base + size_t(index) * size, value);
}

// Index arguments are read as 32 bits, so int and pointer-sized callers agree.
void insertInteger(ObjectHeader* a, int32_t i, intptr_t v) { insertValue(a, i, Value::ofInteger(v)); }
void insertInt32(ObjectHeader* a, int32_t i, int32_t v) { insertValue(a, i, Value::ofInt32(v)); }
void insertInt64(ObjectHeader* a, int32_t i, int64_t v) { insertValue(a, i, Value::ofInteger(v)); }
void insertDouble(ObjectHeader* a, int32_t i, double v) { insertValue(a, i, Value::ofDouble(v)); }
void insertSingle(ObjectHeader* a, int32_t i, float v) { insertValue(a, i, Value::ofSingle(v)); }
void insertBoolean(ObjectHeader* a, int32_t i, uint8_t v) { insertValue(a, i, Value::ofBoolean(v != 0)); }
void insertString(ObjectHeader* a, int32_t i, StringObject* v) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || (v && !impl->isLiveString(v))) return;
  insertValue(a, i, Value::ofString(StringRef::retain(v)));
}
void insertObject(ObjectHeader* a, int32_t i, ObjectHeader* v) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || (v && !impl->isLiveObject(v))) return;
  insertValue(a, i, v ? Value::ofObject(ObjectRef::retain(v)) : Value::nil());
}

// Copies element index to out; strings and objects come with a reference for the caller.
void getValue(ObjectHeader* array, int32_t index, void* out) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !out) return;
  ArrayData* data = impl->arrayData(array);
  if (!data) return;
  if (index < 0 || index >= data->count) {
    std::memset(out, 0, data->elementSize);
    impl->raise("OutOfBoundsException", "Index " + std::to_string(index) + " is outside the array");
    return;
  }
  const unsigned char* element = data->elements + size_t(index) * data->elementSize;
  std::memcpy(out, element, data->elementSize);
  HostType type = elementType(data);
  void* reference = nullptr;
  if (type.kind == TypeKind::String || type.kind == TypeKind::Object) std::memcpy(&reference, element, sizeof reference);
  if (reference && type.kind == TypeKind::String) impl->lockString(static_cast<StringObject*>(reference));
  if (reference && type.kind == TypeKind::Object) impl->lockObject(static_cast<ObjectHeader*>(reference));
}

ObjectHeader* createArray(int32_t type, int32_t upperBound) {
  Runtime::Impl* impl = currentImpl();
  return impl ? impl->newArray(type, upperBound) : nullptr;
}

void* getInsertProc(ObjectHeader* array) {
  Runtime::Impl* impl = currentImpl();
  ArrayData* data = impl ? impl->arrayData(array) : nullptr;
  if (!data) return nullptr;
  switch (data->elementType) {
    case kArrayInteger: return guardedEntryPoint<&insertInteger>("array insert procedure");
    case kArrayInt32: return guardedEntryPoint<&insertInt32>("array insert procedure");
    case kArrayDouble: return guardedEntryPoint<&insertDouble>("array insert procedure");
    case kArrayString: return guardedEntryPoint<&insertString>("array insert procedure");
    case kArrayObject: return guardedEntryPoint<&insertObject>("array insert procedure");
    case kArrayBoolean: return guardedEntryPoint<&insertBoolean>("array insert procedure");
    case kArraySingle: return guardedEntryPoint<&insertSingle>("array insert procedure");
    case kArrayInt64: return guardedEntryPoint<&insertInt64>("array insert procedure");
    case kArrayDate: return guardedEntryPoint<&insertObject>("array insert procedure");
    default: return nullptr;
  }
}

void* getGetProc(ObjectHeader* array) {
  Runtime::Impl* impl = currentImpl();
  return impl && impl->arrayData(array) ? guardedEntryPoint<&getValue>("array get procedure") : nullptr;
}

intptr_t runtimeUBound(ObjectHeader* array) {
  Runtime::Impl* impl = currentImpl();
  ArrayData* data = impl ? impl->arrayData(array) : nullptr;
  return data ? data->count - 1 : -1;
}

}  // namespace

void installArrayClasses(Runtime::Impl& impl) {
  for (int32_t type = 0; type < kElementKindCount; ++type) {
    ClassInfo* cls = impl.addBuiltInClass(kElementKinds[type].className, "", sizeof(ArrayData));
    cls->nativeDestructor = &destroyArray;
    impl.arrayClasses[type] = cls;
  }
}

ArrayData* Runtime::Impl::arrayData(ObjectHeader* array) const {
  if (!isLiveObject(array)) return nullptr;
  for (ClassInfo* cls : arrayClasses)
    if (array->cls == cls) return reinterpret_cast<ArrayData*>(instanceData(array, cls));
  return nullptr;
}

ObjectHeader* Runtime::Impl::newArray(int32_t type, intptr_t upperBound) {
  if (!validType(type) || upperBound < -1 || upperBound > (intptr_t(1) << 28)) return nullptr;
  ObjectHeader* array = allocateObject(arrayClasses[type]);
  if (!array) return nullptr;
  ArrayData* data = arrayData(array);
  data->elementType = type;
  data->elementSize = kElementKinds[type].size;
  if (!reserve(array, data, upperBound + 1 > 0 ? upperBound + 1 : 1)) {  // storage is never null
    unlockObject(array);
    return nullptr;
  }
  data->count = upperBound + 1;
  return array;
}

Value Runtime::array(ArrayElementType type, const std::vector<Value>& elements) {
  ObjectRef array = ObjectRef::adopt(impl_->newArray(type, -1));
  if (!array) throw std::invalid_argument("no array of element type " + std::to_string(int(type)));
  for (size_t i = 0; i < elements.size(); ++i) insertValue(array.get(), intptr_t(i), elements[i]);
  impl_->throwPending();
  return Value::ofObject(std::move(array));
}

std::vector<Value> Runtime::arrayElements(const Value& array) const {
  std::vector<Value> out;
  if (array.kind != Value::Kind::Object) return out;
  ArrayData* data = impl_->arrayData(array.object.get());
  if (!data) return out;
  HostType type = elementType(data);
  for (intptr_t i = 0; i < data->count; ++i)
    out.push_back(readField(*impl_, type, data->elements + size_t(i) * data->elementSize));
  return out;
}

void addArrayEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"RuntimeArrayCreateSingleDimBoundedArray", guardedEntryPoint<&createArray>("RuntimeArrayCreateSingleDimBoundedArray")});
  table.push_back({"RuntimeArrayDirectGetInsertProc", guardedEntryPoint<&getInsertProc>("RuntimeArrayDirectGetInsertProc")});
  table.push_back({"RuntimeArrayDirectGetGetProc", guardedEntryPoint<&getGetProc>("RuntimeArrayDirectGetGetProc")});
  table.push_back({"RuntimeUBound", guardedEntryPoint<&runtimeUBound>("RuntimeUBound")});
}

}  // namespace host
