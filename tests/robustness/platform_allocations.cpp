// malloc and calloc of the test process, failing on demand (platform_allocations.h). The
// next definitions (the C library's, or the sanitizer's) do the work; which code called is
// told by the return address against the address ranges of the platform's libraries.
#include "platform_allocations.h"

#include <dlfcn.h>
#include <link.h>

#include <atomic>
#include <cstring>
#include <utility>

#ifdef QVR_SANITIZER_OWNS_MALLOC  // only counting is left without the two definitions below
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-variable"
#endif

namespace {

using MallocFunction = void* (*)(size_t);
using CallocFunction = void* (*)(size_t, size_t);

MallocFunction gNextMalloc = nullptr;
CallocFunction gNextCalloc = nullptr;

std::atomic<bool> gArmed{false};
std::atomic<size_t> gCalls{0};
size_t gFailAt = 0;
std::atomic<bool> gFired{false};

// Code ranges of the libraries whose allocations count.
std::pair<uintptr_t, uintptr_t> gRanges[16];
int gRangeCount = 0;

// dlsym may ask calloc for a little memory before the next calloc is known.
alignas(16) unsigned char gBootstrap[4096];
size_t gBootstrapUsed = 0;

int NoteRange(dl_phdr_info* info, size_t, void*) {
  static const char* const libraries[] = {"libqvrplatform", "libNSImageQVR", "libQVRSiblings"};
  const char* name = info->dlpi_name ? info->dlpi_name : "";
  bool wanted = false;
  for (const char* library : libraries) wanted = wanted || std::strstr(name, library) != nullptr;
  for (int i = 0; wanted && i < info->dlpi_phnum && gRangeCount < 16; ++i) {
    const ElfW(Phdr)& segment = info->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD || !(segment.p_flags & PF_X)) continue;
    const uintptr_t start = info->dlpi_addr + segment.p_vaddr;
    gRanges[gRangeCount++] = {start, start + segment.p_memsz};
  }
  return 0;
}

bool ShouldFail(void* caller) {
  if (!gArmed.load(std::memory_order_relaxed)) return false;
  const uintptr_t at = reinterpret_cast<uintptr_t>(caller);
  bool counted = false;
  for (int i = 0; i < gRangeCount && !counted; ++i) counted = at >= gRanges[i].first && at < gRanges[i].second;
  if (!counted) return false;
  const size_t call = ++gCalls;
  if (gFailAt == 0 || call != gFailAt) return false;
  gFired = true;
  return true;
}

}  // namespace

#ifndef QVR_SANITIZER_OWNS_MALLOC
extern "C" void* malloc(size_t size) {
  if (!gNextMalloc) gNextMalloc = reinterpret_cast<MallocFunction>(dlsym(RTLD_NEXT, "malloc"));
  if (ShouldFail(__builtin_return_address(0))) return nullptr;
  return gNextMalloc(size);
}

extern "C" void* calloc(size_t count, size_t size) {
  if (!gNextCalloc) {
    static bool looking = false;
    if (looking) {  // dlsym's own request, made while it finds the next calloc
      void* block = gBootstrap + gBootstrapUsed;
      gBootstrapUsed += (count * size + 15) & ~size_t(15);
      return block;
    }
    looking = true;
    gNextCalloc = reinterpret_cast<CallocFunction>(dlsym(RTLD_NEXT, "calloc"));
    looking = false;
  }
  if (ShouldFail(__builtin_return_address(0))) return nullptr;
  return gNextCalloc(count, size);
}
#endif

namespace allocations {

void Arm(size_t failAt) {
  if (gRangeCount == 0) dl_iterate_phdr(NoteRange, nullptr);
  gCalls = 0;
  gFailAt = failAt;
  gFired = false;
  gArmed = true;
}

void Disarm() { gArmed = false; }
size_t Calls() { return gCalls; }
bool Fired() { return gFired; }

}  // namespace allocations
