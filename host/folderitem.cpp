// FolderItem: a built-in class naming a file or folder by its absolute native path (the
// item need not exist), with the members host code uses and the entry points that hand
// FolderItems to plugins as file manager references (FSRef, parent FSRef plus name, FSSpec).
#include "native_members.h"

#include <CoreServices/CoreServices.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

namespace host {

namespace {

struct FolderItemData {
  std::string* path;   // canonical absolute path
  intptr_t lastError;  // errno of the last failed operation, 0 after a good one
};

// Absolute, with "." and ".." and repeated slashes resolved lexically; links are kept.
std::string canonicalPath(const std::string& input) {
  std::string path = input;
  if (path.empty() || path[0] != '/') {
    char cwd[PATH_MAX];
    path = std::string(getcwd(cwd, sizeof cwd) ? cwd : "/") + "/" + path;
  }
  std::vector<std::string> parts;
  size_t at = 0;
  while (at <= path.size()) {
    size_t slash = std::min(path.find('/', at), path.size());
    std::string part = path.substr(at, slash - at);
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    at = slash + 1;
  }
  std::string out;
  for (const std::string& part : parts) out += "/" + part;
  return out.empty() ? "/" : out;
}

std::string parentPath(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

std::string leafName(const std::string& path) { return path == "/" ? std::string() : path.substr(path.rfind('/') + 1); }

bool validName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

std::string joined(const std::string& directory, const std::string& name) {
  return directory == "/" ? "/" + name : directory + "/" + name;
}

// The host's path types: absolute, shell and native paths are all the POSIX path here;
// a URL path is a file URL whose escapes are decoded. False for a path it cannot take.
constexpr int kPathTypeURL = 2;

bool pathOfType(const std::string& text, int64_t type, std::string& path) {
  if (type < 0 || type > 3) return false;
  if (type != kPathTypeURL) {
    path = text;
    return text.find('\0') == std::string::npos;
  }
  const std::string scheme = "file://";
  if (text.size() <= scheme.size() || lowerCase(text.substr(0, scheme.size())) != scheme) return false;
  std::string rest = text.substr(scheme.size());
  if (rest.compare(0, 9, "localhost") == 0) rest.erase(0, 9);
  if (rest.empty() || rest[0] != '/') return false;
  path.clear();
  for (size_t i = 0; i < rest.size(); ++i) {
    if (rest[i] == '%' && i + 2 < rest.size() && std::isxdigit(static_cast<unsigned char>(rest[i + 1])) &&
        std::isxdigit(static_cast<unsigned char>(rest[i + 2]))) {
      path += static_cast<char>(std::stoi(rest.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      path += rest[i];
    }
  }
  return path.find('\0') == std::string::npos;
}

// A file URL of a path: bytes outside the unreserved set escaped, folders ending in "/".
std::string urlOf(const std::string& path, bool folder) {
  static const char* hex = "0123456789ABCDEF";
  std::string url = "file://";
  for (unsigned char c : path) {
    if (std::isalnum(c) || std::strchr("/-._~", c)) {
      url += static_cast<char>(c);
    } else {
      url += '%';
      url += hex[c >> 4];
      url += hex[c & 15];
    }
  }
  if (folder && url.back() != '/') url += '/';
  return url;
}

FolderItemData* itemData(Runtime::Impl& impl, ObjectHeader* object) {
  if (!impl.isLiveObject(object) || !object->cls->isA(impl.folderItemClass)) return nullptr;
  auto* data = reinterpret_cast<FolderItemData*>(impl.instanceData(object, impl.folderItemClass));
  return data->path ? data : nullptr;
}

FolderItemData* itemOf(Runtime& runtime, const Value& self) {
  return self.kind == Value::Kind::Object ? itemData(runtime.impl(), self.object.get()) : nullptr;
}

// A new FolderItem for a path, holding one reference (null when out of memory).
ObjectHeader* newFolderItem(Runtime::Impl& impl, const std::string& path) {
  ObjectHeader* object = impl.instantiate(impl.folderItemClass);
  FolderItemData* data = object ? itemData(impl, object) : nullptr;
  if (!data) {
    if (object) impl.unlockObject(object);
    return nullptr;
  }
  *data->path = canonicalPath(path);
  return object;
}

Value itemValue(Runtime& runtime, const std::string& path) {
  return Value::ofObject(ObjectRef::adopt(newFolderItem(runtime.impl(), path)));
}

// The entries of a folder in the order TrueItem counts them: by name, bytewise.
std::vector<std::string> entriesOf(const std::string& path) {
  std::vector<std::string> names;
  DIR* dir = opendir(path.c_str());
  if (!dir) return names;
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

// UTF-16 code units to UTF-8; false for unpaired surrogates.
bool utf8Of(const UniChar* units, size_t count, std::string& out) {
  out.clear();
  for (size_t i = 0; i < count; ++i) {
    uint32_t code = units[i];
    if (code >= 0xD800 && code <= 0xDBFF) {
      if (i + 1 >= count || units[i + 1] < 0xDC00 || units[i + 1] > 0xDFFF) return false;
      code = 0x10000 + ((code - 0xD800) << 10) + (units[++i] - 0xDC00);
    } else if (code >= 0xDC00 && code <= 0xDFFF) {
      return false;
    }
    if (code < 0x80) {
      out += static_cast<char>(code);
    } else if (code < 0x800) {
      out += static_cast<char>(0xC0 | (code >> 6));
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
      out += static_cast<char>(0xE0 | (code >> 12));
      out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (code >> 18));
      out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (code & 0x3F));
    }
  }
  return true;
}

// UTF-8 to UTF-16 code units; false for bytes that are no UTF-8.
bool utf16Of(const std::string& text, std::vector<UniChar>& out) {
  out.clear();
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  size_t n = text.size(), i = 0;
  while (i < n) {
    unsigned char lead = bytes[i];
    size_t length = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
    if (length == 0 || i + length > n) return false;
    uint32_t code = length == 1 ? lead : lead & (0x7F >> length);
    for (size_t k = 1; k < length; ++k) {
      if ((bytes[i + k] & 0xC0) != 0x80) return false;
      code = (code << 6) | (bytes[i + k] & 0x3F);
    }
    static const uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < smallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
    i += length;
    if (code >= 0x10000) {
      out.push_back(static_cast<UniChar>(0xD800 + ((code - 0x10000) >> 10)));
      out.push_back(static_cast<UniChar>(0xDC00 + ((code - 0x10000) & 0x3FF)));
    } else {
      out.push_back(static_cast<UniChar>(code));
    }
  }
  return true;
}

bool statOf(const std::string& path, struct stat& status) { return ::stat(path.c_str(), &status) == 0; }

void installMembers(ClassInfo* cls) {
  // AbsolutePath is the older name of the path, which on this system is the POSIX path too.
  for (const char* name : {"NativePath", "AbsolutePath"})
    addNativeProperty(cls, name, "String", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
      FolderItemData* item = itemOf(runtime, self);
      return runtime.string(item ? *item->path : std::string());
    });
  addNativeProperty(cls, "URLPath", "String", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    FolderItemData* item = itemOf(runtime, self);
    struct stat status;
    return runtime.string(item ? urlOf(*item->path, statOf(*item->path, status) && S_ISDIR(status.st_mode)) : std::string());
  });
  addNativeProperty(cls, "Exists", "Boolean", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    FolderItemData* item = itemOf(runtime, self);
    struct stat status;
    return Value::ofBoolean(item && ::lstat(item->path->c_str(), &status) == 0);
  });
  addNativeProperty(cls, "Directory", "Boolean", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    FolderItemData* item = itemOf(runtime, self);
    struct stat status;
    return Value::ofBoolean(item && statOf(*item->path, status) && S_ISDIR(status.st_mode));
  });
  addNativeProperty(cls, "Length", "Integer", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    FolderItemData* item = itemOf(runtime, self);
    struct stat status;
    bool file = item && statOf(*item->path, status) && S_ISREG(status.st_mode);
    return Value::ofInteger(file ? int64_t(status.st_size) : 0);
  });
  addNativeProperty(cls, "Count", "Integer", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    FolderItemData* item = itemOf(runtime, self);
    return Value::ofInteger(item ? int64_t(entriesOf(*item->path).size()) : 0);
  });
  addNativeProperty(cls, "LastErrorCode", "Integer", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    FolderItemData* item = itemOf(runtime, self);
    return Value::ofInteger(item ? item->lastError : 0);
  });
  addNativeProperty(cls, "Parent", "FolderItem", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    FolderItemData* item = itemOf(runtime, self);
    if (!item || *item->path == "/") return Value::nil();
    return itemValue(runtime, parentPath(*item->path));
  });
  // Setting the name renames an existing item in its folder, or just renames the
  // reference when there is nothing to rename.
  addNativeProperty(
      cls, "Name", "String",
      [](Runtime& runtime, const Value& self, std::vector<Value>&) {
        FolderItemData* item = itemOf(runtime, self);
        return runtime.string(item ? leafName(*item->path) : std::string());
      },
      [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
        FolderItemData* item = itemOf(runtime, self);
        std::string name = runtime.utf8(args.at(0));
        if (!item || *item->path == "/" || !validName(name)) {
          if (item) item->lastError = EINVAL;
          return Value::nil();
        }
        std::string target = joined(parentPath(*item->path), name);
        struct stat status;
        if (::lstat(item->path->c_str(), &status) == 0 && std::rename(item->path->c_str(), target.c_str()) != 0) {
          item->lastError = errno;
          return Value::nil();
        }
        *item->path = target;
        item->lastError = 0;
        return Value::nil();
      });
  cls->methods.push_back(nativeMember("Constructor()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    if (FolderItemData* item = itemOf(runtime, self)) *item->path = canonicalPath(".");
    return Value::nil();
  }));
  cls->methods.push_back(nativeMember("Constructor(path as String)", [](Runtime& runtime, const Value& self,
                                                                          std::vector<Value>& args) {
    std::string path = runtime.utf8(args.at(0));
    if (path.find('\0') != std::string::npos) {
      runtime.impl().raise("UnsupportedOperationException", "a path cannot hold a NUL character");
      return Value::nil();
    }
    if (FolderItemData* item = itemOf(runtime, self)) *item->path = canonicalPath(path);
    return Value::nil();
  }));
  cls->methods.push_back(nativeMember("Constructor(path as String, pathType as Integer)", [](Runtime& runtime, const Value& self,
                                                                                            std::vector<Value>& args) {
    std::string path;
    if (!pathOfType(runtime.utf8(args.at(0)), args.at(1).integer, path)) {
      runtime.impl().raise("UnsupportedFormatException", "\"" + runtime.utf8(args.at(0)) + "\" is no path of type " +
                                                             std::to_string(args.at(1).integer));
      return Value::nil();
    }
    if (FolderItemData* item = itemOf(runtime, self)) *item->path = canonicalPath(path);
    return Value::nil();
  }));
  cls->methods.push_back(nativeMember("Child(name as String) as FolderItem", [](Runtime& runtime, const Value& self,
                                                                                std::vector<Value>& args) {
    FolderItemData* item = itemOf(runtime, self);
    std::string name = runtime.utf8(args.at(0));
    if (!item || !validName(name)) return Value::nil();
    return itemValue(runtime, joined(*item->path, name));
  }));
  cls->methods.push_back(nativeMember("TrueItem(index as Integer) as FolderItem", [](Runtime& runtime, const Value& self,
                                                                                   std::vector<Value>& args) {
    FolderItemData* item = itemOf(runtime, self);
    if (!item) return Value::nil();
    std::vector<std::string> names = entriesOf(*item->path);
    int64_t index = args.at(0).integer;
    if (index < 1 || index > int64_t(names.size())) return Value::nil();
    return itemValue(runtime, joined(*item->path, names[size_t(index - 1)]));
  }));
  cls->methods.push_back(nativeMember("Delete()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    FolderItemData* item = itemOf(runtime, self);
    if (!item) return Value::nil();
    struct stat status;
    int result = ::lstat(item->path->c_str(), &status) != 0 ? -1
                 : S_ISDIR(status.st_mode)                   ? ::rmdir(item->path->c_str())
                                                             : ::unlink(item->path->c_str());
    item->lastError = result == 0 ? 0 : errno;
    return Value::nil();
  }));
  cls->methods.push_back(nativeMember("CreateAsFolder()", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    FolderItemData* item = itemOf(runtime, self);
    if (!item) return Value::nil();
    item->lastError = ::mkdir(item->path->c_str(), 0777) == 0 ? 0 : errno;
    return Value::nil();
  }));
}

