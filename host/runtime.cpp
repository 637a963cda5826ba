// The runtime object itself: one per process at a time, owning the class table, the
// live-object bookkeeping and the built-in classes. Also the small value types of the
// public interface (Value, the counted references, the exceptions the call API throws).
#include "boundary.h"
#include "runtime_private.h"

#include "closures.h"
#include "threads.h"

#include <algorithm>
#include <cctype>

namespace host {

namespace {
Runtime* gCurrent = nullptr;
}

Runtime::Impl* currentImpl() { return gCurrent ? &gCurrent->impl() : nullptr; }

std::string lowerCase(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  // ASCII only, as the "C" locale's tolower, without a library call per character: names
  // are compared on every call a program makes.
  auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (lower(a[i]) != lower(b[i])) return false;
  return true;
}

// ---- references

template <>
void CountedRef<ObjectHeader>::lock(ObjectHeader* object) {
  if (auto* impl = currentImpl()) impl->lockObject(object);
}

template <>
void CountedRef<ObjectHeader>::unlock(ObjectHeader* object) {
  if (auto* impl = currentImpl()) impl->unlockObject(object);
}

template <>
void CountedRef<StringObject>::lock(StringObject* string) {
  if (auto* impl = currentImpl()) impl->lockString(string);
}

template <>
void CountedRef<StringObject>::unlock(StringObject* string) {
  if (auto* impl = currentImpl()) impl->unlockString(string);
}

// ---- values

Value Value::ofInteger(int64_t v) {
  Value value;
  value.kind = Kind::Integer;
  value.integer = v;
  return value;
}

Value Value::ofInt32(int32_t v) {
  Value value;
  value.kind = Kind::Int32;
  value.integer = v;
  return value;
}

Value Value::ofBoolean(bool v) {
  Value value;
  value.kind = Kind::Boolean;
  value.boolean = v;
  return value;
}

Value Value::ofSingle(float v) {
  Value value;
  value.kind = Kind::Single;
  value.real = v;
  return value;
}

Value Value::ofDouble(double v) {
  Value value;
  value.kind = Kind::Double;
  value.real = v;
  return value;
}

Value Value::ofPtr(void* v) {
  Value value;
  value.kind = Kind::Ptr;
  value.pointer = v;
  return value;
}

Value Value::ofColor(uint32_t rgb) {
  Value value;
  value.kind = Kind::Color;
  value.integer = rgb;
  return value;
}

Value Value::ofObject(ObjectRef o) {
  Value value;
  value.kind = Kind::Object;
  value.object = std::move(o);
  return value;
}

Value Value::ofString(StringRef s) {
  Value value;
  value.kind = Kind::String;
  value.string = std::move(s);
  return value;
}

// ---- exceptions thrown to host code

HostException::HostException(ObjectRef exception, std::string className, std::string message, int64_t errorNumber)
    : std::runtime_error(className + (message.empty() ? std::string() : ": " + message)),
      exception_(std::move(exception)),
      className_(std::move(className)),
      message_(std::move(message)),
      errorNumber_(errorNumber) {}

ThrownObject::ThrownObject(void* object, std::string className)
    : std::runtime_error("uncaught platform exception of class " + className),
      object_(object),
      className_(std::move(className)) {}

bool ClassInfo::isA(const ClassInfo* other) const {
  for (const ClassInfo* c = this; c; c = c->superclass)
    if (c == other) return true;
  return false;
}

// ---- the runtime

Runtime::Impl::Impl(Runtime& rt, Options opts) : runtime(rt), options(std::move(opts)) {}

Runtime::Impl::~Impl() = default;

ClassInfo* Runtime::Impl::findClass(std::string_view name) const {
  auto it = classByName.find(lowerCase(name));
  return it == classByName.end() ? nullptr : it->second;
}

ClassInfo* Runtime::Impl::addBuiltInClass(const std::string& name, const std::string& superName, size_t dataSize) {
  auto cls = std::make_unique<ClassInfo>();
  cls->name = name;
  cls->superName = superName;
  cls->builtIn = true;
  cls->dataSize = dataSize;
  cls->superclass = superName.empty() ? nullptr : findClass(superName);
  cls->dataOffset = cls->superclass ? cls->superclass->dataOffset + cls->superclass->dataSize : sizeof(ObjectHeader);
  ClassInfo* raw = cls.get();
  classByName[lowerCase(name)] = raw;
  classList.push_back(std::move(cls));
  return raw;
}

Runtime::Runtime(Options options) {
  if (gCurrent) throw std::logic_error("a host runtime already exists in this process");
  impl_ = std::make_unique<Impl>(*this, std::move(options));
  impl_->threadPool = qvr_host_pool_push();
  resetForeignThreadCalls();
  impl_->threads = std::make_unique<HostThreads>();
  impl_->closures = std::make_unique<ClosurePool>();
  gCurrent = this;
  publishSystemVersion(impl_->options);
  installExceptionClasses(*impl_);
  installMemoryBlockClass(*impl_);
  installDateClass(*impl_);
  installFolderItemClass(*impl_);
  installVariantClass(*impl_);
  installDictionaryClass(*impl_);
  installRandomClass(*impl_);
  installCollectionClass(*impl_);
  installThreadClass(*impl_);
  installThreadSynchronisation(*impl_);
  installIntrospection(*impl_);
  installBinaryStreamClass(*impl_);
  installPictureClasses(*impl_);
  installArrayClasses(*impl_);
  installApplicationClass(*impl_);
  installGlobalFunctions(*impl_);
  installTextEncodingClasses(*impl_);
  installTextStreamClasses(*impl_);
}

Runtime::~Runtime() {
  // Host threads still running end first, while the runtime they use is whole.
  try {
    impl_->threads->finishAll();
  } catch (...) {
  }
  // Plugins stay loaded for the life of the process; objects that host code still
  // holds are left alone, since plugin code may refer to them.
  if (impl_->pendingException) {
    ObjectHeader* pending = impl_->pendingException;
    impl_->pendingException = nullptr;
    try {
      impl_->unlockObject(pending);
    } catch (...) {
    }
  }
  qvr_host_pool_pop(impl_->threadPool);
  gCurrent = nullptr;
}

Runtime* Runtime::current() { return gCurrent; }

const Options& Runtime::options() const { return impl_->options; }

std::optional<int> Runtime::registeredPluginVersion() const { return impl_->registeredVersion; }

std::vector<ClassInfo*> Runtime::classes() const {
  std::vector<ClassInfo*> out;
  for (auto& c : impl_->classList)
    if (c->builtIn) out.push_back(c.get());
  for (auto& c : impl_->classList)
    if (!c->builtIn) out.push_back(c.get());
  return out;
}

ClassInfo* Runtime::findClass(std::string_view name) const { return impl_->findClass(name); }

ClassInfo* Runtime::defineClass(const std::string& name, const std::string& superName, size_t dataSize) {
  if (ClassInfo* existing = impl_->findClass(name); existing && !existing->definedByProgram)
    throw std::invalid_argument("\"" + name + "\" is already a class of the host");
  ClassInfo* cls = impl_->addBuiltInClass(name, superName, dataSize);
  cls->builtIn = false;
  cls->definedByProgram = true;
  return cls;
}

ClassInfo* Runtime::classOf(const Value& value) const {
  if (value.kind != Value::Kind::Object || !value.object) return nullptr;
  return value.object.get()->cls;
}

bool Runtime::exceptionPending() const { return impl_->pendingException != nullptr; }

size_t Runtime::liveObjects() const { return impl_->liveObjects.size(); }

size_t Runtime::liveStrings() const { return impl_->liveStrings.size(); }

}  // namespace host
