// MemoryBlock: a counted host object holding a zero-filled byte buffer and its size.
// Plugins make and read blocks through "newMemoryBlock", "memoryBlockGetPtr" and
// "memoryBlockGetSize"; host code uses the members (Size, LittleEndian, Byte, the typed
// values Int8Value ... DoubleValue, StringValue, CString, Left, Right, Mid), which are
// native functions of the host.
#include "native_members.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace host {

namespace {

MemoryBlockData* blockOf(Runtime& runtime, const Value& self) {
  return self.kind == Value::Kind::Object ? runtime.impl().memoryBlockData(self.object.get()) : nullptr;
}

// Checks that [offset, offset + length) lies inside the block; raises when it does not.
bool inRange(Runtime& runtime, MemoryBlockData* block, int64_t offset, int64_t length, const char* member) {
  if (block && offset >= 0 && length >= 0 && offset <= block->size && length <= block->size - offset) return true;
  runtime.impl().raise("OutOfBoundsException", std::string("MemoryBlock.") + member + ": offset " +
                                                   std::to_string(offset) + " is outside the block");
  return false;
}

}  // namespace

Value typedValueOf(uint64_t raw, int bytes, Value::Kind kind) {
  Value out;
  out.kind = kind;
  const int shift = 64 - 8 * bytes;
  switch (kind) {
    case Value::Kind::Single: { float f; std::memcpy(&f, &raw, 4); out.real = f; break; }
    case Value::Kind::Double: std::memcpy(&out.real, &raw, 8); break;
    case Value::Kind::Boolean: out.boolean = raw != 0; break;
    case Value::Kind::Int32:
    case Value::Kind::Int64: out.integer = shift ? static_cast<int64_t>(raw << shift) >> shift : static_cast<int64_t>(raw); break;
    default: out.integer = static_cast<int64_t>(raw); break;
  }
  return out;
}

uint64_t rawOfTypedValue(const Value& v, Value::Kind kind) {
  const bool real = v.kind == Value::Kind::Double || v.kind == Value::Kind::Single;
  uint64_t raw = 0;
  if (kind == Value::Kind::Single) {
    const float f = static_cast<float>(real ? v.real : double(v.integer));
    std::memcpy(&raw, &f, 4);
  } else if (kind == Value::Kind::Double) {
    const double d = real ? v.real : double(v.integer);
    std::memcpy(&raw, &d, 8);
  } else if (kind == Value::Kind::Boolean) {
    raw = v.kind == Value::Kind::Boolean ? v.boolean : v.integer != 0;
  } else {
    raw = static_cast<uint64_t>(real ? static_cast<int64_t>(v.real) : v.integer);
  }
  return raw;
}

bool resizeMemoryBlock(MemoryBlockData* block, intptr_t size) {
  if (size < 0) return false;
  auto* bytes = static_cast<unsigned char*>(std::realloc(block->bytes, size_t(size) + 1));
  if (!bytes) return false;
  if (size > block->size) std::memset(bytes + block->size, 0, size_t(size - block->size));
  block->bytes = bytes;
  block->size = size;
  return true;
}

namespace {

// The typed values of a block, read and written at a byte offset in the block's byte
// order: Int8Value ... UInt64Value, SingleValue, DoubleValue, BooleanValue, and the
// older names Short, UShort and Long.
struct TypedValue {
  const char* declaration;
  int bytes;
  Value::Kind kind;
};

const TypedValue kTypedValues[] = {
    {"Int8Value(offset as Integer) as Int8", 1, Value::Kind::Int32},
    {"UInt8Value(offset as Integer) as UInt8", 1, Value::Kind::UInt32},
    {"Int16Value(offset as Integer) as Int16", 2, Value::Kind::Int32},
    {"Short(offset as Integer) as Int16", 2, Value::Kind::Int32},
    {"UInt16Value(offset as Integer) as UInt16", 2, Value::Kind::UInt32},
    {"UShort(offset as Integer) as UInt16", 2, Value::Kind::UInt32},
    {"Int32Value(offset as Integer) as Int32", 4, Value::Kind::Int32},
    {"Long(offset as Integer) as Int32", 4, Value::Kind::Int32},
    {"UInt32Value(offset as Integer) as UInt32", 4, Value::Kind::UInt32},
    {"Int64Value(offset as Integer) as Int64", 8, Value::Kind::Int64},
    {"UInt64Value(offset as Integer) as UInt64", 8, Value::Kind::UInt64},
    {"SingleValue(offset as Integer) as Single", 4, Value::Kind::Single},
    {"DoubleValue(offset as Integer) as Double", 8, Value::Kind::Double},
    {"BooleanValue(offset as Integer) as Boolean", 1, Value::Kind::Boolean},
};

// Copies n bytes, reversed when the block is big-endian (this host is little-endian).
void copyOrdered(const MemoryBlockData* block, void* to, const void* from, int n) {
  std::memcpy(to, from, size_t(n));
  if (block->bigEndian) std::reverse(static_cast<unsigned char*>(to), static_cast<unsigned char*>(to) + n);
}

void installTypedValue(ClassInfo* cls, const TypedValue& typed) {
  const std::string member = Declaration::parse(typed.declaration).name;
  auto get = [typed, member](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    MemoryBlockData* block = blockOf(runtime, self);
    uint64_t raw = 0;
    if (inRange(runtime, block, args.at(0).integer, typed.bytes, member.c_str())) copyOrdered(block, &raw, block->bytes + args[0].integer, typed.bytes);
    return typedValueOf(raw, typed.bytes, typed.kind);
  };
  auto set = [typed, member](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    MemoryBlockData* block = blockOf(runtime, self);
    const uint64_t raw = rawOfTypedValue(args.at(1), typed.kind);
    if (inRange(runtime, block, args.at(0).integer, typed.bytes, member.c_str())) copyOrdered(block, block->bytes + args[0].integer, &raw, typed.bytes);
    return Value::nil();
  };
  cls->methods.push_back(nativeMember(typed.declaration, get, set));
}

}  // namespace

