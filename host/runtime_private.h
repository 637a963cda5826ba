// The runtime's private state and the helpers its files share: object and string
// bookkeeping, the class table, the pending exception, the entry-point table. One
// Runtime exists at a time; the entry points that plugins call reach it through
// Runtime::current().
#pragma once

#include "host/runtime.h"

#include "entry_guard.h"

#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace host {

// The host's REALstringData record: five pointer-sized words.
struct StringData {
  void* data;
  uintptr_t length;
  uintptr_t encoding;
  uintptr_t reserved1, reserved2;
};

// Instance data of the built-in classes, at their data offset.
struct MemoryBlockData {
  unsigned char* bytes;
  intptr_t size;
  bool bigEndian;  // LittleEndian = False: typed values are read and written high byte first
};

struct ArrayData {
  int32_t elementType;
  size_t elementSize;
  intptr_t count;
  intptr_t capacity;
  // The element storage. Hosts up to 2013.9 also show it in the object's class word
  // (byte offset 8), where plugins of those hosts read it; later hosts leave that null.
  unsigned char* elements;
};

// A host function reached by declaration through "REALLoadGlobalMethod" and
// Runtime::callGlobal: a native member without a class.
using GlobalFunction = MethodInfo;

struct EntryPoint {
  const char* name;
  void* function;
};

class ClosurePool;
class HostThreads;

struct Runtime::Impl {
  explicit Impl(Runtime& runtime, Options opts);
  ~Impl();

  Runtime& runtime;
  Options options;
  std::optional<int> registeredVersion;

  // Classes, in registration order, and by lower-cased name.
  std::vector<std::unique_ptr<ClassInfo>> classList;
  std::map<std::string, ClassInfo*> classByName;
  ClassInfo* runtimeExceptionClass = nullptr;
  ClassInfo* memoryBlockClass = nullptr;
  ClassInfo* dateClass = nullptr;
  ClassInfo* folderItemClass = nullptr;
  ClassInfo* variantClass = nullptr;
  ClassInfo* dictionaryClass = nullptr;
  ClassInfo* binaryStreamClass = nullptr;
  ClassInfo* pictureClass = nullptr;
  ClassInfo* graphicsClass = nullptr;
  ClassInfo* rgbSurfaceClass = nullptr;
  ClassInfo* textEncodingClass = nullptr;
  ClassInfo* arrayClasses[9] = {};

  // Live objects and strings; entry points ignore pointers that are not in these sets.
  std::unordered_set<ObjectHeader*> liveObjects;
  std::unordered_set<ObjectHeader*> destroying;
  std::unordered_set<StringObject*> liveStrings;

  // The exception a plugin raised, holding one reference, until the call API throws it.
  ObjectHeader* pendingException = nullptr;

  std::vector<GlobalFunction> globals;
  std::unique_ptr<ClosurePool> closures;

  // The host threads and their baton (threads.cpp); made first, ended first.
  std::unique_ptr<HostThreads> threads;
  void* threadPool = nullptr;  // the main host thread's autorelease pool

  // --- classes (registration.cpp, runtime.cpp)
  ClassInfo* addBuiltInClass(const std::string& name, const std::string& superName, size_t dataSize);
  void registerClassRecord(uintptr_t* record);
  ClassInfo* findClass(std::string_view name) const;

  // --- objects (objects.cpp)
  ObjectHeader* allocateObject(ClassInfo* cls);
  // Allocates and runs the class constructors along the hierarchy, root first.
  // guardCalls: plugin constructors run inside the call boundary (calls from host code);
  // without it a platform exception goes on to the plugin that asked for the instance.
  ObjectHeader* instantiate(ClassInfo* cls, bool guardCalls = true);
  bool isLiveObject(const void* object) const;
  void lockObject(ObjectHeader* object);
  void unlockObject(ObjectHeader* object);
  unsigned char* instanceData(ObjectHeader* object, const ClassInfo* cls) const;

  // --- strings (strings.cpp)
  StringObject* newString(const void* bytes, size_t length, uint32_t encoding);
  bool isLiveString(const void* string) const;
  void lockString(StringObject* string);
  void unlockString(StringObject* string);
  // Converts bytes between encodings; unconvertible characters become '?'.
  static bool convertBytes(const std::string& in, uint32_t from, uint32_t to, std::string& out);
  std::string utf8Of(const StringObject* string) const;

  // --- exceptions (exceptions.cpp)
  void raise(ObjectHeader* exception);
  // Raises a new exception of the named built-in class with a message.
  void raise(const std::string& className, const std::string& message, int64_t errorNumber = 0);
  // Throws HostException when a plugin left one pending.
  void throwPending();

  // --- arrays (arrays.cpp)
  ObjectHeader* newArray(int32_t elementType, intptr_t upperBound);
  ArrayData* arrayData(ObjectHeader* array) const;  // null for non-arrays