// The newer names programs also use: IsFolder, ShellPath and DisplayName read what
// Directory, NativePath and Name read; Remove and CreateFolder do what Delete and
// CreateAsFolder do, and raise IOException where those only set LastErrorCode.
void installNewerNames(ClassInfo* cls) {
  std::vector<PropertyInfo> aliases;
  for (const PropertyInfo& p : cls->properties)
    for (auto [from, to] : {std::pair{"Directory", "IsFolder"}, {"NativePath", "ShellPath"}, {"Name", "DisplayName"}})
      if (p.name == from) {
        aliases.push_back(p);
        aliases.back().name = to;
        aliases.back().nativeSetter = nullptr;
      }
  cls->properties.insert(cls->properties.end(), aliases.begin(), aliases.end());
  std::vector<MethodInfo> raising;
  for (const MethodInfo& m : cls->methods)
    for (auto [from, to] : {std::pair{"Delete()", "Remove()"}, {"CreateAsFolder()", "CreateFolder()"}})
      if (m.declarationText == from) {
        const std::string name = std::string(to).substr(0, std::strlen(to) - 2);
        raising.push_back(nativeMember(to, [f = m.native, name](Runtime& runtime, const Value& self, std::vector<Value>& args) {
          f(runtime, self, args);
          FolderItemData* item = itemOf(runtime, self);
          if (item && item->lastError)
            runtime.impl().raise("IOException", "FolderItem." + name + " \"" + *item->path + "\": " + std::strerror(item->lastError),
                                 item->lastError);
          return Value::nil();
        }));
      }
  cls->methods.insert(cls->methods.end(), raising.begin(), raising.end());
}

