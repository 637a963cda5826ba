// Loading plugins: dlopen the library, find its REALPluginMain and call it with the
// resolver, inside the call boundary. A plugin's main function changes its own static
// tables in place, so each library is loaded at most once per process.
#include "runtime_private.h"

#include "boundary.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>

#include <cstdlib>
#include <set>

#ifndef QVR_DEFAULT_LIB_DIR
#define QVR_DEFAULT_LIB_DIR "."
#endif

namespace host {

namespace {

std::set<std::string>& loadedLibraries() {
  static std::set<std::string> libraries;
  return libraries;
}

std::string canonicalPath(const std::string& path) {
  char resolved[PATH_MAX];
  if (::realpath(path.c_str(), resolved)) return resolved;
  return path;
}

}  // namespace

// The platform's Gestalt answers the system version it finds in the environment.
void publishSystemVersion(const Options& options) {
  std::string version = std::to_string(options.systemMajor) + "." + std::to_string(options.systemMinor);
  ::setenv("QVR_SYSTEM_VERSION", version.c_str(), 1);
}

std::string Runtime::libraryDirectory() {
  const char* dir = std::getenv("QVR_LIB_DIR");
  if (dir && *dir) return dir;
  return QVR_DEFAULT_LIB_DIR;
}

void Runtime::loadPlugin(const std::string& path) {
  const std::string canonical = canonicalPath(path);
  if (loadedLibraries().count(canonical))
    throw std::logic_error("plugin " + path + " is already loaded in this process; a plugin's main function runs once");
  publishSystemVersion(impl_->options);
  void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    const char* why = ::dlerror();
    throw std::runtime_error("cannot load plugin " + path + ": " + (why ? why : "unknown error"));
  }
  using PluginMain = void (*)(void* (*)(const char*));
  auto main = reinterpret_cast<PluginMain>(::dlsym(library, "REALPluginMain"));
  if (!main) {
    ::dlclose(library);
    throw std::runtime_error("plugin " + path + " exports no REALPluginMain");
  }
  // From here on the library stays loaded: its main function is about to run.
  loadedLibraries().insert(canonical);
  guarded([&] { main(&hostResolveEntryPoint); });
  impl_->throwPending();
}

void Runtime::loadStandardPlugins() {
  const std::string dir = libraryDirectory();
  if (impl_->options.siblings) loadPlugin(dir + "/libQVRSiblings.so");
  loadPlugin(dir + "/libNSImageQVR.so");
}

}  // namespace host
