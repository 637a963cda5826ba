// FolderItem members about the file behind the path: a folder's items with links
// followed, the dates and permissions the file system keeps, the extension, and copying
// and moving, which report their failures in LastErrorCode as the other members do.
#include "native_members.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace host {

namespace {

// The path of a FolderItem value ("" for Nil or anything else).
std::string pathOf(Runtime& runtime, const Value& item) { return folderItemError(runtime, item) ? runtime.folderItemPath(item) : ""; }

std::string leafOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

bool isFolder(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Where a copy or move of source to destination goes: into destination when it is a folder.
std::string targetOf(const std::string& source, const std::string& destination) {
  return isFolder(destination) ? (destination == "/" ? "" : destination) + "/" + leafOf(source) : destination;
}

// Copies a regular file's bytes to a new file; errno describes a failure.
int copyFile(const std::string& from, const std::string& to) {
  struct stat status;
  if (::stat(from.c_str(), &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  int in = ::open(from.c_str(), O_RDONLY);
  if (in < 0) return errno;
  int out = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL, status.st_mode & 0777);
  if (out < 0) {
    int error = errno;
    ::close(in);
    return error;
  }
  char buffer[1 << 16];
  int error = 0;
  for (;;) {
    ssize_t got = ::read(in, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) {
      if (got < 0) error = errno;
      break;
    }
    for (ssize_t done = 0; done < got && !error;) {
      ssize_t put = ::write(out, buffer + done, size_t(got - done));
      if (put < 0 && errno != EINTR) error = errno;
      if (put > 0) done += put;
    }
    if (error) break;
  }
  ::close(in);
  if (::close(out) != 0 && !error) error = errno;
  if (error) ::unlink(to.c_str());
  return error;
}

// A Date property read from the file's status (Nil when the item does not exist).
void addDateProperty(ClassInfo* cls, const char* name, bool creation) {
  addNativeProperty(cls, name, "Date", [creation](Runtime& runtime, const Value& self, std::vector<Value>&) {
    std::string path = pathOf(runtime, self);
    struct statx status;
    if (path.empty() || ::statx(AT_FDCWD, path.c_str(), 0, STATX_MTIME | STATX_BTIME, &status) != 0) return Value::nil();
    // A file system that keeps no birth time gives the modification time for both.
    const bool born = creation && (status.stx_mask & STATX_BTIME);
    return dateValue(runtime, std::time_t(born ? status.stx_btime.tv_sec : status.stx_mtime.tv_sec));
  });
}

void addAccessProperty(ClassInfo* cls, const char* name, int mode) {
  addNativeProperty(cls, name, "Boolean", [mode](Runtime& runtime, const Value& self, std::vector<Value>&) {
    std::string path = pathOf(runtime, self);
    return Value::ofBoolean(!path.empty() && ::access(path.c_str(), mode) == 0);
  });
}

// CopyFileTo and MoveFileTo: LastErrorCode 0 after success, errno otherwise.
void addTransfer(ClassInfo* cls, const char* declaration, bool move) {
  addNativeMethod(cls, declaration, [move](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    intptr_t* error = folderItemError(runtime, self);
    if (!error) return Value::nil();
    const std::string source = runtime.folderItemPath(self);
    const std::string destination = pathOf(runtime, args.at(0));
    if (destination.empty()) {
      *error = EINVAL;
      return Value::nil();
    }
    const std::string target = targetOf(source, destination);
    struct stat status;
    if (::lstat(target.c_str(), &status) == 0)
      *error = EEXIST;
    else if (move)
      *error = std::rename(source.c_str(), target.c_str()) == 0 ? 0 : errno;
    else
      *error = copyFile(source, target);
    return Value::nil();
  });
}

}  // namespace

void installFolderItemFileMembers(Runtime::Impl& impl) {
  ClassInfo* cls = impl.folderItemClass;
  // Item counts as TrueItem does but gives the item a link leads to.
  addNativeMethod(cls, "Item(index as Integer) as FolderItem", [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    Value item = runtime.call(self, "TrueItem(index as Integer) as FolderItem", {args.at(0)});
    std::string path = pathOf(runtime, item);
    char resolved[PATH_MAX];
    struct stat status;
    if (!path.empty() && ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode) && ::realpath(path.c_str(), resolved))
      return runtime.folderItem(resolved);
    return item;
  });
  addDateProperty(cls, "ModificationDate", false);
  addDateProperty(cls, "CreationDate", true);
  addAccessProperty(cls, "IsReadable", R_OK);
  addAccessProperty(cls, "IsWriteable", W_OK);
  addNativeProperty(cls, "Visible", "Boolean", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    std::string path = pathOf(runtime, self);
    return Value::ofBoolean(!path.empty() && leafOf(path).compare(0, 1, ".") != 0);
  });
  addNativeProperty(cls, "Extension", "String", [](Runtime& runtime, const Value& self, std::vector<Value>&) {
    std::string leaf = leafOf(pathOf(runtime, self));
    size_t dot = leaf.rfind('.');
    return runtime.string(dot == std::string::npos || dot == 0 ? std::string() : leaf.substr(dot + 1));
  });
  addTransfer(cls, "CopyFileTo(destination as FolderItem)", false);
  addTransfer(cls, "MoveFileTo(destination as FolderItem)", true);
}

}  // namespace host
