// The checker: reads a parsed program once before it runs and reports, with their
// positions, the mistakes that need no running to find: unknown types, classes and
// names, names declared twice, assignments to constants.
#pragma once

#include "ast.h"

#include <host/runtime.h>

namespace qvrlang {

// Throws ProgramError for the first mistake found.
void checkProgram(host::Runtime& rt, const Program& program);

// Whether name is one of the built-in functions (builtins.cpp).
bool isBuiltinFunction(const std::string& name);

}  // namespace qvrlang
