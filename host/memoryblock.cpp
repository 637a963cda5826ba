// MemoryBlock: a counted host object holding a zero-filled byte buffer and its size.
// Plugins make and read blocks through "newMemoryBlock", "memoryBlockGetPtr" and
// "memoryBlockGetSize"; host code uses the members (Size, Byte, Int32Value,
// StringValue), which are native functions of the host.
#include "native_members.h"

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

bool resize(MemoryBlockData* block, intptr_t size) {
  if (size < 0) return false;
  auto* bytes = static_cast<unsigned char*>(std::realloc(block->bytes, size_t(size) + 1));
  if (!bytes) return false;
  if (size > block->size) std::memset(bytes + block->size, 0, size_t(size - block->size));
  block->bytes = bytes;
  block->size = size;
  return true;
}

}  // namespace

void installMemoryBlockClass(Runtime::Impl& impl) {
  ClassInfo* cls = impl.addBuiltInClass("MemoryBlock", "", sizeof(MemoryBlockData));
  impl.memoryBlockClass = cls;
  cls->nativeConstructor = [](Runtime& runtime, ObjectHeader* object) {
    MemoryBlockData* block = runtime.impl().memoryBlockData(object);
    block->bytes = static_cast<unsigned char*>(std::calloc(1, 1));
    block->size = 0;
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
    if (block && !resize(block, args.at(0).integer))
      runtime.impl().raise("OutOfMemoryException", "MemoryBlock.Size cannot be " + std::to_string(args.at(0).integer));
    return Value::nil();
  };
  cls->properties.push_back(size);

  cls->methods.push_back(nativeMember("Constructor(size as Integer)", [](Runtime& runtime, const Value& self,
                                                                           std::vector<Value>& args) {
    MemoryBlockData* block = blockOf(runtime, self);
    if (block && !resize(block, args.at(0).integer))
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

  cls->methods.push_back(nativeMember(
      "Int32Value(offset as Integer) as Int32",
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        MemoryBlockData* block = blockOf(runtime, self);
        int32_t v = 0;
        if (inRange(runtime, block, args.at(0).integer, 4, "Int32Value")) std::memcpy(&v, block->bytes + args[0].integer, 4);
        return Value::ofInt32(v);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        MemoryBlockData* block = blockOf(runtime, self);
        int32_t v = static_cast<int32_t>(args.at(1).integer);
        if (inRange(runtime, block, args.at(0).integer, 4, "Int32Value")) std::memcpy(block->bytes + args[0].integer, &v, 4);
        return Value::nil();
      }));

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
  if (!resize(memoryBlockData(block), size)) {
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
