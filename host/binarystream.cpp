// BinaryStream: reads and writes the bytes of a file that a FolderItem names, or of a
// MemoryBlock (growing it as writes pass its end) or a String (read only), at a position
// the program can move: as bytes, or as typed values in the stream's byte order (high
// byte first unless LittleEndian). Opened with the shared Open (an existing file,
// read-only unless asked) or Create (a new file, or an existing one emptied when
// overwrite is True). Failures raise IOException with the path, what was tried and the
// system's reason, and ErrorNumber set to the system's error code.
#include "native_members.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace host {

namespace {

struct StreamData {
  int fd = -1;
  ObjectRef block;  // the MemoryBlock of a stream over memory
  bool open = false;
  bool writable = false;
  bool littleEndian = false;
  int64_t position = 0;
  std::string path;  // of a file; what the messages name for memory

  ~StreamData() {
    if (fd >= 0) ::close(fd);
  }
};

MemoryBlockData* memoryOf(Runtime& runtime, StreamData* stream) {
  return stream->block ? runtime.impl().memoryBlockData(stream->block.get()) : nullptr;
}

int64_t lengthOf(Runtime& runtime, StreamData* stream) {
  if (MemoryBlockData* memory = memoryOf(runtime, stream)) return memory->size;
  struct stat status;
  return stream->fd >= 0 && ::fstat(stream->fd, &status) == 0 ? int64_t(status.st_size) : 0;
}

// Up to count bytes at the position; -1 with errno set when the file cannot be read.
ssize_t readAt(Runtime& runtime, StreamData* stream, void* to, size_t count) {
  if (MemoryBlockData* memory = memoryOf(runtime, stream)) {
    const int64_t available = std::max<int64_t>(0, memory->size - stream->position);
    const size_t n = size_t(std::min<int64_t>(int64_t(count), available));
    if (n) std::memcpy(to, memory->bytes + stream->position, n);
    return ssize_t(n);
  }
  return count ? ::pread(stream->fd, to, count, stream->position) : 0;
}

// All bytes at the position; false with errno set when they cannot all be written.
bool writeAt(Runtime& runtime, StreamData* stream, const void* from, size_t count) {
  if (MemoryBlockData* memory = memoryOf(runtime, stream)) {
    const int64_t end = stream->position + int64_t(count);
    if (end > memory->size && !resizeMemoryBlock(memory, intptr_t(end))) {
      errno = ENOMEM;
      return false;
    }
    if (count) std::memcpy(memory->bytes + stream->position, from, count);
    return true;
  }
  size_t done = 0;
  while (done < count) {
    ssize_t wrote = ::pwrite(stream->fd, static_cast<const char*>(from) + done, count - done, stream->position + int64_t(done));
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote < 0) return false;
    done += size_t(wrote);
  }
  return true;
}

StreamData* streamOf(Runtime& runtime, const Value& self) {
  return boxedData<StreamData>(runtime, self, runtime.impl().binaryStreamClass);
}

void ioFailure(Runtime& runtime, const std::string& what, const std::string& path, int error) {
  runtime.impl().raise("IOException", what + " \"" + path + "\": " + std::strerror(error), error);
}

// The open stream of self, or null after raising IOException for a closed one.
StreamData* openStream(Runtime& runtime, const Value& self, const char* member) {
  StreamData* stream = streamOf(runtime, self);
  if (stream && stream->open) return stream;
  runtime.impl().raise("IOException", std::string("BinaryStream.") + member + ": the stream is closed");
  return nullptr;
}

