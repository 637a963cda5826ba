// A plugin written only against the host's entry points, as real plugins are: three
// classes (TestBase > TestDerived > TestLeaf) whose members take and return every host
// type, with defaults, overloads, assignable methods, marker properties, shared methods
// and constants, and members that raise host exceptions, throw a platform object, and
// use the string, array, MemoryBlock and property entry points. It registers its
// records in the layout its host's version calls for (9, 10, 11 or 12).
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

#include <atomic>
#include <pthread.h>

#include <CoreServices/CoreServices.h>

#include "plugin/host_sdk.h"

extern "C" void testplugin_throw_string(void);
extern "C" long testplugin_platform_length(void* string);
extern "C" void testplugin_platform_release(void* string);

namespace {

using Object = void*;
using String = void*;
using Resolver = void* (*)(const char*);

Resolver gResolver = nullptr;
double gVersion = 0.0;
int gLayout = 0;
std::string gLog;

template <class F>
F entry(const char* name) { return gResolver ? reinterpret_cast<F>(gResolver(name)) : nullptr; }

void log(const std::string& event) { gLog += (gLog.empty() ? "" : ",") + event; }

// The records in layout 12, from the plugin SDK header, as a plugin includes its SDK's.
using Property = REALproperty;
using Method = REALmethodDefinition;
using ClassDefinition = REALclassDefinition;

void* const kMarker = reinterpret_cast<void*>(intptr_t(-1));
template <class F>
void* fn(F f) { return reinterpret_cast<void*>(f); }
// A member record with the flags every member here has.
#define MEMBER(function, declaration) {fn(&function), nullptr, declaration, 4, 0, 0}

ClassDefinition gBaseClass, gDerivedClass, gLeafClass, gFragileClass;

// Instance data of TestBase, at the offset the host wrote into forSystemUse.
struct BaseData {
  intptr_t handle;   // "Handle" (marker)
  String tag;        // "Tag" (marker, held by the host)
  double scale;      // "Scale"
  float ratio;       // "Ratio"
  int32_t count;     // "Count"
  uint8_t flag;      // "Flag"
  Object partner;    // "Partner" (marker)
};

struct DerivedData { int64_t extra; };

BaseData* base(Object self) { return reinterpret_cast<BaseData*>(static_cast<char*>(self) + gBaseClass.forSystemUse); }

DerivedData* derived(Object self) {
  return reinterpret_cast<DerivedData*>(static_cast<char*>(self) + gDerivedClass.forSystemUse);
}

// ---- host services

// A host string of the bytes, tagged with the encoding (UTF-8 unless told).
String makeString(const std::string& text, uint32_t encoding = 0x08000100) {
  auto build = entry<String (*)(const char*, int32_t)>("REALBuildString");
  auto tag = entry<void (*)(String, uint32_t)>("REALSetStringEncoding");
  if (!build) return nullptr;
  String s = build(text.data(), static_cast<int32_t>(text.size()));
  if (s && tag) tag(s, encoding);
  return s;
}

std::string textOf(String s, uint32_t encoding = 0x08000100) {
  auto get = entry<int (*)(String, uint32_t, REALstringData*)>("PluginGetStringData");
  auto dispose = entry<void (*)(REALstringData*)>("PluginDisposeStringData");
  if (!s || !get || !dispose) return std::string();
  REALstringData data{};
  if (!get(s, encoding, &data)) return "<no data>";
  std::string out(static_cast<const char*>(data.data), data.length);
  dispose(&data);
  return out;
}

void unlockString(String s) { if (auto unlock = entry<void (*)(String)>("REALUnlockString"); unlock && s) unlock(s); }

void unlockObject(Object o) { if (auto unlock = entry<void (*)(Object)>("REALUnlockObject"); unlock && o) unlock(o); }

Object newInstance(const char* className) {
  auto make = entry<Object (*)(const char*)>("PluginNewInstance");
  return make ? make(className) : nullptr;
}

void raise(const char* className, const std::string& message, int32_t number) {
  auto setString = entry<int (*)(Object, const char*, String)>("REALSetPropValueString");
  auto setInt = entry<int (*)(Object, const char*, int32_t)>("REALSetPropValueInt");
  auto raiseException = entry<void (*)(Object)>("RuntimeRaiseException");
  if (!raiseException) return;
  Object e = newInstance(className);
  if (!e) e = newInstance("RuntimeException");
  if (!e) return;
  String text = makeString(message);
  if (setString) setString(e, "Message", text);
  if (setInt) setInt(e, "ErrorNumber", number);
  unlockString(text);
  raiseException(e);
  unlockObject(e);
}

// ---- constructors and destructors

void baseConstructor(Object self) { log("ctor Base"); base(self)->scale = 1.0; }
void baseDestructor(Object) { log("dtor Base"); }
void derivedConstructor(Object self) { log("ctor Derived"); derived(self)->extra = 7; }
void derivedDestructor(Object) { log("dtor Derived"); }
void leafConstructor(Object) { log("ctor Leaf"); }
void leafDestructor(Object) { log("dtor Leaf"); }

// ---- property accessors: T f(self, param), void f(self, param, T)

// A BaseData field's getter and setter, of the field's own C type.
template <auto Field>
auto getField(Object self, intptr_t) { return base(self)->*Field; }
template <auto Field>
void setField(Object self, intptr_t, std::remove_reference_t<decltype(BaseData().*Field)> v) { base(self)->*Field = v; }
int64_t getBig(Object, intptr_t param) { return int64_t(param) * 1000; }
String getName(Object self, intptr_t) { return makeString("name:" + std::to_string(base(self)->handle)); }
void setName(Object self, intptr_t, String v) { base(self)->handle = static_cast<intptr_t>(textOf(v).size()); }

// ---- methods

intptr_t add(Object, intptr_t a, intptr_t b) { return a + b; }
int32_t addInt32(Object, int32_t a, int32_t b) { return a + b; }
int64_t addInt64(Object, int64_t a, int64_t b) { return a + b; }
double half(Object, double x) { return x / 2; }
float halfSingle(Object, float x) { return x / 2; }
uint8_t negate(Object, uint8_t b) { return !b; }
uint32_t invertColor(Object, uint32_t c) { return c ^ 0xFFFFFF; }
void* offsetPtr(Object, void* p, intptr_t n) { return static_cast<char*>(p) + n; }

String describe(Object, String s) { return makeString("<" + textOf(s) + ">"); }

String kindInteger(Object, intptr_t) { return makeString("integer"); }
String kindDouble(Object, double) { return makeString("double"); }
String kindString(Object, String) { return makeString("string"); }
String kindBoolean(Object, uint8_t) { return makeString("boolean"); }
String kindBase(Object, Object) { return makeString("TestBase"); }
String kindDerived(Object, Object) { return makeString("TestDerived"); }
String kindDerivedOverride(Object, Object) { return makeString("TestDerived (in TestDerived)"); }

String mixed(Object, int32_t a, double b, float c, uint8_t d, int64_t e, String f, Object g, intptr_t h) {
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, "%d|%.3f|%.3f|%d|%lld|%s|%s|%ld", a, b, double(c), d, static_cast<long long>(e),
                textOf(f).c_str(), g ? "object" : "nil", static_cast<long>(h));
  return makeString(buffer);
}

