// What a host exception tells host code, for tests that expect one.
#pragma once

#include <optional>
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

// The exception of type E that call() throws (a copy), or none.
template <class E, class Call>
std::optional<E> Caught(Call call) {
  try {
    call();
  } catch (const E& e) {
    return e;
  }
  return std::nullopt;
}
