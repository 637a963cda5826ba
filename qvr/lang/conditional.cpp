// Conditional compilation over the token stream. A directive line is "#" and its word;
// the conditions are small expressions of target constants, True and False, numbers,
// comparisons, Not, And, Or and parentheses ("#If TargetLinux And XojoVersion >= 2013.01").
// Lines in branches not taken must still be valid tokens, as in the host.
#include "conditional.h"

#include <string>

namespace qvrlang {

namespace {

// A value of a condition: a Boolean or a number.
struct Constant {
  bool isBoolean = false;
  double value = 0;
};

class Condition {
 public:
  Condition(const std::vector<Token>& line, size_t start, const std::vector<TargetConstant>& targets, const Token& directive)
      : line_(line), pos_(start), targets_(targets), directive_(directive) {}

  bool evaluate() {
    Constant c = either();
    if (pos_ < line_.size() && line_[pos_].kind == Token::Kind::Identifier && line_[pos_].lower == "then") ++pos_;
    if (pos_ < line_.size()) fail(line_[pos_].where, "expected \"Then\" and the end of the line after the #" + directive_.text + " condition");
    if (!c.isBoolean) fail(directive_.where, "#" + directive_.text + " expects a Boolean condition but got a number");
    return c.value != 0;
  }

 private:
  const Token* at() const { return pos_ < line_.size() ? &line_[pos_] : nullptr; }
  bool isWord(const char* w) const { return at() && at()->kind == Token::Kind::Identifier && at()->lower == w; }
  bool isSymbol(const char* s) const { return at() && at()->kind == Token::Kind::Symbol && at()->text == s; }
  Position where() const { return at() ? at()->where : directive_.where; }

  Constant boolean(const Constant& c, const char* op) {
    if (!c.isBoolean) fail(where(), std::string(op) + " in a #" + directive_.text + " condition expects Booleans");
    return c;
  }

  Constant either() {
    Constant left = both();
    while (isWord("or")) {
      ++pos_;
      boolean(left, "Or");
      Constant right = boolean(both(), "Or");
      left.value = (left.value != 0 || right.value != 0) ? 1 : 0;
    }
    return left;
  }

  Constant both() {
    Constant left = negation();
    while (isWord("and")) {
      ++pos_;
      boolean(left, "And");
      Constant right = boolean(negation(), "And");
      left.value = (left.value != 0 && right.value != 0) ? 1 : 0;
    }
    return left;
  }

  Constant negation() {
    if (!isWord("not")) return comparison();
    ++pos_;
    Constant c = boolean(negation(), "Not");
    c.value = c.value != 0 ? 0 : 1;
    return c;
  }

  Constant comparison() {
    Constant left = primary();
    static const char* kOps[] = {"=", "<>", "<", ">", "<=", ">="};
    for (const char* op : kOps) {
      if (!isSymbol(op)) continue;
      ++pos_;
      Constant right = primary();
      if (left.isBoolean != right.isBoolean) fail(where(), std::string("the operator ") + op + " compares two numbers or two Booleans");
      const std::string o = op;
      const double a = left.value, b = right.value;
      bool r = o == "=" ? a == b : o == "<>" ? a != b : o == "<" ? a < b : o == ">" ? a > b : o == "<=" ? a <= b : a >= b;
      return Constant{true, r ? 1.0 : 0.0};
    }
    return left;
  }

