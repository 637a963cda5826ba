// TextOutputStream and TextInputStream: text files that a FolderItem names, written line
// by line (Create empties the file, Open appends) and read line by line or whole, in a
// TextEncoding (UTF-8 unless the program sets Encoding). Also the FolderItem's older
// CreateTextFile, AppendToTextFile and OpenAsTextFile. Failures raise IOException with
// the path and the system's reason, and ErrorNumber set to the system's error code.
#include "native_members.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace host {

namespace {

struct TextStreamData {
  std::FILE* file = nullptr;  // an output stream's file until Close
  std::string path;
  uint32_t encoding = kEncodingUTF8;
  std::string delimiter = "\n";
  std::string content;  // an input stream's bytes, read at Open
  size_t position = 0;
  bool open = false;

  ~TextStreamData() {
    if (file) std::fclose(file);
  }
};

TextStreamData* openStream(Runtime& runtime, ClassInfo* cls, const Value& self, const char* member) {
  TextStreamData* stream = boxedData<TextStreamData>(runtime, self, cls);
  if (stream && stream->open) return stream;
  runtime.impl().raise("IOException", cls->name + "." + member + ": the stream is closed");
  return nullptr;
}

// A new stream of cls on the FolderItem's file; Nil after raising. mode: "w" or "a" for
// output, "r" for input (the whole file is read at once).
Value openOn(Runtime& runtime, ClassInfo* cls, const Value& item, const char* mode, const std::string& what) {
  if (item.isNil()) {
    runtime.impl().raise("NilObjectException", what + ": the FolderItem is Nil");
    return Value::nil();
  }
  const std::string path = runtime.folderItemPath(item);
  struct stat status;
  if (::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    runtime.impl().raise("IOException", what + " cannot open \"" + path + "\": " + std::strerror(EISDIR), EISDIR);
    return Value::nil();
  }
  std::FILE* file = std::fopen(path.c_str(), *mode == 'r' ? "rbe" : *mode == 'a' ? "abe" : "wbe");
  if (!file) {
    const int error = errno;
    runtime.impl().raise("IOException", what + " cannot open \"" + path + "\": " + std::strerror(error), error);
    return Value::nil();
  }
  ObjectRef object = ObjectRef::adopt(runtime.impl().instantiate(cls));
  TextStreamData* stream = object ? boxedData<TextStreamData>(runtime.impl(), object.get(), cls) : nullptr;
  if (!stream) {
    std::fclose(file);
    return Value::nil();
  }
  stream->path = path;
  stream->open = true;
  if (*mode == 'r') {
    char buffer[65536];
    size_t got;
    while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) stream->content.append(buffer, got);
    std::fclose(file);
  } else {
    stream->file = file;
  }
  return Value::ofObject(std::move(object));
}

void write(Runtime& runtime, ClassInfo* cls, const Value& self, const Value& text, bool line, const char* member) {
  TextStreamData* stream = openStream(runtime, cls, self, member);
  if (!stream) return;
  std::string bytes;
  if (!Runtime::Impl::convertBytes(runtime.bytes(text), runtime.encoding(text), stream->encoding, bytes)) bytes = runtime.bytes(text);
  if (line) bytes += stream->delimiter;
  if (std::fwrite(bytes.data(), 1, bytes.size(), stream->file) != bytes.size()) {
    const int error = errno;
    runtime.impl().raise("IOException", cls->name + "." + member + " cannot write \"" + stream->path + "\": " + std::strerror(error), error);
  }
}

void close(Runtime& runtime, ClassInfo* cls, const Value& self) {
  TextStreamData* stream = boxedData<TextStreamData>(runtime, self, cls);
  if (!stream) return;
  if (stream->file) std::fclose(stream->file);
  stream->file = nullptr;
  stream->open = false;
}

// The Encoding property of both classes: the TextEncoding the text is written or read in.
void addEncodingProperty(ClassInfo* cls) {
  addNativeProperty(
      cls, "Encoding", "TextEncoding",
      [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
        TextStreamData* stream = boxedData<TextStreamData>(runtime, self, cls);
        return textEncodingValue(runtime, stream ? stream->encoding : kEncodingUTF8);
      },
      [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        if (TextStreamData* stream = boxedData<TextStreamData>(runtime, self, cls))
          stream->encoding = args.at(0).isNil() ? kEncodingUnknown : textEncodingCode(runtime, args[0]);
        return Value::nil();
      });
  addNativeMethod(cls, "Close()", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    close(runtime, cls, self);
    return Value::nil();
  });
}