String defaults(Object, intptr_t a, String s, double d, uint8_t b, Object o) {
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, "%ld|%s|%.2f|%d|%s", static_cast<long>(a), textOf(s).c_str(), d, b,
                o ? "object" : "nil");
  return makeString(buffer);
}

Object makeDerived(Object) { return newInstance("TestDerived"); }

Object self_(Object self) {
  if (auto lock = entry<void (*)(Object)>("REALLockObject")) lock(self);
  return self;
}

void fail(Object, String className, String message) { raise(textOf(className).c_str(), textOf(message), 7); }

intptr_t failWithResult(Object) { raise("OutOfBoundsException", "out of range", 0); return 99; }

void throwPlatform(Object) { testplugin_throw_string(); }

// "Item(index as Integer, assigns value as String)": the setter form only.
void setItem(Object self, intptr_t index, String value) {
  base(self)->handle = index * 100 + static_cast<intptr_t>(textOf(value).size());
}

// "Slot(index as Integer) as Integer" with a setter function.
intptr_t gSlots[4];
intptr_t getSlot(Object, intptr_t index) { return index >= 0 && index < 4 ? gSlots[index] : -1; }
void setSlot(Object, intptr_t index, intptr_t value) { if (index >= 0 && index < 4) gSlots[index] = value; }

String stringInfo(Object, String s) {
  auto encodingOf = entry<uint32_t (*)(String)>("REALGetStringEncoding");
  auto cString = entry<const char* (*)(String)>("StringGetCString");
  auto loadGlobal = entry<void* (*)(void*, const char*)>("REALLoadGlobalMethod");
  intptr_t (*lenB)(String) = nullptr;
  if (loadGlobal) lenB = reinterpret_cast<intptr_t (*)(String)>(loadGlobal(nullptr, "LenB( s as string ) as integer"));
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, "%x|%s|%ld", encodingOf ? encodingOf(s) : 0u, cString ? cString(s) : "?",
                lenB ? static_cast<long>(lenB(s)) : -1L);
  return makeString(buffer);
}

String convert(Object, String s, intptr_t encoding) {
  auto convertString = entry<String (*)(String, uint32_t)>("REALConvertString");
  return convertString ? convertString(s, static_cast<uint32_t>(encoding)) : nullptr;
}

