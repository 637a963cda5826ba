// Host exceptions: the built-in class RuntimeException (Message, ErrorNumber) and its
// subclasses. A plugin raises one with "RuntimeRaiseException"; it stays pending until
// the plugin function returns, and the call API then throws it to host code as
// HostException.
#include "runtime_private.h"

#include "types.h"

#include <cstring>

namespace host {

namespace {

constexpr intptr_t kMessageOffset = 0;
constexpr intptr_t kErrorNumberOffset = sizeof(void*);
void* const kMarker = reinterpret_cast<void*>(intptr_t(-1));

}  // namespace

void installExceptionClasses(Runtime::Impl& impl) {
  ClassInfo* base = impl.addBuiltInClass("RuntimeException", "", 2 * sizeof(void*));
  PropertyInfo message;
  message.name = "Message";
  message.type = "String";
  message.getter = message.setter = kMarker;
  message.param = kMessageOffset;
  PropertyInfo number;
  number.name = "ErrorNumber";
  number.type = "Integer";
  number.getter = number.setter = kMarker;
  number.param = kErrorNumberOffset;
  base->properties = {message, number};
  impl.runtimeExceptionClass = base;
  for (const char* name : {"NilObjectException", "IllegalCastException", "UnsupportedOperationException",
                           "OutOfMemoryException", "OutOfBoundsException", "IOException",
                           "KeyNotFoundException", "InvalidArgumentException", "TypeMismatchException",
                           "UnsupportedFormatException", "StackOverflowException", "DivisionByZeroException",
                           "FunctionNotFoundException", "IllegalLockingException", "InvalidParentException",
                           "RegExException", "XMLException", "JSONException", "EndException", "ThreadEndException"})
    impl.addBuiltInClass(name, "RuntimeException", 0);
}

void Runtime::Impl::raise(ObjectHeader* exception) {
  if (!isLiveObject(exception)) return;
  lockObject(exception);
  ObjectHeader* previous = pendingException;
  pendingException = exception;  // the latest raise wins, as in host code
  if (previous) unlockObject(previous);
}

void Runtime::Impl::raise(const std::string& className, const std::string& message, int64_t errorNumber) {
  ClassInfo* cls = findClass(className);
  if (!cls || !cls->isA(runtimeExceptionClass)) cls = runtimeExceptionClass;
  ObjectRef exception = ObjectRef::adopt(instantiate(cls));
  if (!exception) return;
  unsigned char* data = instanceData(exception.get(), runtimeExceptionClass);
  Value text = Value::ofString(StringRef::adopt(newString(message.data(), message.size(), kEncodingUTF8)));
  writeField(*this, hostType("String"), data + kMessageOffset, text);
  std::memcpy(data + kErrorNumberOffset, &errorNumber, sizeof errorNumber);
  raise(exception.get());
}

void Runtime::Impl::throwPending() {
  if (!pendingException) return;
  ObjectRef exception = ObjectRef::adopt(pendingException);
  pendingException = nullptr;
  ObjectHeader* object = exception.get();
  std::string message;
  int64_t errorNumber = 0;
  if (object->cls->isA(runtimeExceptionClass)) {
    unsigned char* data = instanceData(object, runtimeExceptionClass);
    StringObject* text = nullptr;
    std::memcpy(&text, data + kMessageOffset, sizeof text);
    message = utf8Of(text);
    std::memcpy(&errorNumber, data + kErrorNumberOffset, sizeof errorNumber);
  }
  std::string className = object->cls->name;
  throw HostException(std::move(exception), std::move(className), std::move(message), errorNumber);
}

namespace {

void runtimeRaiseException(ObjectHeader* exception) {
  if (Runtime::Impl* impl = currentImpl()) impl->raise(exception);
}

}  // namespace

void addExceptionEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"RuntimeRaiseException", guardedEntryPoint<&runtimeRaiseException>("RuntimeRaiseException")});
}

}  // namespace host
