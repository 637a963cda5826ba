// The host runtime: what the Xojo runtime is to a plugin. It loads plugin libraries,
// answers their entry points by name, keeps the classes they register, and lets host
// programs (tests, the qvr command) create instances and call members by declaration.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

struct ClassInfo;
struct ObjectHeader;
struct StringObject;
class Runtime;

// Host string encodings (the platform's CFStringEncoding codes).
enum Encoding : uint32_t {
  kEncodingMacRoman = 0,
  kEncodingUTF16 = 0x100,
  kEncodingASCII = 0x600,
  kEncodingUTF8 = 0x08000100,
  kEncodingUnknown = 0xFFFF,
};

enum class AppKind { Desktop, Console, Web };

// Element type codes of "RuntimeArrayCreateSingleDimBoundedArray". Element sizes on
// this host: Integer, String and Object pointer-sized; Int32 and Single 4 bytes;
// Int64 and Double 8 bytes; Boolean 1 byte.
enum ArrayElementType : int32_t {
  kArrayInteger = 0,
  kArrayInt32 = 1,
  kArrayDouble = 2,
  kArrayString = 3,
  kArrayObject = 4,
  kArrayBoolean = 5,
  kArraySingle = 6,
  kArrayInt64 = 7,
  kArrayDate = 8,  // Date objects
};

// A host string, word by word as plugins of older hosts read it: the reference count,
// a buffer whose text starts at its second byte (NUL-terminated), the encoding code and
// the byte length.
struct StringObject {
  intptr_t refCount;
  char* buffer;
  uintptr_t encoding;
  uintptr_t length;
  const char* text() const { return buffer + 1; }
};
static_assert(sizeof(StringObject) == 4 * sizeof(void*), "four pointer-sized words");

// The knobs a test or a host program sets before the plugins load.
struct Options {
  // What "REALGetRBVersion" answers; nullopt makes that entry point missing.
  std::optional<double> version = 2013.03;
  // Entry-point names the resolver answers with null, as an older host would.
  std::set<std::string> missingEntryPoints;
  AppKind kind = AppKind::Desktop;
  // Load the sibling plugin (before the image plugin) in loadStandardPlugins().
  bool siblings = true;
  // What Gestalt answers for 'sys1' and 'sys2' (set for the platform through
  // the QVR_SYSTEM_VERSION environment variable before any plugin loads).
  int systemMajor = 10;
  int systemMinor = 9;
  // Bits per pixel of the bitmap context behind new desktop Pictures: 32, or 24 (R, G,
  // B) or 16 (grey and alpha) for a context that plugins must refuse.
  int pictureBitsPerPixel = 32;
  // Whether Graphics answers "REALLoadObjectMethod" for its Integer DrawPicture.
  bool drawPictureLoadable = true;
};

// What plugins did to one Picture through its entry points.
struct PictureCounts {
  size_t descriptionLocks = 0;    // successful "REALLockPictureDescription"/"lockPictureDescription"
  size_t descriptionUnlocks = 0;  // "unlockPictureDescription" calls
  size_t cacheClears = 0;         // "REALPictureClearCache" calls
};

// One counted reference to a host object or string; copying takes a reference,
// destruction drops it. A null reference is the host's Nil (or, for strings, "").
template <typename Counted>
class CountedRef {
 public:
  CountedRef() = default;
  // Adopts a reference the caller already owns (for example a function result).
  static CountedRef adopt(Counted* counted) {
    CountedRef ref;
    ref.counted_ = counted;
    return ref;
  }
  // Takes a new reference.
  static CountedRef retain(Counted* counted) {
    if (counted) lock(counted);
    return adopt(counted);
  }
  CountedRef(const CountedRef& other) : counted_(other.counted_) {
    if (counted_) lock(counted_);
  }
  CountedRef(CountedRef&& other) noexcept : counted_(other.counted_) { other.counted_ = nullptr; }
  CountedRef& operator=(CountedRef other) noexcept {
    std::swap(counted_, other.counted_);
    return *this;
  }
  ~CountedRef() {
    if (counted_) unlock(counted_);
  }
  Counted* get() const { return counted_; }
  // Gives up ownership without dropping the reference.
  Counted* release() {
    Counted* counted = counted_;
    counted_ = nullptr;
    return counted;
  }
  explicit operator bool() const { return counted_ != nullptr; }