String retag(Object, String s, intptr_t encoding) {
  auto tag = entry<void (*)(String, uint32_t)>("REALSetStringEncoding");
  if (auto lock = entry<void (*)(String)>("REALLockString"); lock && s) lock(s);
  if (tag) tag(s, static_cast<uint32_t>(encoding));
  return s;
}

// The string's bytes in the given encoding (through PluginGetStringData), as a MemoryBlock.
Object bytesIn(Object, String s, intptr_t encoding) {
  const std::string bytes = textOf(s, static_cast<uint32_t>(encoding));
  Object block = entry<Object (*)(int32_t)>("newMemoryBlock")(static_cast<int32_t>(bytes.size()));
  if (block) std::memcpy(entry<void* (*)(Object)>("memoryBlockGetPtr")(block), bytes.data(), bytes.size());
  return block;
}

// Reads a host string as an older host's plugin does: words 1 and 3 of the object.
String rawWords(Object, String s) {
  if (!s) return makeString("nil");
  auto* words = static_cast<uintptr_t*>(s);
  const char* buffer = reinterpret_cast<const char*>(words[1]);
  return makeString(std::string(buffer + 1, words[3]));
}

intptr_t platformLength(Object, String s) {
  auto toPlatform = entry<void* (*)(String, int32_t)>("REALGetStringCFString");
  if (!toPlatform) return -1;
  void* platform = toPlatform(s, 0);
  if (!platform) return -2;
  long n = testplugin_platform_length(platform);
  testplugin_platform_release(platform);
  return n;
}

uint8_t isA(Object, Object o, String className) {
  auto classRef = entry<void* (*)(const char*)>("pluginObjectType");
  auto isa = entry<int (*)(Object, void*)>("RuntimeObjectIsa");
  if (!classRef || !isa) return 0;
  return isa(o, classRef(textOf(className).c_str())) ? 1 : 0;
}

String readMessage(Object, Object e) {
  auto get = entry<int (*)(Object, const char*, String*)>("REALGetPropValueString");
  String out = nullptr;
  if (!get || !get(e, "Message", &out)) return makeString("<unreadable>");
  return out;  // the reference the host gave goes back with the result
}

intptr_t readNumbers(Object, Object o) {
  auto getInt = entry<int (*)(Object, const char*, int32_t*)>("REALGetPropValueInt");
  auto getDouble = entry<int (*)(Object, const char*, double*)>("REALGetPropValueDouble");
  auto getBool = entry<int (*)(Object, const char*, uint8_t*)>("REALGetPropValueBool");
  auto getSingle = entry<int (*)(Object, const char*, float*)>("REALGetPropValueSingle");
  auto getInt64 = entry<int (*)(Object, const char*, int64_t*)>("REALGetPropValueInt64");
  auto setDouble = entry<int (*)(Object, const char*, double)>("REALSetPropValueDouble");
  int32_t count = 0;
  double scale = 0;
  uint8_t flag = 0;
  float ratio = 0;
  int64_t handle = 0;
  int ok = getInt(o, "Count", &count) + getDouble(o, "Scale", &scale) + getBool(o, "Flag", &flag) +
           getSingle(o, "Ratio", &ratio) + getInt64(o, "Handle", &handle) + setDouble(o, "Scale", scale * 2) +
           getInt(o, "NoSuchProperty", &count);
  return ok * 1000000 + count * 10000 + intptr_t(scale) * 100 + flag * 10 + intptr_t(ratio) + handle;
}

// Builds a string array "n0".."n<count-1>" through the array entry points.
Object names(Object, intptr_t count) {
  auto create = entry<Object (*)(int32_t, intptr_t)>("RuntimeArrayCreateSingleDimBoundedArray");
  auto insertProc = entry<void* (*)(Object)>("RuntimeArrayDirectGetInsertProc");
  if (!create || !insertProc) return nullptr;
  Object array = create(3, -1);
  auto insert = reinterpret_cast<void (*)(Object, intptr_t, String)>(insertProc(array));
  for (intptr_t i = 0; i < count; ++i) {
    String s = makeString("n" + std::to_string(i));
    if (insert) insert(array, i, s);
    unlockString(s);
  }
  return array;
}