// ---- the hand-over entry points

// An existing item's FSRef; with a name buffer, the parent's FSRef and the item's name
// in UTF-16, so that the item itself need not exist.
bool fsRefFromFolderItem(ObjectHeader* object, FSRef* ref, HFSUniStr255* name) {
  Runtime::Impl* impl = currentImpl();
  FolderItemData* item = impl ? itemData(*impl, object) : nullptr;
  if (!item || !ref) return false;
  if (!name) return FSPathMakeRef(reinterpret_cast<const UInt8*>(item->path->c_str()), ref, nullptr) == noErr;
  if (*item->path == "/") return false;
  std::vector<UniChar> units;
  if (!utf16Of(leafName(*item->path), units) || units.size() > 255) return false;
  std::string parent = parentPath(*item->path);
  if (FSPathMakeRef(reinterpret_cast<const UInt8*>(parent.c_str()), ref, nullptr) != noErr) return false;
  std::memset(name, 0, sizeof *name);
  name->length = static_cast<UInt16>(units.size());
  std::copy(units.begin(), units.end(), name->unicode);
  return true;
}

// The item's FSSpec: its parent folder's node ID and its name (the item need not exist).
bool fileSpecFromFolderItem(FSSpec* fileSpec, ObjectHeader* object) {
  Runtime::Impl* impl = currentImpl();
  FolderItemData* item = impl ? itemData(*impl, object) : nullptr;
  if (!item || !fileSpec) return false;
  FSRef ref;
  if (FSPathMakeRef(reinterpret_cast<const UInt8*>(item->path->c_str()), &ref, nullptr) == noErr)
    return FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, fileSpec, nullptr) == noErr;
  std::string parent = parentPath(*item->path), name = leafName(*item->path);
  FSCatalogInfo info;
  if (name.size() > 63 || FSPathMakeRef(reinterpret_cast<const UInt8*>(parent.c_str()), &ref, nullptr) != noErr ||
      FSGetCatalogInfo(&ref, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr) != noErr)
    return false;
  unsigned char pascalName[64] = {static_cast<unsigned char>(name.size())};
  std::memcpy(pascalName + 1, name.data(), name.size());
  OSErr result = FSMakeFSSpec(kQVRFileVolume, SInt32(info.nodeID), pascalName, fileSpec);
  return result == noErr || result == fnfErr;
}

