// The platform's allocations made to fail: malloc and calloc of the test process pass
// through platform_allocations.cpp, which, while armed, answers null to the k-th call
// made from our own libraries (libqvrplatform, the two plugins). Calls from the host, the
// tests, the C++ runtime (operator new throws instead), the Objective-C runtime (which
// ends the process by design) and GNUstep Base are not counted: GNUstep Base does not
// survive its own allocations failing (it crashes collecting the return addresses of the
// NSMallocException it raises), which no code of ours can mend.
#pragma once

#include <cstddef>

namespace allocations {

void Arm(size_t failAt);  // 0: count only
void Disarm();
size_t Calls();
bool Fired();

}  // namespace allocations