intptr_t sumArray(Object, Object array) {
  auto ubound = entry<intptr_t (*)(Object)>("RuntimeUBound");
  auto getProc = entry<void* (*)(Object)>("RuntimeArrayDirectGetGetProc");
  if (!ubound || !getProc || !array) return -1;
  auto get = reinterpret_cast<void (*)(Object, intptr_t, void*)>(getProc(array));
  intptr_t sum = 0;
  for (intptr_t i = 0; i <= ubound(array); ++i) {
    intptr_t v = 0;
    get(array, i, &v);
    sum += v;
  }
  // Element storage is also readable directly through the word at byte offset 8.
  auto* storage = *reinterpret_cast<intptr_t**>(static_cast<char*>(array) + 8);
  intptr_t direct = 0;
  for (intptr_t i = 0; i <= ubound(array); ++i) direct += storage[i];
  return sum == direct ? sum : -2;
}

String joinStrings(Object, Object array) {
  auto ubound = entry<intptr_t (*)(Object)>("RuntimeUBound");
  auto getProc = entry<void* (*)(Object)>("RuntimeArrayDirectGetGetProc");
  if (!ubound || !getProc || !array) return nullptr;
  auto get = reinterpret_cast<void (*)(Object, intptr_t, String*)>(getProc(array));
  std::string out;
  for (intptr_t i = 0; i <= ubound(array); ++i) {
    String s = nullptr;
    get(array, i, &s);  // carries a reference
    if (i) out += "+";
    out += textOf(s);
    unlockString(s);
  }
  return makeString(out);
}

Object doubles(Object, double a, double b) {
  auto create = entry<Object (*)(int32_t, intptr_t)>("RuntimeArrayCreateSingleDimBoundedArray");
  auto insertProc = entry<void* (*)(Object)>("RuntimeArrayDirectGetInsertProc");
  Object array = create(2, -1);
  auto insert = reinterpret_cast<void (*)(Object, intptr_t, double)>(insertProc(array));
  insert(array, 0, b);
  insert(array, 0, a);  // shifts b up
  return array;
}

intptr_t blockSum(Object, Object block) {
  auto ptr = entry<unsigned char* (*)(Object)>("memoryBlockGetPtr");
  auto size = entry<intptr_t (*)(Object)>("memoryBlockGetSize");
  if (!block) {
    raise("NilObjectException", "Memoryblock is nil", 0);
    return 0;
  }
  intptr_t sum = 0;
  for (intptr_t i = 0; i < size(block); ++i) sum += ptr(block)[i];
  return sum;
}

Object makeBlock(Object, intptr_t size) {
  auto newBlock = entry<Object (*)(int32_t)>("newMemoryBlock");
  auto ptr = entry<unsigned char* (*)(Object)>("memoryBlockGetPtr");
  Object block = newBlock(static_cast<int32_t>(size));
  if (!block) return nullptr;
  for (intptr_t i = 0; i < size; ++i) ptr(block)[i] = static_cast<unsigned char>(i);
  return block;
}

// Calls MemoryBlock members through "REALLoadObjectMethod".
intptr_t blockMembers(Object, Object block) {
  auto load = entry<void* (*)(Object, const char*)>("REALLoadObjectMethod");
  auto byte = reinterpret_cast<intptr_t (*)(Object, intptr_t)>(load(block, "byte( offset as integer ) as INTEGER"));
  auto setByte =
      reinterpret_cast<void (*)(Object, intptr_t, intptr_t)>(load(block, "Byte(offset as Integer, assigns v as Integer)"));
  auto stringValue =
      reinterpret_cast<String (*)(Object, intptr_t, intptr_t)>(load(block, "StringValue(offset as integer, length as integer) as string"));
  if (!byte || !setByte || !stringValue) return -1;
  setByte(block, 0, 65);
  setByte(block, 1, 66);
  String s = stringValue(block, 0, 2);
  intptr_t result = byte(block, 1) * 1000 + static_cast<intptr_t>(textOf(s, 0xFFFF) == "AB");
  unlockString(s);
  return result;
}

uint8_t missing(String name) { return gResolver && gResolver(textOf(name).c_str()) == nullptr; }

String sharedLog() { return makeString(gLog); }
void clearLog() { gLog.clear(); }
double hostVersion() { return gVersion; }
intptr_t layout() { return gLayout; }
intptr_t twice(intptr_t x) { return 2 * x; }
double twiceDouble(double x) { return 2 * x; }
intptr_t recordOffset(intptr_t which) {
  switch (which) {
    case 0: return static_cast<intptr_t>(gBaseClass.forSystemUse);
    case 1: return static_cast<intptr_t>(gDerivedClass.forSystemUse);
    default: return static_cast<intptr_t>(gLeafClass.forSystemUse);
  }
}

void derivedConstructorMethod(Object self) { log("Constructor()"); base(self)->handle = -1; }
void leafConstructorMethod(Object self, intptr_t start) {
  log("Constructor(" + std::to_string(start) + ")");
  base(self)->handle = start;
}
void leafConstructorText(Object self, String text) {
  log("Constructor(text)");
  base(self)->handle = static_cast<intptr_t>(textOf(text).size());
}
intptr_t extra(Object self) { return derived(self)->extra; }

