// Program errors: the message a person reads when the program text is wrong, naming
// the file, the line and the column, in the form compilers use so editors can jump there.
#include "errors.h"

namespace qvrlang {

ProgramError::ProgramError(Position where, const std::string& message)
    : std::runtime_error(message), where_(where), message_(message) {}

std::string ProgramError::describe(const std::string& file) const {
  return file + ":" + std::to_string(where_.line) + ":" + std::to_string(where_.column) + ": error: " + message_;
}

void fail(Position where, const std::string& message) { throw ProgramError(where, message); }

}  // namespace qvrlang
