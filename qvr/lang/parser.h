// The parser: tokens to a Program (the main statements and the Sub and Function
// definitions). A syntax error names the position and what was expected there.
#pragma once

#include "ast.h"
#include "targets.h"

#include <string>
#include <vector>

namespace qvrlang {

// targets: the constants #If directives test.
Program parseProgram(const std::string& source, const std::string& file, const std::vector<TargetConstant>& targets = {});

}  // namespace qvrlang
