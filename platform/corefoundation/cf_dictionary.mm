/* Core Foundation mutable dictionaries with callbacks. A dictionary made here is an
   NSMutableDictionary (toll-free), but keys are compared, hashed, retained and released
   through the callbacks it was made with: null callbacks give pointer keys and values
   that take no references (a table from platform objects to host wrappers needs exactly
   that); the kCFType callbacks retain and compare with -isEqual:. Foundation's own
   dictionaries passed to these calls are served through their Objective-C interface. */
#import <Foundation/Foundation.h>
#include <CoreFoundation/CoreFoundation.h>

#include <unordered_map>
#include <vector>

static const void* QVRRetainCallBack(CFAllocatorRef, const void* value) { return value ? CFRetain(value) : value; }
static void QVRReleaseCallBack(CFAllocatorRef, const void* value) { if (value) CFRelease(value); }
static CFStringRef QVRCopyDescriptionCallBack(const void* value) {
  return (CFStringRef)[[(id)value description] copy];
}
static Boolean QVREqualCallBack(const void* a, const void* b) { return CFEqual(a, b); }
static CFHashCode QVRHashCallBack(const void* value) { return CFHash(value); }

extern "C" const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {
    0, QVRRetainCallBack, QVRReleaseCallBack, QVRCopyDescriptionCallBack, QVREqualCallBack, QVRHashCallBack};
extern "C" const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {
    0, QVRRetainCallBack, QVRReleaseCallBack, QVRCopyDescriptionCallBack, QVREqualCallBack};

namespace {

struct KeyHash {
  CFDictionaryHashCallBack hash;
  size_t operator()(const void* key) const {
    return hash ? (size_t)hash(key) : std::hash<const void*>()(key);
  }
};

struct KeyEqual {
  CFDictionaryEqualCallBack equal;
  bool operator()(const void* a, const void* b) const {
    if (a == b) return true;
    return equal ? equal(a, b) != 0 : false;
  }
};

struct Table {
  CFDictionaryKeyCallBacks keys;
  CFDictionaryValueCallBacks values;
  std::unordered_map<const void*, const void*, KeyHash, KeyEqual> map;

  Table(const CFDictionaryKeyCallBacks* k, const CFDictionaryValueCallBacks* v, size_t capacity)
      : keys(k ? *k : CFDictionaryKeyCallBacks{}),
        values(v ? *v : CFDictionaryValueCallBacks{}),
        map(capacity, KeyHash{keys.hash}, KeyEqual{keys.equal}) {}

  void dropKey(const void* key) { if (keys.release) keys.release(kCFAllocatorDefault, key); }
  void dropValue(const void* value) { if (values.release) values.release(kCFAllocatorDefault, value); }

  void set(const void* key, const void* value) {
    const void* newValue = values.retain ? values.retain(kCFAllocatorDefault, value) : value;
    auto found = map.find(key);
    if (found != map.end()) {
      const void* oldValue = found->second;
      found->second = newValue;
      dropValue(oldValue);
      return;
    }
    const void* newKey = keys.retain ? keys.retain(kCFAllocatorDefault, key) : key;
    map.emplace(newKey, newValue);
  }

  void remove(const void* key) {
    auto found = map.find(key);
    if (found == map.end()) return;
    const void* oldKey = found->first;
    const void* oldValue = found->second;
    map.erase(found);
    dropKey(oldKey);
    dropValue(oldValue);
  }

  void clear() {
    auto old = std::move(map);
    map = decltype(map)(0, KeyHash{keys.hash}, KeyEqual{keys.equal});
    for (auto& entry : old) {
      dropKey(entry.first);
      dropValue(entry.second);
    }
  }
};

}  // namespace

/* Enumerates a snapshot of the keys, which need not be objects. */
@interface QVRCFKeyEnumerator : NSEnumerator {
  std::vector<const void*>* _keys;
  size_t _next;
}
- (id)initWithKeys:(std::vector<const void*>*)keys;
@end

@implementation QVRCFKeyEnumerator
- (id)initWithKeys:(std::vector<const void*>*)keys {
  if ((self = [super init]) != nil) _keys = keys;
  return self;
}
- (id)nextObject {
  if (_next >= _keys->size()) return nil;
  return (id)(*_keys)[_next++];
}
- (void)dealloc {
  delete _keys;
  [super dealloc];
}
@end

@interface QVRCFMutableDictionary : NSMutableDictionary {
  Table* _table;
}
- (id)initWithKeyCallBacks:(const CFDictionaryKeyCallBacks*)keys
            valueCallBacks:(const CFDictionaryValueCallBacks*)values
                  capacity:(NSUInteger)capacity;
- (const void*)valueForCFKey:(const void*)key present:(BOOL*)present;
- (void)setCFValue:(const void*)value forCFKey:(const void*)key;
- (void)removeCFKey:(const void*)key;
@end

@implementation QVRCFMutableDictionary

- (id)initWithKeyCallBacks:(const CFDictionaryKeyCallBacks*)keys
            valueCallBacks:(const CFDictionaryValueCallBacks*)values
                  capacity:(NSUInteger)capacity {
  if ((self = [super init]) != nil) _table = new Table(keys, values, capacity);
  return self;
}

