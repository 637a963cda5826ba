// What a host exception tells host code, for tests that expect one.
#pragma once

#include <string>

#include "host/runtime.h"

// "Class: message" of the host exception that call() raises, or "" when it raises none.
template <class Call>
std::string Raised(Call call) {
  try {
    call();
  } catch (const host::HostException& e) {
    return e.className() + ": " + e.message();
  }
  return "";
}