  Constant primary() {
    const Token* t = at();
    if (!t) fail(directive_.where, "#" + directive_.text + " needs a condition");
    ++pos_;
    if (t->kind == Token::Kind::Integer) return Constant{false, static_cast<double>(t->integer)};
    if (t->kind == Token::Kind::Double) return Constant{false, t->real};
    if (t->kind == Token::Kind::Symbol && t->text == "-") {
      Constant c = primary();
      if (c.isBoolean) fail(t->where, "cannot negate a Boolean");
      c.value = -c.value;
      return c;
    }
    if (t->kind == Token::Kind::Symbol && t->text == "(") {
      Constant c = either();
      if (!isSymbol(")")) fail(where(), "expected \")\" in the #" + directive_.text + " condition");
      ++pos_;
      return c;
    }
    if (t->kind == Token::Kind::Identifier) {
      if (t->lower == "true" || t->lower == "false") return Constant{true, t->lower == "true" ? 1.0 : 0.0};
      if (const TargetConstant* c = findTarget(targets_, t->text)) return Constant{c->isBoolean, c->value};
      fail(t->where, "unknown constant \"" + t->text + "\" in #" + directive_.text +
                         " (conditions use the target constants: TargetLinux, TargetMacOS, TargetWindows, TargetDesktop, "
                         "TargetConsole, TargetWeb, TargetX86, Target32Bit, Target64Bit, DebugBuild, XojoVersion, RBVersion, ...)");
    }
    fail(t->where, "unexpected \"" + t->text + "\" in the #" + directive_.text + " condition");
  }

  const std::vector<Token>& line_;
  size_t pos_;
  const std::vector<TargetConstant>& targets_;
  const Token& directive_;
};

struct Open {
  Position where;
  bool outerActive;  // the lines around this #If are kept
  bool taken;        // a branch was chosen
  bool sawElse;
};

}  // namespace

std::vector<Token> compileConditions(const std::vector<Token>& tokens, const std::vector<TargetConstant>& targets) {
  std::vector<Token> out;
  out.reserve(tokens.size());
  std::vector<Open> open;
  bool active = true;
  for (size_t i = 0; i < tokens.size(); ++i) {
    const Token& t = tokens[i];
    if (!(t.kind == Token::Kind::Symbol && t.text == "#")) {
      if (active || t.kind == Token::Kind::EndOfFile) out.push_back(t);
      continue;
    }
    // A directive line: "#", its word, the rest up to the end of the line.
    std::vector<Token> line;
    size_t j = i + 1;
    for (; j < tokens.size() && tokens[j].kind != Token::Kind::EndOfLine && tokens[j].kind != Token::Kind::EndOfFile; ++j)
      line.push_back(tokens[j]);
    i = (j < tokens.size() && tokens[j].kind == Token::Kind::EndOfLine) ? j : j - 1;
    if (line.empty() || line[0].kind != Token::Kind::Identifier) fail(t.where, "expected a directive after \"#\" (#If, #ElseIf, #Else, #EndIf, #Pragma)");
    const Token& directive = line[0];
    const std::string& word = directive.lower;
    auto condition = [&] { return Condition(line, 1, targets, directive).evaluate(); };
    auto nothingAfter = [&](size_t from) {
      if (line.size() > from) fail(line[from].where, "expected the end of the line after #" + directive.text);
    };
    if (word == "if") {
      const bool value = active ? condition() : false;
      open.push_back({directive.where, active, value, false});
      active = active && value;
    } else if (word == "elseif" || word == "else" || (word == "end" && line.size() > 1 && line[1].lower == "if") || word == "endif") {
      if (open.empty()) fail(t.where, "#" + directive.text + " without #If");
      Open& o = open.back();
      if (word == "elseif") {
        if (o.sawElse) fail(t.where, "#ElseIf after #Else");
        const bool value = o.outerActive && !o.taken ? condition() : false;
        active = o.outerActive && !o.taken && value;
        o.taken = o.taken || value;
      } else if (word == "else") {
        if (o.sawElse) fail(t.where, "a second #Else");
        nothingAfter(1);
        active = o.outerActive && !o.taken;
        o.taken = o.sawElse = true;
      } else {
        nothingAfter(word == "end" ? 2 : 1);
        active = o.outerActive;
        open.pop_back();
      }
    } else {
      fail(t.where, "the directive #" + directive.text + " is not supported (only #If, #ElseIf, #Else, #EndIf and #Pragma)");
    }
  }
  if (!open.empty()) fail(open.back().where, "#If without #EndIf");
  return out;
}

}  // namespace qvrlang
