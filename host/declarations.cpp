// Declaration strings as plugins register them and host code names them:
//   "name(a as T, b() as U = 0, assigns v as V) as R()"
// Type names keep their spelling (compared without case later); default values keep
// their text and are evaluated against the parameter's type at call time.
#include "runtime_private.h"

#include <cctype>

namespace host {

namespace {

bool isSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

bool isIdentifierChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.'; }

std::string_view trim(std::string_view s) {
  while (!s.empty() && isSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && isSpace(s.back())) s.remove_suffix(1);
  return s;
}

[[noreturn]] void fail(std::string_view text, const std::string& why) {
  throw std::invalid_argument("bad declaration \"" + std::string(text) + "\": " + why);
}

// Splits at commas that are outside quotes and parentheses.
std::vector<std::string_view> splitList(std::string_view s, std::string_view whole) {
  std::vector<std::string_view> parts;
  int depth = 0;
  bool quoted = false;
  size_t start = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    char c = s[i];
    if (c == '"') quoted = !quoted;
    if (quoted) continue;
    if (c == '(') ++depth;
    if (c == ')') --depth;
    if (c == ',' && depth == 0) {
      parts.push_back(trim(s.substr(start, i - start)));
      start = i + 1;
    }
  }
  if (quoted || depth != 0) fail(whole, "unbalanced quotes or parentheses");
  parts.push_back(trim(s.substr(start)));
  return parts;
}

// Reads a word (identifier) at the front of s.
std::string_view takeWord(std::string_view& s) {
  s = trim(s);
  size_t n = 0;
  while (n < s.size() && isIdentifierChar(s[n])) ++n;
  std::string_view word = s.substr(0, n);
  s.remove_prefix(n);
  return word;
}

// Reads "as Type" or "as Type()" from the front of s. Returns false when s does not
// start with "as".
bool takeType(std::string_view& s, std::string& type, bool& isArray, std::string_view whole) {
  std::string_view rest = s;
  std::string_view as = takeWord(rest);
  if (!equalsIgnoringCase(as, "as")) return false;
  std::string_view name = takeWord(rest);
  if (name.empty()) fail(whole, "a type name must follow \"as\"");
  type = std::string(name);
  rest = trim(rest);
  if (rest.size() >= 2 && rest[0] == '(') {
    std::string_view inner = rest.substr(1);
    inner = trim(inner);
    if (!inner.empty() && inner[0] == ')') {
      isArray = true;
      rest = inner.substr(1);
    }
  }
  s = rest;
  return true;
}

Parameter parseParameter(std::string_view text, std::string_view whole) {
  Parameter p;
  std::string_view s = text;
  std::string_view word = takeWord(s);
  for (;;) {
    if (equalsIgnoringCase(word, "assigns")) {
      p.assigns = true;
    } else if (equalsIgnoringCase(word, "byval") || equalsIgnoringCase(word, "byref") ||
               equalsIgnoringCase(word, "optional") || equalsIgnoringCase(word, "extends") ||
               equalsIgnoringCase(word, "paramarray")) {
    } else {
      break;
    }
    word = takeWord(s);
  }
  if (word.empty()) fail(whole, "a parameter needs a name");
  p.name = std::string(word);
  s = trim(s);
  if (s.size() >= 2 && s[0] == '(') {
    std::string_view inner = trim(s.substr(1));
    if (inner.empty() || inner[0] != ')') fail(whole, "only one-dimensional array parameters are supported");
    p.isArray = true;
    s = inner.substr(1);
  }
  bool typeIsArray = false;
  if (!takeType(s, p.type, typeIsArray, whole)) fail(whole, "parameter \"" + p.name + "\" needs \"as Type\"");
  p.isArray = p.isArray || typeIsArray;
  s = trim(s);
  if (!s.empty()) {
    if (s[0] != '=') fail(whole, "unexpected text after parameter \"" + p.name + "\"");
    std::string_view value = trim(s.substr(1));
    if (value.empty()) fail(whole, "empty default value");
    p.defaultValue = std::string(value);
  }
  return p;
}

}  // namespace

Declaration Declaration::parse(std::string_view text) {
  Declaration d;
  std::string_view s = trim(text);
  d.name = std::string(takeWord(s));
  if (d.name.empty() || std::isdigit(static_cast<unsigned char>(d.name[0]))) fail(text, "a declaration starts with a name");
  s = trim(s);
  if (!s.empty() && s[0] == '(') {
    int depth = 0;
    bool quoted = false;
    size_t close = std::string_view::npos;
    for (size_t i = 0; i < s.size(); ++i) {
      if (s[i] == '"') quoted = !quoted;
      if (quoted) continue;
      if (s[i] == '(') ++depth;
      if (s[i] == ')' && --depth == 0) {
        close = i;
        break;
      }
    }
    if (close == std::string_view::npos) fail(text, "missing \")\"");
    std::string_view inner = trim(s.substr(1, close - 1));
    if (!inner.empty())
      for (std::string_view part : splitList(inner, text)) {
        if (part.empty()) fail(text, "empty parameter");
        d.parameters.push_back(parseParameter(part, text));
      }
    s = s.substr(close + 1);
  }
  s = trim(s);
  if (!s.empty()) {
    if (!takeType(s, d.returnType, d.returnsArray, text)) fail(text, "unexpected text after the parameters");
    if (!trim(s).empty()) fail(text, "unexpected text after the result type");
  }
  for (size_t i = 0; i < d.parameters.size(); ++i)
    if (d.parameters[i].assigns && i + 1 != d.parameters.size()) fail(text, "\"assigns\" must be the last parameter");
  return d;
}

std::string squeezed(std::string_view text) {
  std::string out;
  for (char c : text)
    if (!isSpace(c)) out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

bool sameSignature(const Declaration& a, const Declaration& b, bool compareResult) {
  if (!equalsIgnoringCase(a.name, b.name) || a.parameters.size() != b.parameters.size()) return false;
  for (size_t i = 0; i < a.parameters.size(); ++i) {
    const Parameter& p = a.parameters[i];
    const Parameter& q = b.parameters[i];
    if (!equalsIgnoringCase(p.type, q.type) || p.isArray != q.isArray || p.assigns != q.assigns) return false;
  }
  if (!compareResult) return true;
  return equalsIgnoringCase(a.returnType, b.returnType) && a.returnsArray == b.returnsArray;
}

}  // namespace host
