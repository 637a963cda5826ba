// The parser: tokens to a Program (the main statements and the Sub and Function
// definitions). A syntax error names the position and what was expected there.
#pragma once

#include "ast.h"

#include <string>

namespace qvrlang {

Program parseProgram(const std::string& source, const std::string& file);

}  // namespace qvrlang
