// The checker: reads a parsed program once before it runs, gives every expression it can
// its static type (from the declared types of variables, parameters, results and host
// members, as the host's compiler types it) and reports, with their positions, the
// mistakes that need no running to find: unknown types, classes, names and members,
// names declared twice, assignments to constants, values of the wrong declared type.
#pragma once

#include "ast.h"
#include "values.h"

#include <host/runtime.h>

#include <unordered_map>

namespace qvrlang {

// The static type of each expression the checker could type, by node.
using StaticTypes = std::unordered_map<const Expr*, Type>;

// Throws ProgramError for the first mistake found.
StaticTypes checkProgram(host::Runtime& rt, const Program& program);

// Whether name is one of the built-in functions (builtins.cpp).
bool isBuiltinFunction(const std::string& name);

// The members every Variant has, whatever it holds, and the type each answers
// ("" when the name is none of them).
const char* variantMemberType(const std::string& name);

}  // namespace qvrlang