/* Made through Foundation ([[QVRCFMutableDictionary alloc] init]): kCFType behaviour. */
- (id)initWithCapacity:(NSUInteger)capacity {
  return [self initWithKeyCallBacks:&kCFTypeDictionaryKeyCallBacks
                     valueCallBacks:&kCFTypeDictionaryValueCallBacks
                           capacity:capacity];
}
- (id)init { return [self initWithCapacity:0]; }
- (id)initWithObjects:(const id*)objects forKeys:(const id*)keys count:(NSUInteger)count {
  if ((self = [self initWithCapacity:count]) != nil) {
    for (NSUInteger i = 0; i < count; i++) _table->set(keys[i], objects[i]);
  }
  return self;
}

- (void)dealloc {
  if (_table) {
    _table->clear();
    delete _table;
  }
  [super dealloc];
}

- (NSUInteger)count { return _table->map.size(); }

- (const void*)valueForCFKey:(const void*)key present:(BOOL*)present {
  auto found = _table->map.find(key);
  if (present) *present = found != _table->map.end();
  return found == _table->map.end() ? NULL : found->second;
}

- (id)objectForKey:(id)key {
  return (id)[self valueForCFKey:key present:NULL];
}

- (NSEnumerator*)keyEnumerator {
  auto* keys = new std::vector<const void*>();
  keys->reserve(_table->map.size());
  for (auto& entry : _table->map) keys->push_back(entry.first);
  return [[[QVRCFKeyEnumerator alloc] initWithKeys:keys] autorelease];
}

- (void)setCFValue:(const void*)value forCFKey:(const void*)key { _table->set(key, value); }
- (void)removeCFKey:(const void*)key { _table->remove(key); }

- (void)setObject:(id)object forKey:(id)key {
  if (key == nil || object == nil) {
    [NSException raise:NSInvalidArgumentException format:@"nil key or value in a dictionary"];
  }
  _table->set(key, object);
}
- (void)removeObjectForKey:(id)key { _table->remove(key); }
- (void)removeAllObjects { _table->clear(); }

@end

static bool QVRIsCallbackDictionary(CFTypeRef dictionary) {
  return [(id)dictionary isKindOfClass:[QVRCFMutableDictionary class]];
}

extern "C" {

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef alloc, CFIndex capacity,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
  NSUInteger size = capacity > 0 ? (NSUInteger)capacity : 0;
  return (CFMutableDictionaryRef)[[QVRCFMutableDictionary alloc] initWithKeyCallBacks:keyCallBacks
                                                                       valueCallBacks:valueCallBacks
                                                                             capacity:size];
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
  return dictionary ? (CFIndex)[(NSDictionary*)dictionary count] : 0;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key, const void** value) {
  if (dictionary == NULL) return false;
  const void* found = NULL;
  BOOL present = NO;
  if (QVRIsCallbackDictionary(dictionary)) {
    found = [(QVRCFMutableDictionary*)dictionary valueForCFKey:key present:&present];
  } else if (key != NULL) {
    found = [(NSDictionary*)dictionary objectForKey:(id)key];
    present = found != NULL;
  }
  if (present && value) *value = found;
  return present ? true : false;
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
  const void* value = NULL;
  return CFDictionaryGetValueIfPresent(dictionary, key, &value) ? value : NULL;
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key) {
  return CFDictionaryGetValueIfPresent(dictionary, key, NULL);
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
  if (dictionary == NULL) return;
  if (QVRIsCallbackDictionary(dictionary)) {
    [(QVRCFMutableDictionary*)dictionary setCFValue:value forCFKey:key];
  } else if (key != NULL && value != NULL) {
    [(NSMutableDictionary*)dictionary setObject:(id)value forKey:(id)key];
  }
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key) {
  if (dictionary == NULL) return;
  if (QVRIsCallbackDictionary(dictionary)) {
    [(QVRCFMutableDictionary*)dictionary removeCFKey:key];
  } else if (key != NULL) {
    [(NSMutableDictionary*)dictionary removeObjectForKey:(id)key];
  }
}

void CFDictionaryRemoveAllValues(CFMutableDictionaryRef dictionary) {
  if (dictionary) [(NSMutableDictionary*)dictionary removeAllObjects];
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys, const void** values) {
  if (dictionary == NULL) return;
  NSDictionary* source = (NSDictionary*)dictionary;
  size_t i = 0;
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSEnumerator* enumerator = [source keyEnumerator];
  for (id key = [enumerator nextObject]; key != nil; key = [enumerator nextObject], i++) {
    if (keys) keys[i] = key;
    if (values) values[i] = CFDictionaryGetValue(dictionary, key);
  }
  [pool release];
}

void CFDictionaryApplyFunction(CFDictionaryRef dictionary, CFDictionaryApplierFunction applier, void* context) {
  if (dictionary == NULL || applier == NULL) return;
  CFIndex count = CFDictionaryGetCount(dictionary);
  if (count <= 0) return;
  std::vector<const void*> keys((size_t)count), values((size_t)count);
  CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
  for (size_t i = 0; i < keys.size(); i++) applier(keys[i], values[i], context);
}

}  // extern "C"