// TestFragile: its destructor always throws a platform object; its constructor throws
// while armed.
bool gFragileArmed = false;
void fragileConstructor(Object) { if (gFragileArmed) testplugin_throw_string(); }
void fragileDestructor(Object) { log("dtor Fragile"); testplugin_throw_string(); }
void armFragile(uint8_t on) { gFragileArmed = on != 0; }
Object makeFragile(Object) { return newInstance("TestFragile"); }

// TestThreads: work on a plugin-made thread, as a threaded runner does it. The worker
// finishes once the host thread has yielded the asked number of times; the host thread
// yields until the worker is done. Another worker calls the host and must be refused.
struct YieldingWork {
  std::atomic<intptr_t> yieldsSeen{0};
  intptr_t target = 0;
  std::atomic<bool> done{false};
  intptr_t sum = 0;
};

void* yieldingWorker(void* argument) {
  auto* work = static_cast<YieldingWork*>(argument);
  for (intptr_t i = 1; i <= 1000; ++i) work->sum += i;
  while (work->yieldsSeen.load() < work->target) sched_yield();
  work->done.store(true);
  return nullptr;
}

intptr_t yieldingWork(intptr_t yields) {
  auto yield = entry<void (*)()>("REALYieldToRB");
  if (!yield) return -1;
  YieldingWork work;
  work.target = yields;
  pthread_t thread;
  if (pthread_create(&thread, nullptr, &yieldingWorker, &work) != 0) return -1;
  intptr_t count = 0;
  while (!work.done.load()) {
    yield();
    work.yieldsSeen.store(++count);
  }
  pthread_join(thread, nullptr);
  return work.sum == 500500 ? count : -1;
}

struct ForeignCalls {
  void* (*build)(const char*, int32_t) = nullptr;
  void (*yield)() = nullptr;
  intptr_t neutral = 0;
};

void* foreignWorker(void* argument) {
  auto* calls = static_cast<ForeignCalls*>(argument);
  if (calls->build && calls->build("abc", 3) == nullptr) ++calls->neutral;
  if (calls->yield) {
    calls->yield();
    ++calls->neutral;
  }
  if (gResolver && gResolver("REALBuildString") == nullptr) ++calls->neutral;
  return nullptr;
}

// Answers how many of three host calls made on a foreign thread came back neutral.
intptr_t foreignCalls() {
  ForeignCalls calls;
  calls.build = entry<void* (*)(const char*, int32_t)>("REALBuildString");
  calls.yield = entry<void (*)()>("REALYieldToRB");
  pthread_t thread;
  if (pthread_create(&thread, nullptr, &foreignWorker, &calls) != 0) return -1;
  pthread_join(thread, nullptr);
  return calls.neutral;
}

Method gThreadsShared[] = {
    MEMBER(yieldingWork, "YieldingWork(yields as Integer) as Integer"),
    MEMBER(foreignCalls, "ForeignCalls() as Integer"),
};

ClassDefinition gThreadsClass;

// TestHandOver: host values read the way the image plugin reads them, through the
// property and file entry points.
String dateFields(Object date) {
  auto getInt = entry<int (*)(Object, const char*, int32_t*)>("REALGetPropValueInt");
  if (!getInt || !date) return makeString("");
  std::string out;
  for (const char* name : {"Year", "Month", "Day", "Hour", "Minute", "Second"}) {
    int32_t value = 0;
    if (!getInt(date, name, &value)) return makeString("failed at " + std::string(name));
    out += (out.empty() ? "" : " ") + std::to_string(value);
  }
  return makeString(out);
}

std::string refPath(const FSRef& ref) {
  UInt8 path[4096];
  return FSRefMakePath(&ref, path, sizeof path) == noErr ? reinterpret_cast<const char*>(path) : "";
}

// The path of an existing item's FSRef, or "".
String refPathOf(Object item) {
  auto toRef = entry<bool (*)(Object, FSRef*, HFSUniStr255*)>("REALFSRefFromFolderItem");
  FSRef ref;
  return makeString(toRef && toRef(item, &ref, nullptr) ? refPath(ref) : "");
}

// "parent path|name" as handed over with a name buffer, or "".
String parentRefAndName(Object item) {
  auto toRef = entry<bool (*)(Object, FSRef*, HFSUniStr255*)>("REALFSRefFromFolderItem");
  FSRef ref;
  HFSUniStr255 name;
  std::memset(&name, 0, sizeof name);
  if (!toRef || !toRef(item, &ref, &name)) return makeString("");
  String utf16 = makeString(std::string(reinterpret_cast<const char*>(name.unicode), name.length * 2), 0x100);
  std::string text = refPath(ref) + "|" + textOf(utf16);
  unlockString(utf16);
  return makeString(text);
}