// A new BinaryStream on the FolderItem's file, opened with the flags; Nil after raising.
Value openOn(Runtime& runtime, const Value& item, int flags, bool writable, const std::string& what) {
  std::string path = runtime.folderItemPath(item);
  if (item.isNil()) {
    runtime.impl().raise("NilObjectException", what + ": the FolderItem is Nil");
    return Value::nil();
  }
  int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
  if (fd < 0) {
    ioFailure(runtime, what + " cannot open", path, errno);
    return Value::nil();
  }
  struct stat status;
  if (::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode)) {
    ::close(fd);
    ioFailure(runtime, what + " cannot open", path, EISDIR);
    return Value::nil();
  }
  ObjectRef object = ObjectRef::adopt(runtime.impl().instantiate(runtime.impl().binaryStreamClass));
  StreamData* stream = object ? boxedData<StreamData>(runtime.impl(), object.get(), runtime.impl().binaryStreamClass) : nullptr;
  if (!stream) {
    ::close(fd);
    return Value::nil();
  }
  stream->fd = fd;
  stream->open = true;
  stream->writable = writable;
  stream->path = path;
  return Value::ofObject(std::move(object));
}

// Writes bytes at the position and moves past them; raises for a stream that cannot take them.
void writeBytes(Runtime& runtime, const Value& self, const void* bytes, size_t count, const std::string& member) {
  StreamData* stream = openStream(runtime, self, member.c_str());
  if (!stream) return;
  if (!stream->writable) {
    runtime.impl().raise("IOException", "BinaryStream." + member + ": \"" + stream->path + "\" was opened for reading only");
    return;
  }
  if (!writeAt(runtime, stream, bytes, count)) {
    ioFailure(runtime, "BinaryStream." + member + " cannot write", stream->path, errno);
    return;
  }
  stream->position += int64_t(count);
}

// Streams over memory: a MemoryBlock read and written in place, a String's bytes read only.
void installMemoryStreams(ClassInfo* cls) {
  for (const char* declaration : {"Constructor(data as MemoryBlock)", "Constructor(data as String)"}) {
    const bool block = std::strstr(declaration, "MemoryBlock") != nullptr;
    addNativeMethod(cls, declaration, [block](Runtime& runtime, const Value& self, std::vector<Value>& args) {
      StreamData* stream = streamOf(runtime, self);
      if (!stream) return Value::nil();
      if (block && args.at(0).isNil()) {
        runtime.impl().raise("NilObjectException", "BinaryStream: the MemoryBlock is Nil");
        return Value::nil();
      }
      Value memory = block ? args.at(0) : runtime.memoryBlock(runtime.bytes(args.at(0)).data(), runtime.bytes(args.at(0)).size());
      stream->block = memory.object;
      stream->open = stream->block && runtime.impl().memoryBlockData(stream->block.get());
      stream->writable = block;
      stream->path = block ? "a MemoryBlock" : "a String";
      return Value::nil();
    });
  }
}

// The typed values: n bytes in the stream's byte order, read past the end as zeros.
struct TypedValue {
  const char* name;  // Read... and Write...
  const char* type;
  int bytes;
  Value::Kind kind;
};

const TypedValue kTypedValues[] = {
    {"Boolean", "Boolean", 1, Value::Kind::Boolean}, {"Byte", "UInt8", 1, Value::Kind::UInt32},
    {"Int8", "Int8", 1, Value::Kind::Int32},         {"UInt8", "UInt8", 1, Value::Kind::UInt32},
    {"Int16", "Int16", 2, Value::Kind::Int32},       {"Short", "Int16", 2, Value::Kind::Int32},
    {"UInt16", "UInt16", 2, Value::Kind::UInt32},    {"Int32", "Int32", 4, Value::Kind::Int32},
    {"Long", "Int32", 4, Value::Kind::Int32},        {"UInt32", "UInt32", 4, Value::Kind::UInt32},
    {"Int64", "Int64", 8, Value::Kind::Int64},       {"UInt64", "UInt64", 8, Value::Kind::UInt64},
    {"Single", "Single", 4, Value::Kind::Single},    {"Double", "Double", 8, Value::Kind::Double},
};

