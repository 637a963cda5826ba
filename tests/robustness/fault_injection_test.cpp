// Allocations failing inside the tour: each host allocation entry point answering null at
// its k-th call, and the platform's malloc and calloc answering null at their k-th call,
// for every k up to the number of calls each member makes. Every member must come back
// with its usual result or a neutral one, leave nothing alive and give back every lock;
// an encoder's bytes must be the usual ones or decode to the same pixels.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

#include "host/faults.h"
#include "support/independent_decoder.h"
#include "tour.h"

// The platform's allocations made to fail: malloc and calloc of the test process pass
// through the definitions below (the next ones, the C library's or the sanitizer's, do the
// work), which, while armed, answer null to the k-th call made from our own libraries
// (libqvrplatform, the two plugins), told by the return address against the address
// ranges of those libraries. Calls from the host, the tests, the C++ runtime (operator new
// throws instead), the Objective-C runtime (which ends the process by design) and GNUstep
// Base are not counted: GNUstep Base does not survive its own allocations failing (it
// crashes collecting the return addresses of the NSMallocException it raises), which no
// code of ours can mend.
#ifdef QVR_SANITIZER_OWNS_MALLOC  // only counting is left without the two definitions below
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-variable"
#endif

namespace {

void* (*gNextMalloc)(size_t) = nullptr;
void* (*gNextCalloc)(size_t, size_t) = nullptr;

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
  if (!counted || ++gCalls != gFailAt) return false;  // calls count from 1: a gFailAt of 0 never fails
  gFired = true;
  return true;
}

// Counts the calls from now on and fails the failAt-th (0: none).
void ArmAllocations(size_t failAt) {
  if (gRangeCount == 0) dl_iterate_phdr(NoteRange, nullptr);
  gCalls = 0;
  gFailAt = failAt;
  gFired = false;
  gArmed = true;
}

}  // namespace

#ifndef QVR_SANITIZER_OWNS_MALLOC
extern "C" void* malloc(size_t size) {
  if (!gNextMalloc) gNextMalloc = reinterpret_cast<void* (*)(size_t)>(dlsym(RTLD_NEXT, "malloc"));
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
    gNextCalloc = reinterpret_cast<void* (*)(size_t, size_t)>(dlsym(RTLD_NEXT, "calloc"));
    looking = false;
  }
  if (ShouldFail(__builtin_return_address(0))) return nullptr;
  return gNextCalloc(count, size);
}
#endif

namespace {

std::string Kind(const std::string& result) { return result.substr(0, result.find(':')); }

// An encoder's bytes made with an allocation failing: the usual bytes, or bytes an
// independent decoder reads as the same pixels (never, say, a blank image of the same size).
bool SameImage(const std::string& bytes, const std::string& usual) {
  if (bytes == usual) return true;
  const support::DecodedImage got = support::DecodeIndependently(bytes), want = support::DecodeIndependently(usual);
  return got.ok && want.ok && got.width == want.width && got.height == want.height && got.rgba == want.rgba;
}

// Runs every step once to count, then once per k with the k-th call failing. With
// `sameKind`, a result of the usual kind (another image) passes too, and is only noted.
void FailEachCall(const std::function<void(size_t)>& arm, const std::function<void()>& disarm,
                  const std::function<size_t()>& calls, const std::function<bool()>& fired, bool sameKind = false) {
  tour::TourHost host({});
  // A step with the k-th call failing (0: none, counting only); `ended` reads the counts
  // when the member call ends, whichever way, before the failure is disarmed.
  const auto run = [&](const tour::Step& step, size_t k, const std::function<void()>& ended) {
    return tour::Run(host, step, [&](const std::function<void()>& body) {
      struct End {
        const std::function<void()>&ended, &disarm;
        ~End() { ended(), disarm(); }
      } end{ended, disarm};
      arm(k);
      body();
    });
  };
  size_t failures = 0;
  for (const tour::Step& step : tour::Steps(host)) {
    size_t count = 0;
    const tour::Outcome usual = run(step, 0, [&] { count = calls(); });
    ASSERT_EQ(usual.problem, "") << step.label();
    for (size_t k = 1; k <= count; ++k) {
      bool happened = false;
      const tour::Outcome o = run(step, k, [&] { happened = fired(); });
      EXPECT_EQ(o.problem, "") << step.label() << " with call " << k << " failing";
      const bool encoded = Kind(usual.result) == "block" && Kind(o.result) == "block";
      const bool same = encoded ? SameImage(o.bytes, usual.bytes) : o.result == usual.result;
      const bool alike = tour::Neutral(o.result) || same;
      if (!alike && sameKind && !encoded && Kind(o.result) == Kind(usual.result))
        std::printf("note: %s with call %zu failing gave %s, usually %s\n", step.label().c_str(), k, o.result.c_str(),
                    usual.result.c_str());
      else
        EXPECT_TRUE(alike) << step.label() << " with call " << k << " failing gave " << o.result << ", usually "
                           << usual.result;
      failures += happened;
    }
  }
  ::testing::Test::RecordProperty("failures", int(failures));
  std::printf("%zu calls made to fail\n", failures);
  // No member makes this allocation (yet): nothing to prove, and said so.
  if (failures == 0) GTEST_SKIP() << "no member of the tour makes this allocation";
}

class HostAllocationFails : public ::testing::TestWithParam<const char*> {};

TEST_P(HostAllocationFails, AtEachCallOfTheTour) {
  const std::string name = GetParam();
  FailEachCall([&](size_t k) { host::faults::arm(k ? name : "", k); }, [] { host::faults::disarm(); },
               [&] { return host::faults::calls(name); }, [] { return host::faults::fired(); });
}

INSTANTIATE_TEST_SUITE_P(Allocations, HostAllocationFails,
                         ::testing::Values("PluginNewInstance", "newMemoryBlock", "newPicture", "REALBuildString",
                                           "RuntimeArrayCreateSingleDimBoundedArray"),
                         [](const ::testing::TestParamInfo<const char*>& info) { return std::string(info.param); });

TEST(PlatformAllocationFails, MallocAndCallocAtEachCallOfTheTour) {
#ifdef QVR_SANITIZER_OWNS_MALLOC
  GTEST_SKIP() << "the sanitizers own malloc and calloc in this build";
#endif
  FailEachCall([](size_t k) { host::faults::arm(); ArmAllocations(k); }, [] { gArmed = false; host::faults::disarm(); },
               [] { return size_t(gCalls); }, [] { return bool(gFired); }, true);
}

}  // namespace