std::string pathOf(const FSRef* ref) {
  std::vector<UInt8> buffer(PATH_MAX + 1);
  if (FSRefMakePath(ref, buffer.data(), UInt32(buffer.size())) != noErr) return std::string();
  return reinterpret_cast<const char*>(buffer.data());
}

// A new FolderItem for a name in the folder an FSRef names.
ObjectHeader* folderItemFromParentFSRef(const FSRef* parent, const HFSUniStr255* name) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !parent || !name || name->length > 255) return nullptr;
  std::string folder = pathOf(parent), leaf;
  struct stat status;
  if (folder.empty() || !statOf(folder, status) || !S_ISDIR(status.st_mode)) return nullptr;
  if (!utf8Of(name->unicode, name->length, leaf) || !validName(leaf)) return nullptr;
  return newFolderItem(*impl, joined(folder, leaf));
}

// A new FolderItem for what an FSSpec names (existing or not, in an existing folder).
ObjectHeader* folderItemFromFileSpec(const FSSpec* fileSpec) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !fileSpec) return nullptr;
  FSRef ref;
  if (FSpMakeFSRef(fileSpec, &ref) == noErr) {
    std::string path = pathOf(&ref);
    return path.empty() ? nullptr : newFolderItem(*impl, path);
  }
  FSSpec folderFileSpec;
  if (FSMakeFSSpec(fileSpec->vRefNum, fileSpec->parID, nullptr, &folderFileSpec) != noErr ||
      FSpMakeFSRef(&folderFileSpec, &ref) != noErr)
    return nullptr;
  std::string folder = pathOf(&ref);
  std::string leaf(reinterpret_cast<const char*>(fileSpec->name + 1), std::min<size_t>(fileSpec->name[0], 63));
  if (folder.empty() || !validName(leaf)) return nullptr;
  return newFolderItem(*impl, joined(folder, leaf));
}

}  // namespace