// FolderItem to FSSpec and back.
Object fileSpecRoundTrip(Object item) {
  auto toFileSpec = entry<bool (*)(FSSpec*, Object)>("REALFSSpecFromFolderItem");
  auto fromFileSpec = entry<Object (*)(const FSSpec*)>("FolderItemFromFSSpec");
  FSSpec fileSpec;
  if (!toFileSpec || !fromFileSpec || !toFileSpec(&fileSpec, item)) return nullptr;
  return fromFileSpec(&fileSpec);
}

// The FSSpec's parent ID and name, "parID:name", or "".
String fileSpecOf(Object item) {
  auto toFileSpec = entry<bool (*)(FSSpec*, Object)>("REALFSSpecFromFolderItem");
  FSSpec fileSpec;
  if (!toFileSpec || !toFileSpec(&fileSpec, item)) return makeString("");
  return makeString(std::to_string(fileSpec.parID) + ":" + std::string(reinterpret_cast<char*>(fileSpec.name + 1), fileSpec.name[0]));
}

// A FolderItem for a name (taken as UTF-16, `length` units of it) in a folder.
Object fromParent(Object folder, String name, intptr_t length) {
  auto toRef = entry<bool (*)(Object, FSRef*, HFSUniStr255*)>("REALFSRefFromFolderItem");
  auto fromRef = entry<Object (*)(const FSRef*, const HFSUniStr255*)>("REALFolderItemFromParentFSRef");
  FSRef ref;
  if (!toRef || !fromRef || !toRef(folder, &ref, nullptr)) return nullptr;
  std::string units = textOf(name, 0x100);
  HFSUniStr255 buffer;
  std::memset(&buffer, 0, sizeof buffer);
  std::memcpy(buffer.unicode, units.data(), std::min<size_t>(units.size(), sizeof buffer.unicode));
  buffer.length = static_cast<UInt16>(length);
  return fromRef(&ref, &buffer);
}

Method gHandOverShared[] = {
    MEMBER(dateFields, "DateFields(d as Date) as String"), MEMBER(refPathOf, "RefPath(f as FolderItem) as String"),
    MEMBER(parentRefAndName, "ParentRefAndName(f as FolderItem) as String"),
    MEMBER(fileSpecRoundTrip, "FileSpecRoundTrip(f as FolderItem) as FolderItem"),
    MEMBER(fileSpecOf, "FileSpecOf(f as FolderItem) as String"),
    MEMBER(fromParent, "FromParent(folder as FolderItem, name as String, length as Integer) as FolderItem"),
};

ClassDefinition gHandOverClass;

// ---- tables

Property gBaseProperties[] = {
    {nullptr, "Handle", "Integer", 6, kMarker, kMarker, 0, 0, 0, 0, 0, 0},
    {nullptr, "Tag", "String", 6, kMarker, kMarker, offsetof(BaseData, tag), 0, 0, 0, 0, 0},
    {nullptr, "Partner", "TestBase", 6, kMarker, kMarker, offsetof(BaseData, partner), 0, 0, 0, 0, 0},
    {nullptr, "Scale", "Double", 6, fn(&getField<&BaseData::scale>), fn(&setField<&BaseData::scale>), 0, 0, 0, 0, 0, 0},
    {nullptr, "Ratio", "Single", 6, fn(&getField<&BaseData::ratio>), fn(&setField<&BaseData::ratio>), 0, 0, 0, 0, 0, 0},
    {nullptr, "Count", "Int32", 6, fn(&getField<&BaseData::count>), fn(&setField<&BaseData::count>), 0, 0, 0, 0, 0, 0},
    {nullptr, "Flag", "Boolean", 6, fn(&getField<&BaseData::flag>), fn(&setField<&BaseData::flag>), 0, 0, 0, 0, 0, 0},
    {nullptr, "Big", "Int64", 6, fn(&getBig), nullptr, 7, 0, 0, 0, 0, 0},
    {nullptr, "Name", "String", 6, fn(&getName), fn(&setName), 0, 0, 0, 0, 0, 0},
};

