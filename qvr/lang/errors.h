// Errors of the language engine that are not host exceptions: syntax and type errors
// found while reading or running a program, each with the file, line and column it
// refers to, and the position type every token and syntax node carries.
#pragma once

#include <stdexcept>
#include <string>

namespace qvrlang {

struct Position {
  int line = 0;
  int column = 0;
};

// A mistake in the program text (syntax) or in how it uses values (types, unknown
// names): reported as "file:line:column: error: message" and never caught by Try.
class ProgramError : public std::runtime_error {
 public:
  ProgramError(Position where, const std::string& message);
  Position where() const { return where_; }
  const std::string& message() const { return message_; }
  std::string describe(const std::string& file) const;

 private:
  Position where_;
  std::string message_;
};

[[noreturn]] void fail(Position where, const std::string& message);

}  // namespace qvrlang