 private:
  // Reference counting through the current runtime (a no-op when there is none).
  static void lock(Counted* counted);
  static void unlock(Counted* counted);
  Counted* counted_ = nullptr;
};

using ObjectRef = CountedRef<ObjectHeader>;
using StringRef = CountedRef<StringObject>;
template <> void CountedRef<ObjectHeader>::lock(ObjectHeader* object);
template <> void CountedRef<ObjectHeader>::unlock(ObjectHeader* object);
template <> void CountedRef<StringObject>::lock(StringObject* string);
template <> void CountedRef<StringObject>::unlock(StringObject* string);

// A host value as host code sees it. Results of plugin functions come back in the kind
// of their declared type: Integer, Int32 (also Int8, Int16), Int64, UInt32 (also UInt8,
// Byte, UInt16), UInt64, Boolean, Single, Double (also Currency), Color, Ptr, String, and
// Object for classes, arrays and Variants.
struct Value {
  enum class Kind { Nil, Integer, Int32, Int64, UInt32, UInt64, Boolean, Single, Double, String, Object, Ptr, Color };
  Kind kind = Kind::Nil;
  int64_t integer = 0;       // Integer, Int32, Int64, UInt32, UInt64 (bit pattern), Color
  double real = 0;           // Single, Double
  bool boolean = false;      // Boolean
  void* pointer = nullptr;   // Ptr
  StringRef string;          // String (null: the empty string)
  ObjectRef object;          // Object (null: Nil)

  static Value nil() { return {}; }
  static Value ofInteger(int64_t v);
  static Value ofInt32(int32_t v);
  static Value ofBoolean(bool v);
  static Value ofSingle(float v);
  static Value ofDouble(double v);
  static Value ofPtr(void* v);
  static Value ofColor(uint32_t rgb);
  static Value ofObject(ObjectRef o);
  static Value ofString(StringRef s);
  bool isNil() const { return kind == Kind::Nil || (kind == Kind::Object && !object); }
};

// A host exception that host code did not catch: thrown by the call API once the
// plugin function has returned with an exception pending.
class HostException : public std::runtime_error {
 public:
  HostException(ObjectRef exception, std::string className, std::string message, int64_t errorNumber);
  const ObjectRef& exception() const { return exception_; }
  const std::string& className() const { return className_; }
  const std::string& message() const { return message_; }
  int64_t errorNumber() const { return errorNumber_; }

 private:
  ObjectRef exception_;
  std::string className_, message_;
  int64_t errorNumber_;
};

// An Objective-C object thrown out of a plugin function (not converted to a host
// exception). The host reports it instead of crashing.
class ThrownObject : public std::runtime_error {
 public:
  ThrownObject(void* object, std::string className);
  void* object() const { return object_; }
  const std::string& className() const { return className_; }

 private:
  void* object_;
  std::string className_;
};

// A parsed declaration: "name(a as T, b as U = 0) as R".
struct Parameter {
  std::string name;
  std::string type;          // host type name as written ("integer", "NSImageQVR", "String")
  bool isArray = false;      // "a() as T"
  bool assigns = false;      // "assigns v as T"
  std::optional<std::string> defaultValue;
};

struct Declaration {
  std::string name;
  std::vector<Parameter> parameters;
  std::string returnType;    // empty: no result
  bool returnsArray = false;
  static Declaration parse(std::string_view text);  // throws std::invalid_argument
};

// A member function implemented by the host itself (built-in classes).
using NativeFunction = std::function<Value(Runtime&, const Value& self, std::vector<Value>& args)>;

struct MethodInfo {
  std::string declarationText;
  Declaration declaration;
  uintptr_t flags = 0;
  void* function = nullptr;        // plugin function, called through libffi
  void* setterFunction = nullptr;  // assignable methods
  NativeFunction native;           // built-in classes
  NativeFunction nativeSetter;
};