void installFolderItemClass(Runtime::Impl& impl) {
  ClassInfo* cls = impl.addBuiltInClass("FolderItem", "", sizeof(FolderItemData));
  impl.folderItemClass = cls;
  cls->nativeConstructor = [](Runtime& runtime, ObjectHeader* object) {
    auto* data = reinterpret_cast<FolderItemData*>(runtime.impl().instanceData(object, runtime.impl().folderItemClass));
    data->path = new std::string("/");
    data->lastError = 0;
  };
  cls->nativeDestructor = [](Runtime& runtime, ObjectHeader* object) {
    auto* data = reinterpret_cast<FolderItemData*>(runtime.impl().instanceData(object, runtime.impl().folderItemClass));
    delete data->path;
    data->path = nullptr;
  };
  installMembers(cls);
  installNewerNames(cls);

  addConstant(cls, "PathTypeAbsolute", "Integer", "0");
  addConstant(cls, "PathTypeShell", "Integer", "1");
  addConstant(cls, "PathTypeURL", "Integer", "2");
  addConstant(cls, "PathTypeNative", "Integer", "3");

  // GetFolderItem(path): where programs find their files; a path it cannot take gives Nil.
  impl.globals.push_back(nativeMember("GetFolderItem(path as String, pathType as Integer = 0) as FolderItem",
                                      [](Runtime& runtime, const Value&, std::vector<Value>& args) {
                                        std::string path;
                                        if (!pathOfType(runtime.utf8(args.at(0)), args.at(1).integer, path)) return Value::nil();
                                        return itemValue(runtime, path);
                                      }));
  installFolderItemFileMembers(impl);
  installSpecialFolderClass(impl);
}

intptr_t* folderItemError(Runtime& runtime, const Value& item) {
  FolderItemData* data = itemOf(runtime, item);
  return data ? &data->lastError : nullptr;
}

Value Runtime::folderItem(const std::string& path) {
  if (path.find('\0') != std::string::npos) throw std::invalid_argument("a path cannot hold a NUL character");
  ObjectRef item = ObjectRef::adopt(newFolderItem(*impl_, path));
  if (!item) throw std::bad_alloc();
  return Value::ofObject(std::move(item));
}

std::string Runtime::folderItemPath(const Value& item) const {
  FolderItemData* data = item.kind == Value::Kind::Object ? itemData(*impl_, item.object.get()) : nullptr;
  return data ? *data->path : std::string();
}

void addFolderItemEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"REALFSRefFromFolderItem", guardedEntryPoint<&fsRefFromFolderItem>("REALFSRefFromFolderItem")});
  table.push_back({"REALFSSpecFromFolderItem", guardedEntryPoint<&fileSpecFromFolderItem>("REALFSSpecFromFolderItem")});
  table.push_back({"REALFolderItemFromParentFSRef",
                   guardedEntryPoint<&folderItemFromParentFSRef>("REALFolderItemFromParentFSRef")});
  table.push_back({"FolderItemFromFSSpec", guardedEntryPoint<&folderItemFromFileSpec>("FolderItemFromFSSpec")});
}

}  // namespace host