void installOutput(Runtime::Impl& impl, ClassInfo* cls) {
  addSharedMethod(cls, "Create(f as FolderItem) as TextOutputStream", [cls](Runtime& runtime, const Value&, std::vector<Value>& args) {
    return openOn(runtime, cls, args.at(0), "w", "TextOutputStream.Create");
  });
  addSharedMethod(cls, "Open(f as FolderItem) as TextOutputStream", [cls](Runtime& runtime, const Value&, std::vector<Value>& args) {
    return openOn(runtime, cls, args.at(0), "a", "TextOutputStream.Open");
  });
  addNativeMethod(cls, "Write(text as String)", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    write(runtime, cls, self, args.at(0), false, "Write");
    return Value::nil();
  });
  addNativeMethod(cls, "WriteLine(text as String = \"\")", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    write(runtime, cls, self, args.at(0), true, "WriteLine");
    return Value::nil();
  });
  addNativeMethod(cls, "Flush()", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    if (TextStreamData* stream = openStream(runtime, cls, self, "Flush")) std::fflush(stream->file);
    return Value::nil();
  });
  addNativeProperty(
      cls, "Delimiter", "String",
      [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
        TextStreamData* stream = boxedData<TextStreamData>(runtime, self, cls);
        return runtime.string(stream ? stream->delimiter : "\n");
      },
      [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        if (TextStreamData* stream = boxedData<TextStreamData>(runtime, self, cls)) stream->delimiter = runtime.utf8(args.at(0));
        return Value::nil();
      });
  addEncodingProperty(cls);
  // The FolderItem's own forms.
  addNativeMethod(impl.folderItemClass, "CreateTextFile() as TextOutputStream", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return openOn(runtime, cls, self, "w", "FolderItem.CreateTextFile");
  });
  addNativeMethod(impl.folderItemClass, "AppendToTextFile() as TextOutputStream", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return openOn(runtime, cls, self, "a", "FolderItem.AppendToTextFile");
  });
}

// The next count characters (UTF-8) or bytes (other encodings) of an input stream.
std::string take(TextStreamData* stream, size_t count) {
  size_t end = stream->position;
  for (size_t n = 0; n < count && end < stream->content.size(); ++n) {
    ++end;
    if (stream->encoding == kEncodingUTF8)
      while (end < stream->content.size() && (static_cast<unsigned char>(stream->content[end]) & 0xC0) == 0x80) ++end;
  }
  std::string out = stream->content.substr(stream->position, end - stream->position);
  stream->position = end;
  return out;
}

void installInput(Runtime::Impl& impl, ClassInfo* cls) {
  addSharedMethod(cls, "Open(f as FolderItem) as TextInputStream", [cls](Runtime& runtime, const Value&, std::vector<Value>& args) {
    return openOn(runtime, cls, args.at(0), "r", "TextInputStream.Open");
  });
  addNativeMethod(impl.folderItemClass, "OpenAsTextFile() as TextInputStream", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return openOn(runtime, cls, self, "r", "FolderItem.OpenAsTextFile");
  });
  // A line ends at CR, LF or CR LF; the end is not part of the line.
  addNativeMethod(cls, "ReadLine() as String", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    TextStreamData* stream = openStream(runtime, cls, self, "ReadLine");
    if (!stream) return runtime.string("");
    const size_t end = std::min(stream->content.find_first_of("\r\n", stream->position), stream->content.size());
    std::string line = stream->content.substr(stream->position, end - stream->position);
    stream->position = end;
    if (end < stream->content.size()) stream->position += stream->content.compare(end, 2, "\r\n") == 0 ? 2 : 1;
    return runtime.string(line, stream->encoding);
  });
  addNativeMethod(cls, "ReadAll() as String", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    TextStreamData* stream = openStream(runtime, cls, self, "ReadAll");
    return stream ? runtime.string(take(stream, std::string::npos), stream->encoding) : runtime.string("");
  });
  addNativeMethod(cls, "Read(count as Integer) as String", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    TextStreamData* stream = openStream(runtime, cls, self, "Read");
    if (!stream) return runtime.string("");
    if (args.at(0).integer < 0) {
      runtime.impl().raise("OutOfBoundsException", "TextInputStream.Read: count " + std::to_string(args[0].integer) + " is negative");
      return runtime.string("");
    }
    return runtime.string(take(stream, size_t(args[0].integer)), stream->encoding);
  });
  for (const char* name : {"EOF", "EndOfFile"})
    addNativeProperty(cls, name, "Boolean", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
      TextStreamData* stream = boxedData<TextStreamData>(runtime, self, cls);
      return Value::ofBoolean(!stream || stream->position >= stream->content.size());
    });
  addEncodingProperty(cls);
}

}  // namespace

void installTextStreamClasses(Runtime::Impl& impl) {
  installOutput(impl, addBoxedClass<TextStreamData>(impl, "TextOutputStream"));
  installInput(impl, addBoxedClass<TextStreamData>(impl, "TextInputStream"));
}

}  // namespace host
