// Conditional compilation: #If, #ElseIf, #Else and #EndIf choose, before parsing, which
// lines of a program exist, by the target constants.
#pragma once

#include "lexer.h"
#include "targets.h"

#include <vector>

namespace qvrlang {

// The tokens of the lines the directives keep, without the directive lines.
std::vector<Token> compileConditions(const std::vector<Token>& tokens, const std::vector<TargetConstant>& targets);

}  // namespace qvrlang
