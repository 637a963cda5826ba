// The lexer: turns program text into tokens with their positions. Numbers come in
// decimal, &h hexadecimal, &o octal, &b binary; &c makes a colour; strings double their
// quotes to hold one. #Pragma lines are skipped; other directives become tokens.
#include "lexer.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

namespace qvrlang {

namespace {

// The "C" locale's tolower, without a library call for every character.
char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

std::string lowered(const std::string& text) {
  std::string out(text);
  for (char& c : out) c = lowerAscii(c);
  return out;
}

bool NameOrder::operator()(std::string_view a, std::string_view b) const {
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i)
    if (lowerAscii(a[i]) != lowerAscii(b[i])) return lowerAscii(a[i]) < lowerAscii(b[i]);
  return a.size() < b.size();
}

bool sameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (lowerAscii(a[i]) != lowerAscii(b[i])) return false;
  return true;
}

namespace {

bool isNameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_' || (c & 0x80); }
bool isNameChar(char c) { return isNameStart(c) || std::isdigit(static_cast<unsigned char>(c)); }

class Lexer {
 public:
  explicit Lexer(const std::string& source) : src_(source) {}

  std::vector<Token> run() {
    bool lineStart = true;
    if (src_.compare(0, 3, "\xEF\xBB\xBF") == 0) pos_ = 3;  // a UTF-8 byte order mark is not text
    while (pos_ < src_.size()) {
      char c = src_[pos_];
      if (c == ' ' || c == '\t' || c == '\r') {
        advance();
        continue;
      }
      if (c == '\n') {
        emitEndOfLine();
        advance();
        lineStart = true;
        continue;
      }
      if (lineStart && c == '#') {
        // #Pragma lines tune the compiler and mean nothing here. Other directives (#If,
        // #ElseIf, #Else, #EndIf) stay in the tokens as "#" and their words, for the
        // conditional compilation that follows the lexer.
        size_t end = pos_ + 1;
        while (end < src_.size() && std::isalpha(static_cast<unsigned char>(src_[end]))) ++end;
        if (lowered(src_.substr(pos_ + 1, end - pos_ - 1)) == "pragma") {
          skipToEndOfLine();
          continue;
        }
        Token hash;
        hash.kind = Token::Kind::Symbol;
        hash.text = "#";
        hash.where = here();
        tokens_.push_back(hash);
        advance();
        lineStart = false;
        continue;
      }
      lineStart = false;
      if (c == '\'' || (c == '/' && peek(1) == '/')) {
        skipToEndOfLine();
        continue;
      }
      if (isNameStart(c)) {
        name();
        continue;
      }
      if (std::isdigit(static_cast<unsigned char>(c)) || (c == '.' && std::isdigit(static_cast<unsigned char>(peek(1))))) {
        number();
        continue;
      }
      if (c == '&') {
        prefixedNumber();
        continue;
      }
      if (c == '"') {
        string();
        continue;
      }
      symbol();
    }
    emitEndOfLine();
    Token end;
    end.kind = Token::Kind::EndOfFile;
    end.where = here();
    tokens_.push_back(end);
    return std::move(tokens_);
  }

 private:
  char peek(size_t ahead) const { return pos_ + ahead < src_.size() ? src_[pos_ + ahead] : '\0'; }
  Position here() const { return {line_, column_}; }

  void advance() {
    if (src_[pos_] == '\n') {
      ++line_;
      column_ = 1;
    } else if ((static_cast<unsigned char>(src_[pos_]) & 0xC0) != 0x80) {
      ++column_;  // columns count characters, not the continuation bytes of UTF-8
    }
    ++pos_;
  }

  void skipToEndOfLine() {
    while (pos_ < src_.size() && src_[pos_] != '\n') advance();
  }

  void emitEndOfLine() {
    if (tokens_.empty() || tokens_.back().kind == Token::Kind::EndOfLine) return;
    Token t;
    t.kind = Token::Kind::EndOfLine;
    t.where = here();
    tokens_.push_back(t);
  }

  void name() {
    Token t;
    t.kind = Token::Kind::Identifier;
    t.where = here();
    size_t start = pos_;
    while (pos_ < src_.size() && isNameChar(src_[pos_])) advance();
    t.text = src_.substr(start, pos_ - start);
    t.lower = lowered(t.text);
    if (t.lower == "rem") {
      skipToEndOfLine();
      return;
    }
    if (t.text == "_") {
      // Line continuation: only blanks or a comment may follow it on its line.
      size_t p = pos_;
      while (p < src_.size() && (src_[p] == ' ' || src_[p] == '\t' || src_[p] == '\r')) ++p;
      bool comment = p < src_.size() && (src_[p] == '\'' || (src_[p] == '/' && p + 1 < src_.size() && src_[p + 1] == '/'));
      if (p >= src_.size() || src_[p] == '\n' || comment) {
        skipToEndOfLine();
        if (pos_ < src_.size()) advance();
        return;
      }
    }
    tokens_.push_back(t);
  }