Method gBaseMethods[] = {
    MEMBER(add, "Add(a as Integer, b as Integer = 5) as Integer"),
    MEMBER(addInt32, "AddInt32(a as Int32, b as Int32) as Int32"),
    MEMBER(addInt64, "AddInt64(a as Int64, b as Int64) as Int64"), MEMBER(half, "Half(x as Double) as Double"),
    MEMBER(halfSingle, "HalfSingle(x as Single) as Single"), MEMBER(negate, "Negate(b as Boolean) as Boolean"),
    MEMBER(invertColor, "InvertColor(c as Color) as Color"),
    MEMBER(offsetPtr, "OffsetPtr(p as Ptr, n as Integer) as Ptr"), MEMBER(describe, "Describe(s as String) as String"),
    MEMBER(kindInteger, "Kind(x as Integer) as String"), MEMBER(kindDouble, "Kind(x as Double) as String"),
    MEMBER(kindString, "Kind(x as String) as String"), MEMBER(kindBoolean, "Kind(x as Boolean) as String"),
    MEMBER(kindBase, "Kind(x as TestBase) as String"), MEMBER(kindDerived, "Kind(x as TestDerived) as String"),
    MEMBER(mixed, "Mixed(a as Int32, b as Double, c as Single, d as Boolean, e as Int64, f as String, g as TestBase, "
                  "h as Integer) as String"),
    MEMBER(defaults, "Defaults(a as Integer = Answer, s as String = \"hi, there\", d as Double = 1.5, "
                     "b as Boolean = true, o as TestBase = nil) as String"),
    MEMBER(makeDerived, "MakeDerived() as TestDerived"), MEMBER(self_, "Self as TestBase"),
    MEMBER(fail, "Fail(className as String, message as String)"), MEMBER(failWithResult, "FailWithResult() as Integer"),
    MEMBER(throwPlatform, "ThrowPlatform()"), MEMBER(setItem, "Item(index as Integer, assigns value as String)"),
    {fn(&getSlot), fn(&setSlot), "Slot(index as Integer) as Integer", 4, 0, 0},
    MEMBER(stringInfo, "StringInfo(s as String) as String"),
    MEMBER(convert, "Convert(s as String, encoding as Integer) as String"),
    MEMBER(retag, "Retag(s as String, encoding as Integer) as String"),
    MEMBER(bytesIn, "BytesIn(s as String, encoding as Integer) as MemoryBlock"),
    MEMBER(rawWords, "RawWords(s as String) as String"),
    MEMBER(platformLength, "PlatformLength(s as String) as Integer"),
    MEMBER(isA, "IsA(o as Object, className as String) as Boolean"),
    MEMBER(readMessage, "ReadMessage(e as RuntimeException) as String"),
    MEMBER(readNumbers, "ReadNumbers(o as TestBase) as Integer"), MEMBER(names, "Names(count as Integer) as String()"),
    MEMBER(sumArray, "SumArray(values() as Integer) as Integer"),
    MEMBER(joinStrings, "JoinStrings(items() as String) as String"),
    MEMBER(doubles, "Doubles(a as Double, b as Double) as Double()"),
    MEMBER(blockSum, "BlockSum(m as MemoryBlock) as Integer"),
    MEMBER(makeBlock, "MakeBlock(size as Integer) as MemoryBlock"),
    MEMBER(blockMembers, "BlockMembers(m as MemoryBlock) as Integer"),
    MEMBER(makeFragile, "MakeFragile() as TestFragile"),
};

Method gBaseShared[] = {
    MEMBER(sharedLog, "Log() as String"), MEMBER(clearLog, "ClearLog()"),
    MEMBER(hostVersion, "HostVersion() as Double"), MEMBER(layout, "Layout() as Integer"),
    MEMBER(twice, "Twice(x as Integer) as Integer"), MEMBER(twiceDouble, "Twice(x as Double) as Double"),
    MEMBER(recordOffset, "RecordOffset(which as Integer) as Integer"),
    MEMBER(missing, "Missing(name as String) as Boolean"), MEMBER(armFragile, "ArmFragile(on as Boolean)"),
};

REALconstant gBaseConstants[] = {
    {"Answer=42", 0, 0, 0, 0}, {"Pi as Double = 3.25", 0, 0, 0, 0}, {"Greeting = \"hello\"", 0, 0, 0, 0},
    {"Enabled as Boolean = true", 0, 0, 0, 0},
};

Method gDerivedMethods[] = {
    MEMBER(derivedConstructorMethod, "Constructor()"), MEMBER(kindDerivedOverride, "Kind(x as TestDerived) as String"),
    MEMBER(extra, "Extra() as Integer"),
};

Method gLeafMethods[] = {
    MEMBER(leafConstructorMethod, "Constructor(start as Integer)"),
    MEMBER(leafConstructorText, "Constructor(text as String)"),
};

// An event record table, carried to see that strides are honoured.
REALevent gBaseEvents[] = {{"Changed()", 0, 0, nullptr}};

// A class record in layout 12; what differs between the classes is filled in after.
ClassDefinition record(const char* name, const char* superName = nullptr, void* constructor = nullptr,
                       void* destructor = nullptr, uintptr_t dataSize = 0) {
  ClassDefinition cls{};
  cls.version = 12;
  cls.name = name;
  cls.superName = superName;
  cls.dataSize = dataSize;
  cls.constructor = constructor;
  cls.destructor = destructor;
  cls.mFlags = 4;
  return cls;
}