void installMemoryBlockClass(Runtime::Impl& impl) {
  ClassInfo* cls = impl.addBuiltInClass("MemoryBlock", "", sizeof(MemoryBlockData));
  impl.memoryBlockClass = cls;
  cls->nativeConstructor = [](Runtime& runtime, ObjectHeader* object) {
    MemoryBlockData* block = runtime.impl().memoryBlockData(object);
    block->bytes = static_cast<unsigned char*>(std::calloc(1, 1));
    block->size = 0;
    block->bigEndian = false;
  };
  cls->nativeDestructor = [](Runtime& runtime, ObjectHeader* object) {
    MemoryBlockData* block = runtime.impl().memoryBlockData(object);
    std::free(block->bytes);
    block->bytes = nullptr;
  };

  PropertyInfo size;
  size.name = "Size";
  size.type = "Integer";
  size.nativeGetter = [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    MemoryBlockData* block = blockOf(runtime, self);
    return Value::ofInteger(block ? block->size : 0);
  };
  size.nativeSetter = [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    MemoryBlockData* block = blockOf(runtime, self);
    if (block && !resizeMemoryBlock(block, args.at(0).integer))
      runtime.impl().raise("OutOfMemoryException", "MemoryBlock.Size cannot be " + std::to_string(args.at(0).integer));
    return Value::nil();
  };
  cls->properties.push_back(size);

  cls->methods.push_back(nativeMember("Constructor(size as Integer)", [](Runtime& runtime, const Value& self,
                                                                           std::vector<Value>& args) {
    MemoryBlockData* block = blockOf(runtime, self);
    if (block && !resizeMemoryBlock(block, args.at(0).integer))
      runtime.impl().raise("OutOfMemoryException", "MemoryBlock of " + std::to_string(args.at(0).integer) + " bytes");
    return Value::nil();
  }));

  cls->methods.push_back(nativeMember(
      "Byte(offset as Integer) as Integer",
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        MemoryBlockData* block = blockOf(runtime, self);
        if (!inRange(runtime, block, args.at(0).integer, 1, "Byte")) return Value::ofInteger(0);
        return Value::ofInteger(block->bytes[args[0].integer]);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        MemoryBlockData* block = blockOf(runtime, self);
        if (inRange(runtime, block, args.at(0).integer, 1, "Byte"))
          block->bytes[args[0].integer] = static_cast<unsigned char>(args.at(1).integer);
        return Value::nil();
      }));

  addNativeProperty(
      cls, "LittleEndian", "Boolean",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        MemoryBlockData* block = blockOf(runtime, self);
        return Value::ofBoolean(!block || !block->bigEndian);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        if (MemoryBlockData* block = blockOf(runtime, self)) block->bigEndian = !args.at(0).boolean;
        return Value::nil();
      });
  for (const TypedValue& typed : kTypedValues) installTypedValue(cls, typed);

  cls->methods.push_back(nativeMember(
      "CString(offset as Integer) as String",
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        MemoryBlockData* block = blockOf(runtime, self);
        if (!inRange(runtime, block, args.at(0).integer, 0, "CString")) return Value::ofString({});
        const char* start = reinterpret_cast<const char*>(block->bytes) + args[0].integer;
        const void* nul = std::memchr(start, 0, size_t(block->size - args[0].integer));
        const size_t length = nul ? size_t(static_cast<const char*>(nul) - start) : size_t(block->size - args[0].integer);
        return runtime.string(std::string_view(start, length), kEncodingUnknown);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        MemoryBlockData* block = blockOf(runtime, self);
        const std::string bytes = runtime.bytes(args.at(1));
        if (inRange(runtime, block, args.at(0).integer, int64_t(bytes.size()) + 1, "CString"))
          std::memcpy(block->bytes + args[0].integer, bytes.c_str(), bytes.size() + 1);
        return Value::nil();
      }));

  // Left, Right and Mid: new blocks holding a copy of those bytes.
  auto part = [](Runtime& runtime, const Value& self, int64_t offset, int64_t length, const char* member) {
    MemoryBlockData* block = blockOf(runtime, self);
    if (!inRange(runtime, block, offset, length, member)) return Value::nil();
    return runtime.memoryBlock(block->bytes + offset, size_t(length));
  };
  addNativeMethod(cls, "Left(length as Integer) as MemoryBlock", [part](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    return part(runtime, self, 0, args.at(0).integer, "Left");
  });
  addNativeMethod(cls, "Right(length as Integer) as MemoryBlock", [part](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    MemoryBlockData* block = blockOf(runtime, self);
    return part(runtime, self, (block ? block->size : 0) - args.at(0).integer, args[0].integer, "Right");
  });
  addNativeMethod(cls, "Mid(offset as Integer, length as Integer = -1) as MemoryBlock",
                  [part](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    MemoryBlockData* block = blockOf(runtime, self);
                    const int64_t offset = args.at(0).integer, rest = (block ? block->size : 0) - offset;
                    return part(runtime, self, offset, args.at(1).integer < 0 ? rest : args[1].integer, "Mid");
                  });

  cls->methods.push_back(nativeMember(
      "StringValue(offset as Integer, length as Integer) as String",
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        MemoryBlockData* block = blockOf(runtime, self);
        if (!inRange(runtime, block, args.at(0).integer, args.at(1).integer, "StringValue")) return Value::ofString({});
        return runtime.string(std::string_view(reinterpret_cast<char*>(block->bytes) + args[0].integer,
                                               size_t(args[1].integer)),
                              kEncodingUnknown);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        MemoryBlockData* block = blockOf(runtime, self);
        std::string bytes = runtime.bytes(args.at(2));
        int64_t length = std::min<int64_t>(args.at(1).integer, int64_t(bytes.size()));
        if (inRange(runtime, block, args.at(0).integer, args[1].integer, "StringValue"))
          std::memcpy(block->bytes + args[0].integer, bytes.data(), size_t(length));
        return Value::nil();
      }));
}

