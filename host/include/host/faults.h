// Test knobs of the host for robustness tests: the names plugins asked the resolver for,
// calls of every entry point counted by name, one entry point made to answer its neutral
// result (null, 0, false) at its k-th call, and the lock pairs plugins left open.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/runtime.h"

namespace host::faults {

// A new instance on which only the class constructors ran, no Constructor overload, as
// "PluginNewInstance" makes them but without that entry point: so that a test can call a
// Constructor on it as a member. Nil for an unknown class.
Value bareInstance(Runtime& runtime, const std::string& className);

// Entry-point names plugins asked the resolver for, in first-asked order, since the
// process began (missing ones too).
std::vector<std::string> resolvedNames();

// Counts calls of every entry point from now on; the k-th call (from 1) of `name` does
// not run and answers the neutral result of its C type. k = 0 (or an empty name) only
// counts. Calls refused for foreign threads are neither counted nor failed.
void arm(const std::string& name = "", size_t k = 0);
// Stops counting and failing; counts and open locks stay readable until the next arm.
void disarm();
// Calls of `name` since arm(), and whether the armed failure happened.
size_t calls(const std::string& name);
bool fired();

// Picture description locks and string data locks handed out since arm() and not given
// back ("lockPictureDescription" / "unlockPictureDescription", "PluginGetStringData" /
// "PluginDisposeStringData").
long openLocks();

}  // namespace host::faults
