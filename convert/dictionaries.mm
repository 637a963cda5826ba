/* Host Dictionary <-> platform dictionary. The host Dictionary is reached only through
   its "Count" property and three methods loaded by declaration; the method pointers are
   cached for the last Dictionary used. Both directions clear the cache when their loop
   ends, so a nested conversion of an inner dictionary makes the outer loop reload, and a
   later Dictionary at a finished one's address is never served stale pointers. */
#import <Foundation/Foundation.h>

#include "convert/dictionaries.h"

#include "convert/held_references.h"
#include "convert/variants.h"
#include "plugin/host_bridge.h"

namespace {

using DictionarySetter = void (*)(REALobject dictionary, REALobject key, REALobject value);
using DictionaryGetter = REALobject (*)(REALobject dictionary, REALobject key);
using DictionaryKeyGetter = REALobject (*)(REALobject dictionary, intptr_t index);

/* Compared only, never dereferenced: the cache holds no reference. */
REALobject LastDictionary = nullptr;
DictionarySetter LastDictionarySetter = nullptr;
DictionaryGetter LastDictionaryGetter = nullptr;
DictionaryKeyGetter LastDictionaryKeyGetter = nullptr;

/* The cache rule, applied before every use of a cached method. */
void UseDictionary(REALobject dictionary) {
  if (LastDictionary == dictionary) return;
  LastDictionary = dictionary;
  LastDictionarySetter = reinterpret_cast<DictionarySetter>(
      REALLoadObjectMethod(dictionary, "Value(key As Variant, Assigns _value As Variant)"));
  LastDictionaryGetter =
      reinterpret_cast<DictionaryGetter>(REALLoadObjectMethod(dictionary, "Value(key As Variant) As Variant"));
  LastDictionaryKeyGetter =
      reinterpret_cast<DictionaryKeyGetter>(REALLoadObjectMethod(dictionary, "Key(index As Integer) As Variant"));
}

/* Clears the cache when a conversion's loop ends, also when it ends by an exception. */
struct CacheReset {
  ~CacheReset() { LastDictionary = nullptr; }
};

}  // namespace

REALobject NSDictionaryRB(NSDictionary* dictionary) {
  if (dictionary == nil) return nullptr;
  REALobject result = REALnewInstance("Dictionary");
  if (result == nullptr) return nullptr;
  NSArray* keys = [dictionary allKeys];
  if (keys == nil) return result;
  const NSUInteger count = [keys count];
  CacheReset reset;
  for (NSUInteger i = 0; i < count; ++i) {
    id key = [keys objectAtIndex:i];
    id value = [dictionary objectForKey:key];
    HeldObject k(NewVariantFromNSObject(key));
    HeldObject v(NewVariantFromNSObject(value));
    UseDictionary(result);
    if (LastDictionarySetter != nullptr) LastDictionarySetter(result, k.get(), v.get());
  }
  return result;
}

NSDictionary* NewNSDictionary(REALobject dictionary) {
  if (dictionary == nullptr) return nil;
  int32_t count = 0;
  if (!REALGetPropValueInt32(dictionary, "Count", &count)) count = 0;
  if (count <= 0) return [NSDictionary dictionary];
  NSMutableDictionary* result = [NSMutableDictionary dictionaryWithCapacity:static_cast<NSUInteger>(count)];
  if (result == nil) return nil;
  CacheReset reset;
  for (int32_t i = 0; i < count; ++i) {
    UseDictionary(dictionary);
    HeldObject key(LastDictionaryKeyGetter != nullptr ? LastDictionaryKeyGetter(dictionary, i) : nullptr);
    UseDictionary(dictionary);
    HeldObject value(LastDictionaryGetter != nullptr ? LastDictionaryGetter(dictionary, key.get()) : nullptr);
    /* An entry whose key cannot be read is left out. */
    if (key.get() == nullptr) continue;
    id k = GetVariantAsNSObject(key.get());
    id v = GetVariantAsNSObject(value.get());
    [result setObject:(v != nil ? v : [NSNull null]) forKey:(k != nil ? k : [NSNull null])];
  }
  return result;
}