void installTypedValues(ClassInfo* cls) {
  for (const TypedValue& typed : kTypedValues) {
    const std::string reader = std::string("Read") + typed.name + "() as " + typed.type;
    const std::string writer = std::string("Write") + typed.name + "(value as " + typed.type + ")";
    cls->methods.push_back(nativeMember(reader.c_str(), [typed](Runtime& runtime, const Value& self, std::vector<Value>&) {
      StreamData* stream = openStream(runtime, self, (std::string("Read") + typed.name).c_str());
      if (!stream) return typedValueOf(0, typed.bytes, typed.kind);
      unsigned char bytes[8] = {};
      ssize_t got = readAt(runtime, stream, bytes, size_t(typed.bytes));
      if (got < 0) {
        ioFailure(runtime, std::string("BinaryStream.Read") + typed.name + " cannot read", stream->path, errno);
        return typedValueOf(0, typed.bytes, typed.kind);
      }
      stream->position += got;
      if (!stream->littleEndian) std::reverse(bytes, bytes + typed.bytes);
      uint64_t raw = 0;
      std::memcpy(&raw, bytes, size_t(typed.bytes));
      return typedValueOf(raw, typed.bytes, typed.kind);
    }));
    cls->methods.push_back(nativeMember(writer.c_str(), [typed](Runtime& runtime, const Value& self, std::vector<Value>& args) {
      const uint64_t raw = rawOfTypedValue(args.at(0), typed.kind);
      unsigned char bytes[8];
      std::memcpy(bytes, &raw, 8);
      StreamData* stream = streamOf(runtime, self);
      if (stream && !stream->littleEndian) std::reverse(bytes, bytes + typed.bytes);
      writeBytes(runtime, self, bytes, size_t(typed.bytes), std::string("Write") + typed.name);
      return Value::nil();
    }));
  }
  // A Pascal string: a length byte, then up to 255 bytes.
  addNativeMethod(cls, "ReadPString() as String", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    StreamData* stream = openStream(runtime, self, "ReadPString");
    unsigned char length = 0;
    if (!stream || readAt(runtime, stream, &length, 1) != 1) return runtime.string("");
    stream->position += 1;
    std::string bytes(length, '\0');
    ssize_t got = readAt(runtime, stream, bytes.data(), length);
    bytes.resize(size_t(std::max<ssize_t>(got, 0)));
    stream->position += int64_t(bytes.size());
    return runtime.string(bytes, kEncodingUnknown);
  });
  addNativeMethod(cls, "WritePString(text as String)", [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    std::string bytes = runtime.bytes(args.at(0)).substr(0, 255);
    bytes.insert(bytes.begin(), static_cast<char>(bytes.size()));
    writeBytes(runtime, self, bytes.data(), bytes.size(), "WritePString");
    return Value::nil();
  });
  addNativeProperty(
      cls, "LittleEndian", "Boolean",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        StreamData* stream = streamOf(runtime, self);
        return Value::ofBoolean(stream && stream->littleEndian);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        if (StreamData* stream = streamOf(runtime, self)) stream->littleEndian = args.at(0).boolean;
        return Value::nil();
      });
}

}  // namespace

