// Dictionary: Variant keys to Variant values, in the order the keys were first added.
// Keys compare as the host compares Variants: strings without regard to ASCII case,
// numbers by value (1 and 1.0 are one key), Booleans and colours by value, objects by
// identity. A missing key raises KeyNotFoundException. For Each goes through its entries
// as DictionaryEntry objects (Key, Value).
#include "native_members.h"

#include <cstdio>
#include <unordered_map>

namespace host {

namespace {

struct DictionaryEntryData {
  Value key, value;
};

struct DictionaryData {
  std::vector<std::pair<Value, Value>> entries;  // unboxed key, value as given
  std::unordered_map<std::string, size_t> index;  // normalised key -> entry
};

// The text two equal keys share and unequal keys never do.
std::string normalisedKey(Runtime& runtime, const Value& key) {
  switch (key.kind) {
    case Value::Kind::Nil: return "nil";
    case Value::Kind::String: return "s" + lowerCase(runtime.utf8(key));
    case Value::Kind::Boolean: return key.boolean ? "b1" : "b0";
    case Value::Kind::Color: return "c" + std::to_string(key.integer);
    case Value::Kind::Ptr: return "p" + std::to_string(reinterpret_cast<uintptr_t>(key.pointer));
    case Value::Kind::Object:
      return key.object ? "o" + std::to_string(reinterpret_cast<uintptr_t>(key.object.get())) : "nil";
    case Value::Kind::UInt64: return "n" + std::to_string(static_cast<uint64_t>(key.integer));
    case Value::Kind::Single: case Value::Kind::Double: {
      // Whole reals are the same key as the integer of that value.
      if (key.real == static_cast<double>(static_cast<int64_t>(key.real)) && key.real > -9.2e18 && key.real < 9.2e18)
        return "n" + std::to_string(static_cast<int64_t>(key.real));
      char buffer[40];
      std::snprintf(buffer, sizeof buffer, "n%.17g", key.real);
      return buffer;
    }
    default: return "n" + std::to_string(key.integer);
  }
}

DictionaryData* dictionaryOf(Runtime& runtime, const Value& self) {
  return boxedData<DictionaryData>(runtime, self, runtime.impl().dictionaryClass);
}

// The entry of a key, or -1.
int64_t find(Runtime& runtime, DictionaryData* data, const Value& key) {
  auto found = data->index.find(normalisedKey(runtime, unboxedValue(runtime.impl(), key)));
  return found == data->index.end() ? -1 : int64_t(found->second);
}

Value missingKey(Runtime& runtime, const Value& key) {
  Value k = unboxedValue(runtime.impl(), key);
  std::string text = k.kind == Value::Kind::String                    ? "\"" + runtime.utf8(k) + "\""
                     : k.kind == Value::Kind::Object && k.object     ? "an instance of " + k.object.get()->cls->name
                     : k.isNil()                                     ? "Nil"
                     : runtime.utf8(runtime.unboxed(runtime.call(runtime.variant(k), "StringValue")));
  runtime.impl().raise("KeyNotFoundException", "the Dictionary has no key " + text);
  return Value::nil();
}

Value variantArray(Runtime& runtime, const std::vector<Value>& items) {
  // Variant() arrays hold objects: values that are not objects are boxed.
  std::vector<Value> boxed;
  for (const Value& item : items) boxed.push_back(runtime.variant(item));
  return runtime.array(kArrayObject, boxed);
}

}  // namespace

void installDictionaryClass(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<DictionaryData>(impl, "Dictionary");
  impl.dictionaryClass = cls;
  for (const char* name : {"Count", "KeyCount"})
    addNativeProperty(cls, name, "Integer", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
      DictionaryData* data = dictionaryOf(runtime, self);
      return Value::ofInteger(data ? int64_t(data->entries.size()) : 0);
    });
  addNativeMethod(
      cls, "Value(key as Variant) as Variant",
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        DictionaryData* data = dictionaryOf(runtime, self);
        int64_t at = data ? find(runtime, data, args.at(0)) : -1;
        if (at < 0) return missingKey(runtime, args.at(0));
        return data->entries[size_t(at)].second;
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        DictionaryData* data = dictionaryOf(runtime, self);
        if (!data) return Value::nil();
        Value key = unboxedValue(runtime.impl(), args.at(0));
        int64_t at = find(runtime, data, key);
        if (at >= 0) {
          data->entries[size_t(at)].second = args.at(1);
        } else {
          data->index[normalisedKey(runtime, key)] = data->entries.size();
          data->entries.emplace_back(key, args.at(1));
        }
        return Value::nil();
      });
  addNativeMethod(cls, "HasKey(key as Variant) as Boolean", [](Runtime& runtime, const Value& self,
                                                               std::vector<Value>& args) {
    DictionaryData* data = dictionaryOf(runtime, self);
    return Value::ofBoolean(data && find(runtime, data, args.at(0)) >= 0);
  });
  addNativeMethod(cls, "Lookup(key as Variant, defaultValue as Variant) as Variant",
                  [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    DictionaryData* data = dictionaryOf(runtime, self);
                    int64_t at = data ? find(runtime, data, args.at(0)) : -1;
                    return at < 0 ? args.at(1) : data->entries[size_t(at)].second;
                  });
  addNativeMethod(cls, "Remove(key as Variant)", [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    DictionaryData* data = dictionaryOf(runtime, self);
    int64_t at = data ? find(runtime, data, args.at(0)) : -1;
    if (at < 0) return missingKey(runtime, args.at(0));
    data->entries.erase(data->entries.begin() + at);
    data->index.clear();
    for (size_t i = 0; i < data->entries.size(); ++i) data->index[normalisedKey(runtime, data->entries[i].first)] = i;
    return Value::nil();
  });
  // RemoveAll, and Clear, its older name.
  for (const char* declaration : {"RemoveAll()", "Clear()"})
    addNativeMethod(cls, declaration, [](Runtime& runtime, const Value& self, std::vector<Value>&) {
      if (DictionaryData* data = dictionaryOf(runtime, self)) {
        std::vector<std::pair<Value, Value>> dropped;
        dropped.swap(data->entries);  // released after the Dictionary is consistent again
        data->index.clear();
      }
      return Value::nil();
    });
  addNativeMethod(cls, "Key(index as Integer) as Variant", [](Runtime& runtime, const Value& self,
                                                              std::vector<Value>& args) {
    DictionaryData* data = dictionaryOf(runtime, self);
    int64_t i = args.at(0).integer;
    if (!data || i < 0 || i >= int64_t(data->entries.size())) {
      runtime.impl().raise("OutOfBoundsException", "Dictionary.Key: index " + std::to_string(i) +
                                                       " is outside 0 to " +
                                                       std::to_string(data ? int64_t(data->entries.size()) - 1 : -1));
      return Value::nil();
    }
    return data->entries[size_t(i)].first;
  });
  addNativeMethod(cls, "Keys() as Variant()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    std::vector<Value> keys;
    if (DictionaryData* data = dictionaryOf(runtime, self))
      for (const auto& entry : data->entries) keys.push_back(entry.first);
    return variantArray(runtime, keys);
  });
  addNativeMethod(cls, "Values() as Variant()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    std::vector<Value> values;
    if (DictionaryData* data = dictionaryOf(runtime, self))
      for (const auto& entry : data->entries) values.push_back(entry.second);
    return variantArray(runtime, values);
  });

  // DictionaryEntry: one key and its value, what For Each gives for a Dictionary.
  ClassInfo* entryClass = addBoxedClass<DictionaryEntryData>(impl, "DictionaryEntry");
  addNativeMethod(entryClass, "Constructor(key as Variant, value as Variant)",
                  [entryClass](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    if (auto* entry = boxedData<DictionaryEntryData>(runtime, self, entryClass))
                      *entry = {args.at(0), args.at(1)};
                    return Value::nil();
                  });
  for (const bool isKey : {true, false})
    addNativeProperty(entryClass, isKey ? "Key" : "Value", "Variant",
                      [entryClass, isKey](Runtime& runtime, const Value& self, std::vector<Value>&) {
                        auto* entry = boxedData<DictionaryEntryData>(runtime, self, entryClass);
                        return !entry ? Value::nil() : isKey ? entry->key : entry->value;
                      });
}

}  // namespace host