struct PropertyInfo {
  std::string group, name, type;
  uintptr_t flags = 0;
  void* getter = nullptr;          // (void*)-1: read instance data at param
  void* setter = nullptr;          // (void*)-1: write instance data at param
  intptr_t param = 0;
  NativeFunction nativeGetter;
  NativeFunction nativeSetter;
};

struct ConstantInfo {
  std::string declarationText, name, type, value;
};

struct ClassInfo {
  std::string name, superName;
  ClassInfo* superclass = nullptr;
  bool builtIn = false;            // a class of the host, not of a plugin
  bool definedByProgram = false;   // a class a host program defined (Runtime::defineClass)
  int layout = 0;                  // record layout version the class was registered with
  size_t dataSize = 0;             // instance data bytes of this class
  size_t dataOffset = 0;           // where this class's data starts in an object
  uintptr_t flags = 0;
  void* constructor = nullptr;
  void* destructor = nullptr;
  std::function<void(Runtime&, ObjectHeader*)> nativeConstructor, nativeDestructor;
  std::vector<PropertyInfo> properties, sharedProperties;
  std::vector<MethodInfo> methods, sharedMethods;
  std::vector<ConstantInfo> constants;
  // Handlers a program's class gives for the events its host superclass raises ("run":
  // Thread's Run), by lower-case name.
  std::map<std::string, NativeFunction> eventHandlers;
  // The registration record as it was handed over: its words (25 for layout 9,
  // 29 otherwise) and the byte sizes of the member records the host read it with.
  std::vector<uintptr_t> recordWords;
  size_t propertyRecordSize = 0, methodRecordSize = 0, constantRecordSize = 0;

  bool isA(const ClassInfo* other) const;
};

// Every host object begins with this header; instance data starts 24 bytes in.
// The second word belongs to the class: a host array keeps the pointer to its element
// storage there (plugins read it at byte offset 8); other objects leave it null.
struct ObjectHeader {
  ClassInfo* cls;
  void* classWord;
  intptr_t refCount;
};
static_assert(sizeof(ObjectHeader) == 24, "instance data begins 24 bytes into an object");

class Runtime {
 public:
  explicit Runtime(Options options = {});
  ~Runtime();
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  // The runtime of this process (one at a time), or null.
  static Runtime* current();
  const Options& options() const;

  // Loads a plugin library and calls its REALPluginMain with the resolver.
  void loadPlugin(const std::string& path);
  // The sibling plugin (when options().siblings) and then the image plugin, from
  // the folder that holds the host's own build (or $QVR_LIB_DIR).
  void loadStandardPlugins();
  static std::string libraryDirectory();

  // What the resolver hands a plugin for an entry-point name (null when missing).
  void* entryPoint(const std::string& name) const;

  // The layout version the last plugin passed to "RegisterPluginVersion".
  std::optional<int> registeredPluginVersion() const;

  // Classes in registration order, built-in classes first.
  std::vector<ClassInfo*> classes() const;
  ClassInfo* findClass(std::string_view name) const;  // case-insensitive, as the host language
  // A class a host program defines, as a subclass of superName (a class already known,
  // or "" for none), with dataSize bytes of instance data after its superclass's (at
  // dataOffset in each object). The program gives it its members and its native
  // constructor and destructor. A later program may define a class of the same name
  // again; the names of host and plugin classes are refused (std::invalid_argument).
  ClassInfo* defineClass(const std::string& name, const std::string& superName, size_t dataSize);

