/* Thread naming through pthread_setname_np, which not every system has: it is looked
   up at run time, once. The system library that carries it on the plugin's home
   platform is tried first; where that library does not exist (Linux), the process's
   own pthread_setname_np is used. The two differ: the home platform's takes only a
   name and names the calling thread, glibc's takes the thread first and keeps 15 bytes
   of a name. The cell always holds a function of the first kind; for glibc it holds a
   small adapter that names pthread_self() with the name cut to fit. */
#include "threads/thread_naming.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cstring>

namespace {

typedef int (*SetCurrentThreadNameFunction)(const char* name);
typedef int (*SetThreadNameFunction)(pthread_t thread, const char* name);

/* glibc's naming function, for the adapter below; set by the lookup. */
std::atomic<SetThreadNameFunction> setThreadName{nullptr};

/* The system library with the naming function, opened with every symbol resolved now. */
const char kThreadLibrary[] = "/usr/lib/libpthread.dylib";
const int kResolveNow = 2;

int NameThisThread(const char* name) {
  SetThreadNameFunction function = setThreadName.load(std::memory_order_relaxed);
  if (function == nullptr) return -1;
  char shortName[16];
  std::strncpy(shortName, name, sizeof shortName - 1);
  shortName[sizeof shortName - 1] = '\0';
  return function(pthread_self(), shortName);
}

SetCurrentThreadNameFunction LookUpNamingFunction() {
  if (void* library = dlopen(kThreadLibrary, kResolveNow))
    return reinterpret_cast<SetCurrentThreadNameFunction>(dlsym(library, "pthread_setname_np"));
  auto own = reinterpret_cast<SetThreadNameFunction>(dlsym(RTLD_DEFAULT, "pthread_setname_np"));
  if (own == nullptr) return nullptr;
  setThreadName.store(own, std::memory_order_relaxed);
  return &NameThisThread;
}

/* The naming function once found. The lookup runs once per process; a worker that
   starts while another is looking waits for the answer instead of going unnamed, and a
   failed lookup is not tried again. */
SetCurrentThreadNameFunction NamingFunction() {
  static const SetCurrentThreadNameFunction pthread_setname_np_ = LookUpNamingFunction();
  return pthread_setname_np_;
}

}  // namespace

void NameCurrentThreadQVR(const char* name) {
  if (name == nullptr) return;
  if (SetCurrentThreadNameFunction function = NamingFunction()) function(name);
}
