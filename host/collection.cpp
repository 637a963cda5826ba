// Collection: the older ordered list of Variant values, counted from 1, each optionally
// named by a key compared without ASCII case. A key that is not there reads as Nil; an
// index outside the list raises OutOfBoundsException.
#include "native_members.h"

namespace host {

namespace {

struct CollectionData {
  std::vector<std::pair<std::string, Value>> items;  // lower-cased key ("" for none), value as given
};

// The position of a 1-based index, or -1 after raising.
int64_t positionOf(Runtime& runtime, CollectionData* data, int64_t index, const char* member) {
  if (index >= 1 && index <= int64_t(data->items.size())) return index - 1;
  runtime.impl().raise("OutOfBoundsException", std::string("Collection.") + member + ": index " + std::to_string(index) +
                                                   " is outside 1 to " + std::to_string(data->items.size()));
  return -1;
}

int64_t positionOfKey(CollectionData* data, const std::string& key) {
  for (size_t i = 0; i < data->items.size(); ++i)
    if (!key.empty() && data->items[i].first == key) return int64_t(i);
  return -1;
}

}  // namespace

void installCollectionClass(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<CollectionData>(impl, "Collection");
  addNativeProperty(cls, "Count", "Integer", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    CollectionData* data = boxedData<CollectionData>(runtime, self, cls);
    return Value::ofInteger(data ? int64_t(data->items.size()) : 0);
  });
  addNativeMethod(cls, "Add(value as Variant, key as String = \"\")", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    if (CollectionData* data = boxedData<CollectionData>(runtime, self, cls))
      data->items.emplace_back(lowerCase(runtime.utf8(args.at(1))), args.at(0));
    return Value::nil();
  });
  addNativeMethod(cls, "Item(index as Integer) as Variant", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    CollectionData* data = boxedData<CollectionData>(runtime, self, cls);
    const int64_t at = data ? positionOf(runtime, data, args.at(0).integer, "Item") : -1;
    return at < 0 ? Value::nil() : data->items[size_t(at)].second;
  });
  addNativeMethod(cls, "Item(key as String) as Variant", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    CollectionData* data = boxedData<CollectionData>(runtime, self, cls);
    const int64_t at = data ? positionOfKey(data, lowerCase(runtime.utf8(args.at(0)))) : -1;
    return at < 0 ? Value::nil() : data->items[size_t(at)].second;
  });
  addNativeMethod(cls, "Remove(index as Integer)", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    CollectionData* data = boxedData<CollectionData>(runtime, self, cls);
    const int64_t at = data ? positionOf(runtime, data, args.at(0).integer, "Remove") : -1;
    if (at >= 0) data->items.erase(data->items.begin() + at);
    return Value::nil();
  });
  addNativeMethod(cls, "Remove(key as String)", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    CollectionData* data = boxedData<CollectionData>(runtime, self, cls);
    const int64_t at = data ? positionOfKey(data, lowerCase(runtime.utf8(args.at(0)))) : -1;
    if (at >= 0) data->items.erase(data->items.begin() + at);
    return Value::nil();
  });
}

}  // namespace host