// Points a record's table and count words at a static table.
template <class T, size_t N>
void table(T*& records, uintptr_t& count, T (&entries)[N]) { records = entries; count = N; }

void setUpClasses() {
  gBaseClass = record("TestBase", nullptr, fn(&baseConstructor), fn(&baseDestructor), sizeof(BaseData));
  table(gBaseClass.properties, gBaseClass.propertyCount, gBaseProperties);
  table(gBaseClass.methods, gBaseClass.methodCount, gBaseMethods);
  table(gBaseClass.events, gBaseClass.eventCount, gBaseEvents);
  gBaseClass.attributeCount = 3;  // words 16-17 are cleared in layout 9
  table(gBaseClass.constants, gBaseClass.constantCount, gBaseConstants);
  table(gBaseClass.sharedMethods, gBaseClass.sharedMethodCount, gBaseShared);
  gDerivedClass = record("TestDerived", "TestBase", fn(&derivedConstructor), fn(&derivedDestructor), sizeof(DerivedData));
  table(gDerivedClass.methods, gDerivedClass.methodCount, gDerivedMethods);
  gLeafClass = record("TestLeaf", "TestDerived", fn(&leafConstructor), fn(&leafDestructor));
  table(gLeafClass.methods, gLeafClass.methodCount, gLeafMethods);
  gFragileClass = record("TestFragile", nullptr, fn(&fragileConstructor), fn(&fragileDestructor));
  gThreadsClass = record("TestThreads");
  table(gThreadsClass.sharedMethods, gThreadsClass.sharedMethodCount, gThreadsShared);
  gHandOverClass = record("TestHandOver");
  table(gHandOverClass.sharedMethods, gHandOverClass.sharedMethodCount, gHandOverShared);
}

// Layout 9: 25 words with narrower member records, copied over the static record.
uintptr_t* narrowed(const void* records, uintptr_t count, size_t words, size_t fromWords) {
  if (!records || !count) return nullptr;
  auto* out = static_cast<uintptr_t*>(std::calloc(count, words * sizeof(uintptr_t)));
  auto* in = static_cast<const uintptr_t*>(records);
  for (uintptr_t i = 0; i < count; ++i) std::memcpy(out + i * words, in + i * fromWords, words * sizeof(uintptr_t));
  return out;
}

void registerClass(ClassDefinition& cls) {
  auto registerRecord = entry<void (*)(void*)>("PluginRegisterClass");
  if (!registerRecord) return;
  if (gLayout > 9) {
    cls.version = static_cast<uintptr_t>(gLayout);
    registerRecord(&cls);
    return;
  }
  uintptr_t words[25] = {};
  std::memcpy(words, &cls, 7 * sizeof(uintptr_t));
  words[0] = 9;
  // Each member table: the word of its pointer (its count follows), and its records' widths in
  // layout 9 and in layout 12.
  const struct { size_t at; const void* records; uintptr_t count; size_t words, fromWords; } tables[] = {
      {7, cls.properties, cls.propertyCount, 10, 12},   {9, cls.methods, cls.methodCount, 4, 6},
      {11, cls.events, cls.eventCount, 2, 4},           {18, cls.constants, cls.constantCount, 3, 5},
      {21, cls.sharedProperties, cls.sharedPropertyCount, 10, 12},
      {23, cls.sharedMethods, cls.sharedMethodCount, 4, 6}};
  for (const auto& t : tables) {
    words[t.at] = reinterpret_cast<uintptr_t>(narrowed(t.records, t.count, t.words, t.fromWords));
    words[t.at + 1] = t.count;
  }
  words[13] = reinterpret_cast<uintptr_t>(cls.eventInstances);
  words[14] = cls.eventInstanceCount;
  words[15] = reinterpret_cast<uintptr_t>(cls.interfaces);
  words[20] = cls.mFlags;
  std::memcpy(&cls, words, sizeof words);
  registerRecord(&cls);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(void* (*resolver)(const char*)) {
  gResolver = resolver;
  auto registerVersion = entry<void (*)(int32_t)>("RegisterPluginVersion");
  auto getVersion = entry<double (*)()>("REALGetRBVersion");
  if (getVersion) gVersion = getVersion();
  gLayout = gVersion >= 2013.03 ? 12 : gVersion >= 2013.0 ? 11 : gVersion >= 2012.0 ? 10 : 9;
  if (registerVersion) registerVersion(gLayout);
  setUpClasses();
  registerClass(gThreadsClass);
  registerClass(gHandOverClass);
  registerClass(gFragileClass);
  registerClass(gBaseClass);
  registerClass(gDerivedClass);
  registerClass(gLeafClass);
  log("main");
}