MemoryBlockData* Runtime::Impl::memoryBlockData(ObjectHeader* block) const {
  if (!isLiveObject(block) || !block->cls->isA(memoryBlockClass)) return nullptr;
  return reinterpret_cast<MemoryBlockData*>(instanceData(block, memoryBlockClass));
}

ObjectHeader* Runtime::Impl::newMemoryBlock(intptr_t size) {
  if (size < 0) return nullptr;
  ObjectHeader* block = instantiate(memoryBlockClass);
  if (!block) return nullptr;
  if (!resizeMemoryBlock(memoryBlockData(block), size)) {
    unlockObject(block);
    return nullptr;
  }
  return block;
}

Value Runtime::memoryBlock(const void* bytes, size_t size) {
  ObjectRef block = ObjectRef::adopt(impl_->newMemoryBlock(intptr_t(size)));
  if (!block) throw std::bad_alloc();
  if (size && bytes) std::memcpy(impl_->memoryBlockData(block.get())->bytes, bytes, size);
  return Value::ofObject(std::move(block));
}

void* Runtime::memoryBlockPointer(const Value& block) const {
  MemoryBlockData* data = block.kind == Value::Kind::Object ? impl_->memoryBlockData(block.object.get()) : nullptr;
  return data ? data->bytes : nullptr;
}

std::string Runtime::memoryBlockBytes(const Value& block) const {
  if (block.kind != Value::Kind::Object) return std::string();
  MemoryBlockData* data = impl_->memoryBlockData(block.object.get());
  if (!data) return std::string();
  return std::string(reinterpret_cast<const char*>(data->bytes), size_t(data->size));
}

namespace {

// The size is read as 32 bits, so int and pointer-sized callers agree.
ObjectHeader* newMemoryBlockEntry(int32_t size) {
  Runtime::Impl* impl = currentImpl();
  return impl ? impl->newMemoryBlock(size) : nullptr;
}

void* memoryBlockGetPtr(ObjectHeader* block) {
  Runtime::Impl* impl = currentImpl();
  MemoryBlockData* data = impl ? impl->memoryBlockData(block) : nullptr;
  return data ? data->bytes : nullptr;
}

intptr_t memoryBlockGetSize(ObjectHeader* block) {
  Runtime::Impl* impl = currentImpl();
  MemoryBlockData* data = impl ? impl->memoryBlockData(block) : nullptr;
  return data ? data->size : 0;
}

}  // namespace

void addMemoryBlockEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"newMemoryBlock", guardedEntryPoint<&newMemoryBlockEntry>("newMemoryBlock")});
  table.push_back({"memoryBlockGetPtr", guardedEntryPoint<&memoryBlockGetPtr>("memoryBlockGetPtr")});
  table.push_back({"memoryBlockGetSize", guardedEntryPoint<&memoryBlockGetSize>("memoryBlockGetSize")});
}

}  // namespace host
