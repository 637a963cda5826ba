// SpecialFolder: the folders the system keeps for the user and for itself, named as the
// host names them, at the places the host finds them on this system (the home folder
// from HOME, the temporary folder from TMPDIR). A folder the system has no place for is Nil.
// The older globals (TemporaryFolder, DesktopFolder, ...) name the same folders.
#include "native_members.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

namespace host {

namespace {

std::string home() {
  const char* dir = std::getenv("HOME");
  return dir && *dir ? dir : "/";
}

std::string inHome(const char* name) { return home() == "/" ? std::string("/") + name : home() + "/" + name; }

std::string currentFolder() {
  char cwd[PATH_MAX];
  return getcwd(cwd, sizeof cwd) ? cwd : "/";
}

std::string temporary() {
  const char* dir = std::getenv("TMPDIR");
  return dir && *dir ? dir : "/tmp";
}

}  // namespace

void installSpecialFolderClass(Runtime::Impl& impl) {
  ClassInfo* special = impl.addBuiltInClass("SpecialFolder", "", 0);
  const struct {
    const char* name;
    std::string (*path)();
  } folders[] = {
      {"ApplicationData", home},
      {"Bin", [] { return std::string("/bin"); }},
      {"Caches", [] { return inHome(".cache"); }},
      {"CurrentWorkingDirectory", currentFolder},
      {"Desktop", [] { return inHome("Desktop"); }},
      {"Documents", [] { return inHome("Documents"); }},
      {"Etc", [] { return std::string("/etc"); }},
      {"Home", [] { return std::string("/home"); }},
      {"Movies", [] { return inHome("Videos"); }},
      {"Music", [] { return inHome("Music"); }},
      {"Pictures", [] { return inHome("Pictures"); }},
      {"Preferences", home},
      {"SharedApplicationData", [] { return std::string("/usr/share"); }},
      {"Temporary", temporary},
      {"Trash", [] { return inHome(".local/share/Trash"); }},
      {"UserBin", [] { return std::string("/usr/bin"); }},
      {"UserHome", home},
      {"Var", [] { return std::string("/var"); }},
  };
  for (const auto& folder : folders) {
    PropertyInfo p;
    p.name = folder.name;
    p.type = "FolderItem";
    p.nativeGetter = [path = folder.path](Runtime& runtime, const Value&, std::vector<Value>&) { return runtime.folderItem(path()); };
    special->sharedProperties.push_back(p);
  }
  // The older global forms, and a new empty file of its own in the temporary folder.
  for (const auto& folder : folders)
    for (const auto& [global, name] : {std::pair{"TemporaryFolder", "Temporary"}, {"DesktopFolder", "Desktop"},
                                       {"DocumentsFolder", "Documents"}, {"PreferencesFolder", "Preferences"}})
      if (std::string(name) == folder.name)
        impl.globals.push_back(nativeMember((std::string(global) + "() as FolderItem").c_str(),
                                            [path = folder.path](Runtime& runtime, const Value&, std::vector<Value>&) {
                                              return runtime.folderItem(path());
                                            }));
  impl.globals.push_back(nativeMember("GetTemporaryFolderItem() as FolderItem", [](Runtime& runtime, const Value&, std::vector<Value>&) {
    std::string path = temporary() + "/TemporaryItem-XXXXXX";
    const int fd = ::mkstemp(path.data());
    if (fd < 0) return Value::nil();
    ::close(fd);
    return runtime.folderItem(path);
  }));
  for (const char* name : {"Applications", "Fonts", "Library", "System", "SharedPreferences", "UserLibrary"}) {
    PropertyInfo p;
    p.name = name;
    p.type = "FolderItem";
    p.nativeGetter = [](Runtime&, const Value&, std::vector<Value>&) { return Value::nil(); };
    special->sharedProperties.push_back(p);
  }
}

}  // namespace host