  // --- memory blocks (memoryblock.cpp)
  ObjectHeader* newMemoryBlock(intptr_t size);
  MemoryBlockData* memoryBlockData(ObjectHeader* block) const;  // null for non-blocks

  // --- variants (variant.cpp)
  ObjectHeader* newVariant(const Value& value);  // one reference for the caller
};

// A value as a Variant parameter receives it: objects and Nil as they are, any other
// value boxed in a new Variant; and the value a Variant holds (other values unchanged).
Value boxedValue(Runtime::Impl& impl, const Value& value);
Value unboxedValue(Runtime::Impl& impl, const Value& value);
// What the host's VarType answers for a value (unboxed first).
int32_t variantType(Runtime::Impl& impl, const Value& value);

// Declarations compared as the host compares them: without case, and either by text
// without spacing or by name, parameter types (and, when asked, result type).
std::string squeezed(std::string_view declarationText);
bool sameSignature(const Declaration& a, const Declaration& b, bool compareResult);

// Lower-case ASCII copy, for names the host language compares without case.
std::string lowerCase(std::string_view text);
bool equalsIgnoringCase(std::string_view a, std::string_view b);

// A typed value (Int8 ... Double, Boolean) from its bytes in this machine's order, taking
// the value's byte count and the kind it has for host code; and the bytes of one.
Value typedValueOf(uint64_t raw, int bytes, Value::Kind kind);
uint64_t rawOfTypedValue(const Value& value, Value::Kind kind);
// A block's new size, zero-filling what it gains; false when memory runs out.
bool resizeMemoryBlock(MemoryBlockData* block, intptr_t size);
// A new Date showing a moment of the system clock in the local zone.
Value dateValue(Runtime& runtime, std::time_t moment);
// The LastErrorCode slot of a live FolderItem (null for anything else).
intptr_t* folderItemError(Runtime& runtime, const Value& item);

// The built-in classes, set up by each file that owns one.
void installExceptionClasses(Runtime::Impl& impl);
void installMemoryBlockClass(Runtime::Impl& impl);
void installDateClass(Runtime::Impl& impl);
void installFolderItemClass(Runtime::Impl& impl);
void installFolderItemFileMembers(Runtime::Impl& impl);
void installSpecialFolderClass(Runtime::Impl& impl);
void installArrayClasses(Runtime::Impl& impl);
void installApplicationClass(Runtime::Impl& impl);
void installGlobalFunctions(Runtime::Impl& impl);
void installTextEncodingClasses(Runtime::Impl& impl);
void installTextStreamClasses(Runtime::Impl& impl);
// Encodings (textencoding.cpp): the iconv name of a code the host knows, or null; a new
// TextEncoding for a code (Nil for one it does not know); the code of a TextEncoding
// (kEncodingUnknown for Nil).
const char* iconvNameOf(uint32_t code);
Value textEncodingValue(Runtime& runtime, uint32_t code);
uint32_t textEncodingCode(Runtime& runtime, const Value& encoding);
void installVariantClass(Runtime::Impl& impl);
void addVariantGlobals(Runtime::Impl& impl);
void installDictionaryClass(Runtime::Impl& impl);
void installRandomClass(Runtime::Impl& impl);
void installCollectionClass(Runtime::Impl& impl);
void installThreadClass(Runtime::Impl& impl);
void installThreadSynchronisation(Runtime::Impl& impl);
void installIntrospection(Runtime::Impl& impl);
void installBinaryStreamClass(Runtime::Impl& impl);
void installPictureClasses(Runtime::Impl& impl);

// The entry points each file offers to plugins; the resolver joins them.
void addRegistrationEntryPoints(std::vector<EntryPoint>& table);
void addObjectEntryPoints(std::vector<EntryPoint>& table);
void addStringEntryPoints(std::vector<EntryPoint>& table);
void addPlatformStringEntryPoints(std::vector<EntryPoint>& table);
void addExceptionEntryPoints(std::vector<EntryPoint>& table);
void addArrayEntryPoints(std::vector<EntryPoint>& table);
void addMemoryBlockEntryPoints(std::vector<EntryPoint>& table);
void addPropertyEntryPoints(std::vector<EntryPoint>& table);
void addLoadedMethodEntryPoints(std::vector<EntryPoint>& table);
void addThreadEntryPoints(std::vector<EntryPoint>& table);
void addFolderItemEntryPoints(std::vector<EntryPoint>& table);
void addVariantEntryPoints(std::vector<EntryPoint>& table);
void addPictureEntryPoints(std::vector<EntryPoint>& table);

// Sets QVR_SYSTEM_VERSION ("10.6") for the platform layer.
void publishSystemVersion(const Options& options);

// The resolver handed to REALPluginMain.
extern "C" void* hostResolveEntryPoint(const char* name);

// The runtime of this process, or null (entry points then give their neutral result).
Runtime::Impl* currentImpl();

}  // namespace host