  void number() {
    Token t;
    t.where = here();
    size_t start = pos_;
    bool real = false;
    while (std::isdigit(static_cast<unsigned char>(peek(0)))) advance();
    if (peek(0) == '.' && std::isdigit(static_cast<unsigned char>(peek(1)))) {
      real = true;
      advance();
      while (std::isdigit(static_cast<unsigned char>(peek(0)))) advance();
    }
    if ((peek(0) == 'e' || peek(0) == 'E') &&
        (std::isdigit(static_cast<unsigned char>(peek(1))) ||
         ((peek(1) == '+' || peek(1) == '-') && std::isdigit(static_cast<unsigned char>(peek(2)))))) {
      real = true;
      advance();
      if (peek(0) == '+' || peek(0) == '-') advance();
      while (std::isdigit(static_cast<unsigned char>(peek(0)))) advance();
    }
    t.text = src_.substr(start, pos_ - start);
    if (isNameStart(peek(0))) fail(here(), "unexpected \"" + std::string(1, peek(0)) + "\" after the number " + t.text);
    if (real) {
      t.kind = Token::Kind::Double;
      t.real = std::strtod(t.text.c_str(), nullptr);
    } else {
      t.kind = Token::Kind::Integer;
      errno = 0;
      unsigned long long v = std::strtoull(t.text.c_str(), nullptr, 10);
      if (errno == ERANGE || v > static_cast<unsigned long long>(INT64_MAX)) fail(t.where, "the number " + t.text + " is too large");
      t.integer = static_cast<int64_t>(v);
    }
    tokens_.push_back(t);
  }

  void prefixedNumber() {
    Token t;
    t.where = here();
    char kind = static_cast<char>(std::tolower(static_cast<unsigned char>(peek(1))));
    int base = kind == 'h' || kind == 'c' ? 16 : kind == 'o' ? 8 : kind == 'b' ? 2 : 0;
    if (!base) fail(t.where, "expected &h, &o, &b or &c");
    advance();
    advance();
    std::string digits;
    while (std::isxdigit(static_cast<unsigned char>(peek(0)))) {
      digits += peek(0);
      advance();
    }
    if (digits.empty()) fail(t.where, std::string("expected digits after &") + kind);
    char* end = nullptr;
    errno = 0;
    unsigned long long v = std::strtoull(digits.c_str(), &end, base);
    if (*end || errno == ERANGE) fail(t.where, "\"" + digits + "\" is not a number in base " + std::to_string(base));
    if (kind == 'c') {
      if (digits.size() != 6 && digits.size() != 8) fail(t.where, "a colour is written &cRRGGBB or &cRRGGBBAA");
      t.kind = Token::Kind::Color;
      // &cRRGGBBAA keeps its alpha in the top byte of the host's colour word.
      uint32_t rgb = digits.size() == 8 ? static_cast<uint32_t>(v >> 8) | (static_cast<uint32_t>(v & 0xFF) << 24)
                                        : static_cast<uint32_t>(v);
      t.integer = rgb;
    } else {
      t.kind = Token::Kind::Integer;
      t.integer = static_cast<int64_t>(v);
    }
    t.text = std::string("&") + kind + digits;
    tokens_.push_back(t);
  }

  void string() {
    Token t;
    t.kind = Token::Kind::String;
    t.where = here();
    advance();
    for (;;) {
      if (pos_ >= src_.size() || src_[pos_] == '\n') fail(t.where, "this string has no closing quote");
      if (src_[pos_] == '"') {
        if (peek(1) == '"') {
          t.text += '"';
          advance();
          advance();
          continue;
        }
        advance();
        break;
      }
      t.text += src_[pos_];
      advance();
    }
    tokens_.push_back(t);
  }

  void symbol() {
    static const char* kTwo[] = {"<>", "<=", ">=", "+=", "-=", "*=", "/="};
    Token t;
    t.kind = Token::Kind::Symbol;
    t.where = here();
    for (const char* two : kTwo)
      if (src_[pos_] == two[0] && peek(1) == two[1]) {
        t.text = two;
        advance();
        advance();
        tokens_.push_back(t);
        return;
      }
    static const std::string kOne = "+-*/\\^=<>(),.";
    char c = src_[pos_];
    if (kOne.find(c) == std::string::npos) fail(t.where, std::string("unexpected character \"") + c + "\"");
    t.text = std::string(1, c);
    advance();
    tokens_.push_back(t);
  }

  const std::string& src_;
  size_t pos_ = 0;
  int line_ = 1, column_ = 1;
  std::vector<Token> tokens_;
};

}  // namespace

std::vector<Token> tokenize(const std::string& source) { return Lexer(source).run(); }

}  // namespace qvrlang
