// BinaryStream: reads and writes the bytes of a file that a FolderItem names, at a
// position the program can move. Opened with the shared Open (an existing file, read-only
// unless asked) or Create (a new file, or an existing one emptied when overwrite is
// True). Failures raise IOException with the path, what was tried and the system's
// reason, and ErrorNumber set to the system's error code.
#include "native_members.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace host {

namespace {

struct StreamData {
  int fd = -1;
  bool writable = false;
  int64_t position = 0;
  std::string path;

  ~StreamData() {
    if (fd >= 0) ::close(fd);
  }
};

StreamData* streamOf(Runtime& runtime, const Value& self) {
  return boxedData<StreamData>(runtime, self, runtime.impl().binaryStreamClass);
}

void ioFailure(Runtime& runtime, const std::string& what, const std::string& path, int error) {
  runtime.impl().raise("IOException", what + " \"" + path + "\": " + std::strerror(error), error);
}

// The open stream of self, or null after raising IOException for a closed one.
StreamData* openStream(Runtime& runtime, const Value& self, const char* member) {
  StreamData* stream = streamOf(runtime, self);
  if (stream && stream->fd >= 0) return stream;
  runtime.impl().raise("IOException", std::string("BinaryStream.") + member + ": the stream is closed");
  return nullptr;
}

int64_t fileLength(int fd) {
  struct stat status;
  return ::fstat(fd, &status) == 0 ? int64_t(status.st_size) : 0;
}

// A new BinaryStream on the FolderItem's file, opened with the flags; Nil after raising.
Value openOn(Runtime& runtime, const Value& item, int flags, bool writable, const char* what) {
  std::string path = runtime.folderItemPath(item);
  if (item.isNil()) {
    runtime.impl().raise("NilObjectException", std::string("BinaryStream.") + what + ": the FolderItem is Nil");
    return Value::nil();
  }
  int fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
  if (fd < 0) {
    ioFailure(runtime, std::string("BinaryStream.") + what + " cannot open", path, errno);
    return Value::nil();
  }
  struct stat status;
  if (::fstat(fd, &status) == 0 && S_ISDIR(status.st_mode)) {
    ::close(fd);
    ioFailure(runtime, std::string("BinaryStream.") + what + " cannot open", path, EISDIR);
    return Value::nil();
  }
  ObjectRef object = ObjectRef::adopt(runtime.impl().instantiate(runtime.impl().binaryStreamClass));
  StreamData* stream = object ? boxedData<StreamData>(runtime.impl(), object.get(), runtime.impl().binaryStreamClass) : nullptr;
  if (!stream) {
    ::close(fd);
    return Value::nil();
  }
  stream->fd = fd;
  stream->writable = writable;
  stream->path = path;
  return Value::ofObject(std::move(object));
}

}  // namespace

void installBinaryStreamClass(Runtime::Impl& impl) {
  ClassInfo* cls = addBoxedClass<StreamData>(impl, "BinaryStream");
  impl.binaryStreamClass = cls;

  addSharedMethod(cls, "Open(f as FolderItem, write as Boolean = False) as BinaryStream",
                  [](Runtime& runtime, const Value&, std::vector<Value>& args) {
                    bool write = args.at(1).boolean;
                    return openOn(runtime, args.at(0), write ? O_RDWR : O_RDONLY, write, "Open");
                  });
  addSharedMethod(cls, "Create(f as FolderItem, overwrite as Boolean = False) as BinaryStream",
                  [](Runtime& runtime, const Value&, std::vector<Value>& args) {
                    int flags = O_RDWR | O_CREAT | (args.at(1).boolean ? O_TRUNC : O_EXCL);
                    return openOn(runtime, args.at(0), flags, true, "Create");
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
    int64_t available = std::max<int64_t>(0, fileLength(stream->fd) - stream->position);
    std::string bytes(size_t(std::min(count, available)), '\0');
    ssize_t got = bytes.empty() ? 0 : ::pread(stream->fd, bytes.data(), bytes.size(), stream->position);
    if (got < 0) {
      ioFailure(runtime, "BinaryStream.Read cannot read", stream->path, errno);
      return runtime.string("");
    }
    bytes.resize(size_t(got));
    stream->position += got;
    return runtime.string(bytes, kEncodingUnknown);  // bytes without an encoding, as the host reads them
  });
  addNativeMethod(cls, "Write(data as String)", [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    StreamData* stream = openStream(runtime, self, "Write");
    if (!stream) return Value::nil();
    if (!stream->writable) {
      runtime.impl().raise("IOException", "BinaryStream.Write: \"" + stream->path + "\" was opened for reading only");
      return Value::nil();
    }
    std::string bytes = runtime.bytes(args.at(0));
    size_t done = 0;
    while (done < bytes.size()) {
      ssize_t wrote = ::pwrite(stream->fd, bytes.data() + done, bytes.size() - done, stream->position + int64_t(done));
      if (wrote < 0) {
        if (errno == EINTR) continue;
        ioFailure(runtime, "BinaryStream.Write cannot write", stream->path, errno);
        break;
      }
      done += size_t(wrote);
    }
    stream->position += int64_t(done);
    return Value::nil();
  });
  addNativeMethod(cls, "Close()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    StreamData* stream = streamOf(runtime, self);
    if (stream && stream->fd >= 0) {
      ::close(stream->fd);
      stream->fd = -1;
    }
    return Value::nil();
  });
  addNativeMethod(cls, "Flush()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    if (StreamData* stream = openStream(runtime, self, "Flush")) ::fsync(stream->fd);
    return Value::nil();
  });

  addNativeProperty(cls, "EOF", "Boolean", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    StreamData* stream = streamOf(runtime, self);
    return Value::ofBoolean(!stream || stream->fd < 0 || stream->position >= fileLength(stream->fd));
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
        return Value::ofInteger(stream && stream->fd >= 0 ? fileLength(stream->fd) : 0);
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        StreamData* stream = openStream(runtime, self, "Length");
        if (!stream) return Value::nil();
        int64_t length = args.at(0).integer;
        if (!stream->writable || length < 0) {
          runtime.impl().raise("IOException", "BinaryStream.Length cannot be set to " + std::to_string(length) +
                                                  " on \"" + stream->path + "\"");
        } else if (::ftruncate(stream->fd, length) != 0) {
          ioFailure(runtime, "BinaryStream.Length cannot change", stream->path, errno);
        } else if (stream->position > length) {
          stream->position = length;
        }
        return Value::nil();
      });
}

}  // namespace host
