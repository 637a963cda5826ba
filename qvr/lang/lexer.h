// The lexer: program text to tokens. The language is line-oriented, so ends of lines
// are tokens; comments (', //, Rem) are dropped and a trailing _ joins two lines.
#pragma once

#include "errors.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qvrlang {

struct Token {
  enum class Kind { Identifier, Integer, Double, String, Color, Symbol, EndOfLine, EndOfFile };
  Kind kind = Kind::EndOfFile;
  std::string text;   // as written (identifiers, symbols), or the string's contents
  std::string lower;  // identifiers in lower case, for keyword and name comparison
  int64_t integer = 0;
  double real = 0;
  Position where;
};

std::vector<Token> tokenize(const std::string& source);

// Lower-case copy (ASCII), as names and keywords compare.
std::string lowered(const std::string& text);
// Whether two names are the same name: equal but for ASCII case, compared without a copy.
bool sameName(std::string_view a, std::string_view b);
// Names in order without regard to case, for maps looked up by a name as it was written.
struct NameOrder {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const;
};

}  // namespace qvrlang