  // Instances and members. A member is named by its name (the overload is chosen by the
  // arguments, as the host language does) or by its exact declaration text (any member
  // string with "(" or a space; compared without case and spacing). newInstance runs the
  // class constructors root first, then the Constructor overload the arguments choose
  // (or the one whose declaration text is given); constructors are inherited as methods are. Calls throw
  // HostException for a pending host exception, ThrownObject for a thrown platform
  // object, and std::invalid_argument for a member or overload that does not exist.
  Value newInstance(std::string_view className, std::vector<Value> args = {}, std::string_view constructor = {});
  // Only the class constructors run: a subclass whose own Constructor calls its
  // superclass's Constructor as a method (host code's Super.Constructor) starts this way.
  Value newInstanceWithoutConstructor(std::string_view className);
  Value call(const Value& self, std::string_view member, std::vector<Value> args = {});
  Value callShared(std::string_view className, std::string_view member, std::vector<Value> args = {});
  Value get(const Value& self, std::string_view property);
  void set(const Value& self, std::string_view property, Value value);
  void assign(const Value& self, std::string_view member, std::vector<Value> args, Value value);
  Value constant(std::string_view className, std::string_view name);
  // A global function of the host (VarType, GetFolderItem, ...), the overload chosen by
  // the arguments as for members.
  Value callGlobal(std::string_view name, std::vector<Value> args = {});
  bool hasGlobal(std::string_view name) const;
  // Every global function's declaration (a host program's compiler types calls by them).
  const std::vector<MethodInfo>& globalFunctions() const;

  // Variants: a value boxed as a Variant parameter receives it (objects and Nil stay
  // themselves), and the value a Variant holds (any other value unchanged). Variant
  // parameters and properties box by themselves; Variant results come back boxed.
  Value variant(const Value& value);
  Value unboxed(const Value& value) const;

  // Strings.
  Value string(std::string_view bytes, uint32_t encoding = kEncodingUTF8);
  std::string bytes(const Value& string) const;    // the string's own bytes
  std::string utf8(const Value& string) const;     // converted to UTF-8
  uint32_t encoding(const Value& string) const;

  // MemoryBlocks.
  Value memoryBlock(const void* bytes, size_t size);
  std::string memoryBlockBytes(const Value& block) const;
  void* memoryBlockPointer(const Value& block) const;  // where its bytes are now (null for none)

  // FolderItems: a new one for a native path (made absolute; "." and ".." resolved
  // without following links), and the path one names ("" for anything else).
  Value folderItem(const std::string& path);
  std::string folderItemPath(const Value& item) const;

  // One-dimensional host arrays.
  Value array(ArrayElementType type, const std::vector<Value>& elements = {});
  std::vector<Value> arrayElements(const Value& array) const;

  // The class of an object value (null for Nil and non-objects).
  ClassInfo* classOf(const Value& value) const;

  // Pictures: make every description lock of this picture fail (a test knob), and
  // what plugins did to it so far (zeros for anything that is not a Picture).
  void refusePictureDescription(const Value& picture);
  PictureCounts pictureCounts(const Value& picture) const;

  // Exceptions pending in the host (raised by a plugin, not yet thrown).
  bool exceptionPending() const;

  // Live host objects and strings: a test proves a call left nothing behind.
  size_t liveObjects() const;
  size_t liveStrings() const;

  // Cooperative host threads. Each is an OS thread that runs only while it holds the one
  // baton; the thread that made the Runtime is the first host thread and holds it at
  // the start. "REALYieldToRB" (and yield() from host code) hands the baton to the next
  // unfinished host thread in the order they were started and waits for it to come
  // back. startThread returns the new thread's id; its body first runs at the next
  // yield. joinThread yields until that thread has finished, then rethrows whatever its
  // body threw. runThreadsUntil yields until done() holds (true), or until no other
  // host thread is left or maxYields yields have passed (then done() decides).
  // A Runtime being destroyed first runs the threads still going to their end.
  size_t startThread(std::function<void()> body);
  void yield();
  bool threadFinished(size_t id) const;
  size_t currentThread() const;      // the calling host thread's id: 0 for the first
  void joinThread(size_t id);
  bool runThreadsUntil(const std::function<bool()>& done, size_t maxYields = 1000000);
  size_t runningThreads() const;     // started and not yet finished (the first excluded)
  uint64_t yieldCount() const;       // yields so far, by plugins and host code alike
  // Entry points (and the resolver) refuse calls from threads that are not host
  // threads: each refusal is counted here, logged once per entry point, and answered
  // with the neutral result (null, 0, false).
  size_t foreignThreadCalls() const;
  static bool onHostThread();

  struct Impl;
  Impl& impl() { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace host