void installBinaryStreamClass(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<StreamData>(impl, "BinaryStream");
  impl.binaryStreamClass = cls;

  addSharedMethod(cls, "Open(f as FolderItem, write as Boolean = False) as BinaryStream",
                  [](Runtime& runtime, const Value&, std::vector<Value>& args) {
                    bool write = args.at(1).boolean;
                    return openOn(runtime, args.at(0), write ? O_RDWR : O_RDONLY, write, "BinaryStream.Open");
                  });
  addSharedMethod(cls, "Create(f as FolderItem, overwrite as Boolean = False) as BinaryStream",
                  [](Runtime& runtime, const Value&, std::vector<Value>& args) {
                    int flags = O_RDWR | O_CREAT | (args.at(1).boolean ? O_TRUNC : O_EXCL);
                    return openOn(runtime, args.at(0), flags, true, "BinaryStream.Create");
                  });
  // The FolderItem methods older programs open binary files with: an existing file, or a
  // new one (an existing file is emptied).
  addNativeMethod(impl.folderItemClass, "OpenAsBinaryFile(readWrite as Boolean = False) as BinaryStream",
                  [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    bool write = args.at(0).boolean;
                    return openOn(runtime, self, write ? O_RDWR : O_RDONLY, write, "FolderItem.OpenAsBinaryFile");
                  });
  addNativeMethod(impl.folderItemClass, "CreateBinaryFile(fileType as String = \"\") as BinaryStream",
                  [](Runtime& runtime, const Value& self, std::vector<Value>&) {
                    return openOn(runtime, self, O_RDWR | O_CREAT | O_TRUNC, true, "FolderItem.CreateBinaryFile");
                  });

  addNativeMethod(cls, "Read(count as Integer) as String", [](Runtime& runtime, const Value& self,
                                                             std::vector<Value>& args) {
    StreamData* stream = openStream(runtime, self, "Read");
    if (!stream) return runtime.string("");
    int64_t count = args.at(0).integer;
    if (count < 0) {
      runtime.impl().raise("OutOfBoundsException", "BinaryStream.Read: count " + std::to_string(count) + " is negative");
      return runtime.string("");
    }
    int64_t available = std::max<int64_t>(0, lengthOf(runtime, stream) - stream->position);
    std::string bytes(size_t(std::min(count, available)), '\0');
    ssize_t got = readAt(runtime, stream, bytes.data(), bytes.size());
    if (got < 0) {
      ioFailure(runtime, "BinaryStream.Read cannot read", stream->path, errno);
      return runtime.string("");
    }
    bytes.resize(size_t(got));
    stream->position += got;
    return runtime.string(bytes, kEncodingUnknown);  // bytes without an encoding, as the host reads them
  });
  addNativeMethod(cls, "Write(data as String)", [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    std::string bytes = runtime.bytes(args.at(0));
    writeBytes(runtime, self, bytes.data(), bytes.size(), "Write");
    return Value::nil();
  });
  addNativeMethod(cls, "Close()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    StreamData* stream = streamOf(runtime, self);
    if (stream && stream->fd >= 0) ::close(stream->fd);
    if (stream) {
      stream->fd = -1;
      stream->open = false;
    }
    return Value::nil();
  });
  addNativeMethod(cls, "Flush()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    StreamData* stream = openStream(runtime, self, "Flush");
    if (stream && stream->fd >= 0) ::fsync(stream->fd);
    return Value::nil();
  });
  installMemoryStreams(cls);
  installTypedValues(cls);

  addNativeProperty(cls, "EOF", "Boolean", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    StreamData* stream = streamOf(runtime, self);
    return Value::ofBoolean(!stream || !stream->open || stream->position >= lengthOf(runtime, stream));
  });
  addNativeProperty(
      cls, "Position", "Integer",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        StreamData* stream = streamOf(runtime, self);
        return Value::ofInteger(stream ? stream->position : 0);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        StreamData* stream = openStream(runtime, self, "Position");
        if (!stream) return Value::nil();
        if (args.at(0).integer < 0)
          runtime.impl().raise("OutOfBoundsException", "BinaryStream.Position cannot be " + std::to_string(args[0].integer));
        else
          stream->position = args[0].integer;  // beyond the end: a later Write fills the gap with zeros
        return Value::nil();
      });
  addNativeProperty(
      cls, "Length", "Integer",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        StreamData* stream = streamOf(runtime, self);
        return Value::ofInteger(stream && stream->open ? lengthOf(runtime, stream) : 0);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        StreamData* stream = openStream(runtime, self, "Length");
        if (!stream) return Value::nil();
        int64_t length = args.at(0).integer;
        MemoryBlockData* memory = memoryOf(runtime, stream);
        if (!stream->writable || length < 0) {
          runtime.impl().raise("IOException", "BinaryStream.Length cannot be set to " + std::to_string(length) +
                                                  " on \"" + stream->path + "\"");
        } else if (memory ? !resizeMemoryBlock(memory, intptr_t(length)) : ::ftruncate(stream->fd, length) != 0) {
          ioFailure(runtime, "BinaryStream.Length cannot change", stream->path, errno);
        } else if (stream->position > length) {
          stream->position = length;
        }
        return Value::nil();
      });
}

}  // namespace host
