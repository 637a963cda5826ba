// Built-in functions (Print, Str, Val, Len, Format, Chr, Asc, the string functions and
// the arithmetic ones) and the members the language gives strings, numbers and colours
// ("s.Length", "n.ToString", "c.Red"). Strings count characters of UTF-8 text; searches
// and comparisons ignore case, as the language's own functions do.
#include "interpreter.h"
#include "targets.h"

#include "checker.h"

#include "lexer.h"
#include "text.h"

#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <thread>

namespace qvrlang {

double randomUnit() {
  static std::mt19937_64 generator(std::random_device{}());
  return std::uniform_real_distribution<double>(0, 1)(generator);
}


namespace {

using Args = std::vector<Value>;
using Clock = std::chrono::steady_clock;
const Clock::time_point kStart = Clock::now();

std::string lowerText(const std::string& s) { return lowerCase(s); }

// Byte offset of find in text at or after from, ignoring ASCII case; npos if absent.
size_t findIgnoringCase(const std::string& text, const std::string& find, size_t from) {
  if (find.empty()) return std::string::npos;
  return lowerText(text).find(lowerText(find), from);
}

// Character index of a byte offset in UTF-8 text.
int64_t characterIndex(const std::string& text, size_t byte) {
  int64_t n = 0;
  for (size_t i = 0; i < byte && i < text.size(); ++i)
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) ++n;
  return n;
}

// Byte offset of a character index (clamped to the end).
size_t byteOffset(const std::string& text, int64_t character) {
  if (character <= 0) return 0;
  int64_t n = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
      if (n == character) return i;
      ++n;
    }
  }
  return text.size();
}

std::string substring(const std::string& text, int64_t start, int64_t length) {
  if (length < 0) return text.substr(byteOffset(text, start));
  size_t from = byteOffset(text, start);
  size_t to = byteOffset(text, start + length);
  return text.substr(from, to > from ? to - from : 0);
}

std::string replaceText(const std::string& text, const std::string& find, const std::string& with, bool all) {
  if (find.empty()) return text;
  std::string out;
  size_t from = 0;
  for (;;) {
    size_t at = findIgnoringCase(text, find, from);
    if (at == std::string::npos) break;
    out += text.substr(from, at - from) + with;
    from = at + find.size();
    if (!all) break;
  }
  return out + text.substr(from);
}

std::string trimText(const std::string& text, bool left, bool right) {
  size_t a = 0, b = text.size();
  auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f'; };
  if (left)
    while (a < b && blank(text[a])) ++a;
  if (right)
    while (b > a && blank(text[b - 1])) --b;
  return text.substr(a, b - a);
}

std::string titleCase(const std::string& text) {
  std::string out = text;
  bool start = true;
  for (char& c : out) {
    unsigned char u = static_cast<unsigned char>(c);
    if (std::isalpha(u)) {
      c = static_cast<char>(start ? std::toupper(u) : std::tolower(u));
      start = false;
    } else {
      start = !std::isdigit(u) && c != '\'';
    }
  }
  return out;
}

std::string upperText(const std::string& s) { return upperCase(s); }

std::string encodeCodePoint(uint32_t cp) {
  std::string out;
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
  return out;
}

uint32_t firstCodePoint(const std::string& s) {
  if (s.empty()) return 0;
  unsigned char c = static_cast<unsigned char>(s[0]);
  auto cont = [&](size_t i) { return i < s.size() ? static_cast<unsigned char>(s[i]) & 0x3F : 0; };
  if (c < 0x80) return c;
  if ((c >> 5) == 6) return ((c & 0x1F) << 6) | cont(1);
  if ((c >> 4) == 14) return ((c & 0x0F) << 12) | (cont(1) << 6) | cont(2);
  if ((c >> 3) == 30) return ((c & 0x07) << 18) | (cont(1) << 12) | (cont(2) << 6) | cont(3);
  return c;
}

// Val: the number at the start of the text (after blanks); &h, &o, &b prefixes; 0 when none.
double valueOf(const std::string& s) {
  size_t i = 0;
  while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) ++i;
  if (i + 1 < s.size() && s[i] == '&') {
    char k = static_cast<char>(std::tolower(static_cast<unsigned char>(s[i + 1])));
    int base = k == 'h' ? 16 : k == 'o' ? 8 : k == 'b' ? 2 : 0;
    if (base) return static_cast<double>(std::strtoull(s.c_str() + i + 2, nullptr, base));
  }
  return std::strtod(s.c_str() + i, nullptr);
}

std::vector<std::string> splitText(const std::string& text, const std::string& separator) {
  std::vector<std::string> out;
  if (text.empty()) return out;
  if (separator.empty()) {
    for (const std::string& c : characters(text)) out.push_back(c);
    return out;
  }
  size_t from = 0;
  for (;;) {
    size_t at = findIgnoringCase(text, separator, from);
    if (at == std::string::npos) break;
    out.push_back(text.substr(from, at - from));
    from = at + separator.size();
  }
  out.push_back(text.substr(from));
  return out;
}

std::string hexText(uint64_t v, int base) {
  if (v == 0) return "0";
  std::string out;
  while (v) {
    int d = static_cast<int>(v % static_cast<uint64_t>(base));
    out.insert(out.begin(), static_cast<char>(d < 10 ? '0' + d : 'A' + d - 10));
    v /= static_cast<uint64_t>(base);
  }
  return out;
}

}  // namespace

std::string Interpreter::stringArgument(const Args& args, size_t i, const char* function, Position where) {
  const Value& v = args.at(i);
  if (v.isString()) return text(v);
  if (v.variant && !v.isArray()) return variantText(rt_, v);
  if (v.isObject() && v.v.object.get()->cls->name == "MemoryBlock") return rt_.memoryBlockBytes(v.v);  // its bytes, as a String
  fail(where, std::string(function) + " expects a String for argument " + std::to_string(i + 1) + " but got " +
                  withArticle(typeNameOf(v)) + (v.isNumber() ? "; convert it with Str" : ""));
}

double Interpreter::numberArgument(const Args& args, size_t i, const char* function, Position where) {
  const Value& v = args.at(i);
  if (v.isNumber()) return v.real();
  if (v.variant && v.isString()) return valueOf(text(v));
  fail(where, std::string(function) + " expects a number for argument " + std::to_string(i + 1) + " but got " +
                  withArticle(typeNameOf(v)) + (v.isString() ? "; convert it with Val" : ""));
}

int64_t Interpreter::integerArgument(const Args& args, size_t i, const char* function, Position where) {
  const Value& v = args.at(i);
  if (v.isNumber()) return v.integer();
  if (v.variant && v.isString()) return static_cast<int64_t>(valueOf(text(v)));
  fail(where, std::string(function) + " expects an Integer for argument " + std::to_string(i + 1) + " but got " + withArticle(typeNameOf(v)));
}

namespace {

struct Builtin {
  size_t minArgs, maxArgs;
  std::function<Value(Interpreter&, Args&, Position)> run;
};

Value integerOrDouble(double d, bool integer) {
  return integer ? Value(host::Value::ofInteger(static_cast<int64_t>(d))) : Value(host::Value::ofDouble(d));
}

const std::map<std::string, Builtin>& builtins() {
  static const std::map<std::string, Builtin> table = [] {
    std::map<std::string, Builtin> t;
    using I = Interpreter;
    t["print"] = {0, 1, [](I& in, Args& a, Position w) {
                    in.out() << (a.empty() ? std::string() : in.stringArgument(a, 0, "Print", w)) << '\n';
                    return Value();
                  }};
    t["str"] = {1, 2, [](I& in, Args& a, Position w) {
                  if (a[0].isString()) return a[0];
                  if (a[0].isNil()) return in.string("");  // an empty Variant reads as ""
                  if (a.size() == 2) return in.string(formatNumber(in.numberArgument(a, 0, "Str", w), in.stringArgument(a, 1, "Str", w)));
                  if (!a[0].isNumber() && !a[0].isBoolean() && !a[0].isColor() && !isDate(in.runtime(), a[0]))
                    fail(w, "Str expects a number but got " + withArticle(typeNameOf(a[0])));
                  return in.string(variantText(in.runtime(), a[0]));
                }};
    t["cstr"] = {1, 1, [](I& in, Args& a, Position w) {
                   if (a[0].isObject() || a[0].isArray()) fail(w, "CStr cannot convert " + withArticle(typeNameOf(a[0])));
                   return in.string(variantText(in.runtime(), a[0]));
                 }};
    t["val"] = {1, 1, [](I& in, Args& a, Position w) {
                  return Value(host::Value::ofDouble(valueOf(in.stringArgument(a, 0, "Val", w))));
                }};
    t["cdbl"] = {1, 1, [](I& in, Args& a, Position w) {
                   if (a[0].isNumber()) return Value(host::Value::ofDouble(a[0].real()));
                   return Value(host::Value::ofDouble(valueOf(in.stringArgument(a, 0, "CDbl", w))));
                 }};
    t["len"] = {1, 1, [](I& in, Args& a, Position w) {
                  return Value(host::Value::ofInteger(int64_t(characters(in.stringArgument(a, 0, "Len", w)).size())));
                }};
    t["lenb"] = {1, 1, [](I& in, Args& a, Position w) {
                   // The string's own bytes, in its own encoding.
                   if (a[0].isString()) return Value(host::Value::ofInteger(int64_t(in.runtime().bytes(a[0].v).size())));
                   return Value(host::Value::ofInteger(int64_t(in.stringArgument(a, 0, "LenB", w).size())));
                 }};
    t["format"] = {2, 2, [](I& in, Args& a, Position w) {
                     return in.string(formatNumber(in.numberArgument(a, 0, "Format", w), in.stringArgument(a, 1, "Format", w)));
                   }};
    t["chr"] = {1, 1, [](I& in, Args& a, Position w) {
                  int64_t cp = in.integerArgument(a, 0, "Chr", w);
                  if (cp < 0 || cp > 0x10FFFF) in.raise("OutOfBoundsException", "Chr of " + std::to_string(cp), w);
                  return in.string(encodeCodePoint(static_cast<uint32_t>(cp)));
                }};
    t["asc"] = {1, 1, [](I& in, Args& a, Position w) {
                  return Value(host::Value::ofInteger(firstCodePoint(in.stringArgument(a, 0, "Asc", w))));
                }};
    t["left"] = {2, 2, [](I& in, Args& a, Position w) {
                   std::string s = in.stringArgument(a, 0, "Left", w);
                   return in.string(substring(s, 0, std::max<int64_t>(0, in.integerArgument(a, 1, "Left", w))));
                 }};
    t["right"] = {2, 2, [](I& in, Args& a, Position w) {
                    std::string s = in.stringArgument(a, 0, "Right", w);
                    int64_t n = std::max<int64_t>(0, in.integerArgument(a, 1, "Right", w));
                    int64_t length = int64_t(characters(s).size());
                    return in.string(substring(s, std::max<int64_t>(0, length - n), -1));
                  }};
    t["mid"] = {2, 3, [](I& in, Args& a, Position w) {
                  std::string s = in.stringArgument(a, 0, "Mid", w);
                  int64_t start = std::max<int64_t>(1, in.integerArgument(a, 1, "Mid", w));
                  int64_t length = a.size() == 3 ? std::max<int64_t>(0, in.integerArgument(a, 2, "Mid", w)) : -1;
                  return in.string(substring(s, start - 1, length));
                }};
    t["instr"] = {2, 3, [](I& in, Args& a, Position w) {
                    size_t k = a.size() == 3 ? 1 : 0;
                    int64_t start = k ? std::max<int64_t>(1, in.integerArgument(a, 0, "InStr", w)) : 1;
                    std::string s = in.stringArgument(a, k, "InStr", w), find = in.stringArgument(a, k + 1, "InStr", w);
                    size_t at = findIgnoringCase(s, find, byteOffset(s, start - 1));
                    return Value(host::Value::ofInteger(at == std::string::npos ? 0 : characterIndex(s, at) + 1));
                  }};
    t["trim"] = {1, 1, [](I& in, Args& a, Position w) { return in.string(trimText(in.stringArgument(a, 0, "Trim", w), true, true)); }};
    t["ltrim"] = {1, 1, [](I& in, Args& a, Position w) { return in.string(trimText(in.stringArgument(a, 0, "LTrim", w), true, false)); }};
    t["rtrim"] = {1, 1, [](I& in, Args& a, Position w) { return in.string(trimText(in.stringArgument(a, 0, "RTrim", w), false, true)); }};
    t["uppercase"] = {1, 1, [](I& in, Args& a, Position w) { return in.string(upperText(in.stringArgument(a, 0, "Uppercase", w))); }};
    t["lowercase"] = {1, 1, [](I& in, Args& a, Position w) { return in.string(lowerCase(in.stringArgument(a, 0, "Lowercase", w))); }};
    t["titlecase"] = {1, 1, [](I& in, Args& a, Position w) { return in.string(titleCase(in.stringArgument(a, 0, "Titlecase", w))); }};
    t["replace"] = {3, 3, [](I& in, Args& a, Position w) {
                      return in.string(replaceText(in.stringArgument(a, 0, "Replace", w), in.stringArgument(a, 1, "Replace", w),
                                                   in.stringArgument(a, 2, "Replace", w), false));
                    }};
    t["replaceall"] = {3, 3, [](I& in, Args& a, Position w) {
                         return in.string(replaceText(in.stringArgument(a, 0, "ReplaceAll", w), in.stringArgument(a, 1, "ReplaceAll", w),
                                                      in.stringArgument(a, 2, "ReplaceAll", w), true));
                       }};
    t["strcomp"] = {2, 3, [](I& in, Args& a, Position w) {
                      std::string x = in.stringArgument(a, 0, "StrComp", w), y = in.stringArgument(a, 1, "StrComp", w);
                      int c = a.size() == 3 && in.integerArgument(a, 2, "StrComp", w) == 0 ? x.compare(y) : compareText(x, y);
                      return Value(host::Value::ofInteger(c < 0 ? -1 : c > 0 ? 1 : 0));
                    }};
    t["split"] = {1, 2, [](I& in, Args& a, Position w) {
                    std::string s = in.stringArgument(a, 0, "Split", w);
                    std::string sep = a.size() == 2 ? in.stringArgument(a, 1, "Split", w) : " ";
                    std::vector<Value> items;
                    for (const std::string& part : splitText(s, sep)) items.push_back(in.string(part));
                    return makeArray(resolveType(in.runtime(), "String", false, w), std::move(items));
                  }};
    t["join"] = {1, 2, [](I& in, Args& a, Position w) {
                   if (!a[0].isArray() || a[0].array->elementType.kind != Type::Kind::String)
                     fail(w, "Join expects a String array but got " + withArticle(typeNameOf(a[0])));
                   std::string sep = a.size() == 2 ? in.stringArgument(a, 1, "Join", w) : " ";
                   std::string out;
                   for (size_t i = 0; i < a[0].array->items.size(); ++i) out += (i ? sep : "") + in.text(a[0].array->items[i]);
                   return in.string(out);
                 }};
    t["countfields"] = {2, 2, [](I& in, Args& a, Position w) {
                          std::string s = in.stringArgument(a, 0, "CountFields", w);
                          return Value(host::Value::ofInteger(s.empty() ? 0 : int64_t(splitText(s, in.stringArgument(a, 1, "CountFields", w)).size())));
                        }};
    t["nthfield"] = {3, 3, [](I& in, Args& a, Position w) {
                       auto parts = splitText(in.stringArgument(a, 0, "NthField", w), in.stringArgument(a, 1, "NthField", w));
                       int64_t n = in.integerArgument(a, 2, "NthField", w);
                       return in.string(n >= 1 && n <= int64_t(parts.size()) ? parts[size_t(n - 1)] : std::string());
                     }};
    t["hex"] = {1, 1, [](I& in, Args& a, Position w) { return in.string(hexText(static_cast<uint64_t>(in.integerArgument(a, 0, "Hex", w)), 16)); }};
    t["oct"] = {1, 1, [](I& in, Args& a, Position w) { return in.string(hexText(static_cast<uint64_t>(in.integerArgument(a, 0, "Oct", w)), 8)); }};
    t["bin"] = {1, 1, [](I& in, Args& a, Position w) { return in.string(hexText(static_cast<uint64_t>(in.integerArgument(a, 0, "Bin", w)), 2)); }};
    t["abs"] = {1, 1, [](I& in, Args& a, Position w) {
                  if (a[0].isInteger()) return Value(host::Value::ofInteger(a[0].integer() < 0 ? -a[0].integer() : a[0].integer()));
                  return Value(host::Value::ofDouble(std::fabs(in.numberArgument(a, 0, "Abs", w))));
                }};
    auto math = [](const char* name, double (*f)(double)) {
      return Builtin{1, 1, [name, f](I& in, Args& a, Position w) { return Value(host::Value::ofDouble(f(in.numberArgument(a, 0, name, w)))); }};
    };
    t["round"] = math("Round", [](double x) { return std::round(x); });
    t["floor"] = math("Floor", [](double x) { return std::floor(x); });
    t["ceil"] = math("Ceil", [](double x) { return std::ceil(x); });
    t["ceiling"] = math("Ceiling", [](double x) { return std::ceil(x); });
    t["sqrt"] = math("Sqrt", [](double x) { return std::sqrt(x); });
    t["sin"] = math("Sin", [](double x) { return std::sin(x); });
    t["cos"] = math("Cos", [](double x) { return std::cos(x); });
    t["tan"] = math("Tan", [](double x) { return std::tan(x); });
    t["atan"] = math("ATan", [](double x) { return std::atan(x); });
    t["exp"] = math("Exp", [](double x) { return std::exp(x); });
    t["log"] = math("Log", [](double x) { return std::log(x); });
    t["atan2"] = {2, 2, [](I& in, Args& a, Position w) {
                    return Value(host::Value::ofDouble(std::atan2(in.numberArgument(a, 0, "ATan2", w), in.numberArgument(a, 1, "ATan2", w))));
                  }};
    t["pow"] = {2, 2, [](I& in, Args& a, Position w) {
                  return Value(host::Value::ofDouble(std::pow(in.numberArgument(a, 0, "Pow", w), in.numberArgument(a, 1, "Pow", w))));
                }};
    auto extreme = [](const char* name, bool wantMax) {
      return Builtin{2, 64, [name, wantMax](I& in, Args& a, Position w) {
                       bool allIntegers = true;
                       double best = in.numberArgument(a, 0, name, w);
                       int64_t bestInteger = a[0].integer();
                       for (size_t i = 0; i < a.size(); ++i) {
                         double x = in.numberArgument(a, i, name, w);
                         if (!a[i].isInteger()) allIntegers = false;
                         if (wantMax ? x > best : x < best) best = x;
                         if (a[i].isInteger() && (wantMax ? a[i].integer() > bestInteger : a[i].integer() < bestInteger))
                           bestInteger = a[i].integer();
                       }
                       return allIntegers ? Value(host::Value::ofInteger(bestInteger)) : integerOrDouble(best, false);
                     }};
    };
    t["max"] = extreme("Max", true);
    t["min"] = extreme("Min", false);
    t["rgb"] = {3, 4, [](I& in, Args& a, Position w) {
                  auto channel = [&](size_t i) { return static_cast<uint32_t>(std::clamp<int64_t>(in.integerArgument(a, i, "RGB", w), 0, 255)); };
                  uint32_t alpha = a.size() == 4 ? channel(3) : 0;
                  return Value(host::Value::ofColor((alpha << 24) | (channel(0) << 16) | (channel(1) << 8) | channel(2)));
                }};
    t["color.rgb"] = t["rgb"];
    // HSV (hue, saturation and value from 0 to 1) and CMY colours, with an optional alpha.
    t["hsv"] = {3, 4, [](I& in, Args& a, Position w) {
                  auto unit = [&](size_t i) { return std::clamp(in.numberArgument(a, i, "HSV", w), 0.0, 1.0); };
                  const double h = unit(0) * 6, s = unit(1), v = unit(2);
                  const int sector = static_cast<int>(h) % 6;
                  const double f = h - std::floor(h), p = v * (1 - s), q = v * (1 - s * f), t = v * (1 - s * (1 - f));
                  const double rgb[6][3] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
                  auto byte = [](double x) { return static_cast<uint32_t>(std::lround(x * 255)); };
                  uint32_t alpha = a.size() == 4 ? static_cast<uint32_t>(std::clamp<int64_t>(in.integerArgument(a, 3, "HSV", w), 0, 255)) : 0;
                  return Value(host::Value::ofColor((alpha << 24) | (byte(rgb[sector][0]) << 16) | (byte(rgb[sector][1]) << 8) |
                                                    byte(rgb[sector][2])));
                }};
    t["cmy"] = {3, 4, [](I& in, Args& a, Position w) {
                  auto channel = [&](size_t i) {
                    return static_cast<uint32_t>(std::lround((1 - std::clamp(in.numberArgument(a, i, "CMY", w), 0.0, 1.0)) * 255));
                  };
                  uint32_t alpha = a.size() == 4 ? static_cast<uint32_t>(std::clamp<int64_t>(in.integerArgument(a, 3, "CMY", w), 0, 255)) : 0;
                  return Value(host::Value::ofColor((alpha << 24) | (channel(0) << 16) | (channel(1) << 8) | channel(2)));
                }};
    t["color.hsv"] = t["hsv"];
    t["color.cmy"] = t["cmy"];
    // Color's named colours, opaque but for Clear (alpha 255 is fully transparent).
    for (auto [name, value] : std::initializer_list<std::pair<const char*, uint32_t>>{
             {"black", 0x000000}, {"white", 0xFFFFFF}, {"red", 0xFF0000}, {"green", 0x00FF00}, {"blue", 0x0000FF},
             {"cyan", 0x00FFFF}, {"magenta", 0xFF00FF}, {"yellow", 0xFFFF00}, {"gray", 0x808080},
             {"darkgray", 0x555555}, {"lightgray", 0xAAAAAA}, {"orange", 0xFF8000}, {"purple", 0x800080},
             {"brown", 0x996633}, {"teal", 0x008080}, {"clear", 0xFF000000}}) {
      t[std::string("color.") + name] = {0, 0, [value](I&, Args&, Position) { return Value(host::Value::ofColor(value)); }};
    }
    t["ubound"] = {1, 1, [](I&, Args& a, Position w) {
                     if (!a[0].isArray()) fail(w, "UBound expects an array but got " + withArticle(typeNameOf(a[0])));
                     return Value(host::Value::ofInteger(int64_t(a[0].array->items.size()) - 1));
                   }};
    t["ticks"] = {0, 0, [](I&, Args&, Position) {
                    auto us = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - kStart).count();
                    return Value(host::Value::ofInteger(us * 60 / 1000000));
                  }};
    t["microseconds"] = {0, 0, [](I&, Args&, Position) {
                           auto us = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - kStart).count();
                           return Value(host::Value::ofDouble(static_cast<double>(us)));
                         }};
    // Bytes rather than characters: LenB, LeftB, RightB, MidB, InStrB, AscB, ChrB keep the
    // string's own bytes and its encoding.
    auto bytesOf = [](I& in, Args& a, size_t i, const char* function, Position w) {
      if (!a[i].isString()) in.stringArgument(a, i, function, w);  // the type error
      return in.runtime().bytes(a[i].v);
    };
    auto sameEncoding = [](I& in, const Value& from, const std::string& bytes) {
      return Value(in.runtime().string(bytes, in.runtime().encoding(from.v)));
    };
    t["leftb"] = {2, 2, [=](I& in, Args& a, Position w) {
                    std::string s = bytesOf(in, a, 0, "LeftB", w);
                    return sameEncoding(in, a[0], s.substr(0, size_t(std::clamp<int64_t>(in.integerArgument(a, 1, "LeftB", w), 0, int64_t(s.size())))));
                  }};
    t["rightb"] = {2, 2, [=](I& in, Args& a, Position w) {
                     std::string s = bytesOf(in, a, 0, "RightB", w);
                     size_t n = size_t(std::clamp<int64_t>(in.integerArgument(a, 1, "RightB", w), 0, int64_t(s.size())));
                     return sameEncoding(in, a[0], s.substr(s.size() - n));
                   }};
    t["midb"] = {2, 3, [=](I& in, Args& a, Position w) {
                   std::string s = bytesOf(in, a, 0, "MidB", w);
                   size_t start = size_t(std::clamp<int64_t>(in.integerArgument(a, 1, "MidB", w) - 1, 0, int64_t(s.size())));
                   size_t length = a.size() == 3 ? size_t(std::max<int64_t>(0, in.integerArgument(a, 2, "MidB", w))) : std::string::npos;
                   return sameEncoding(in, a[0], s.substr(start, length));
                 }};
    t["instrb"] = {2, 3, [=](I& in, Args& a, Position w) {
                     size_t k = a.size() == 3 ? 1 : 0;
                     int64_t start = k ? std::max<int64_t>(1, in.integerArgument(a, 0, "InStrB", w)) : 1;
                     std::string s = bytesOf(in, a, k, "InStrB", w), find = bytesOf(in, a, k + 1, "InStrB", w);
                     size_t at = size_t(start - 1) <= s.size() ? s.find(find, size_t(start - 1)) : std::string::npos;
                     return Value(host::Value::ofInteger(at == std::string::npos ? 0 : int64_t(at) + 1));
                   }};
    t["ascb"] = {1, 1, [=](I& in, Args& a, Position w) {
                   std::string s = bytesOf(in, a, 0, "AscB", w);
                   return Value(host::Value::ofInteger(s.empty() ? 0 : static_cast<unsigned char>(s[0])));
                 }};
    t["chrb"] = {1, 1, [](I& in, Args& a, Position w) {
                   int64_t b = in.integerArgument(a, 0, "ChrB", w);
                   if (b < 0 || b > 255) in.raise("OutOfBoundsException", "ChrB of " + std::to_string(b), w);
                   return Value(in.runtime().string(std::string(1, static_cast<char>(b)), host::kEncodingUnknown));
                 }};
    t["endofline"] = {0, 0, [](I& in, Args&, Position) { return in.string("\n"); }};
    for (auto [kind, ending] : {std::pair{"windows", "\r\n"}, {"unix", "\n"}, {"macintosh", "\r"}, {"native", "\n"}}) {
      const std::string text = ending;
      t[std::string("endofline.") + kind] = {0, 0, [text](I& in, Args&, Position) { return in.string(text); }};
    }
    t["replacelineendings"] = {2, 2, [](I& in, Args& a, Position w) {
                                 std::string s = in.stringArgument(a, 0, "ReplaceLineEndings", w), eol = in.stringArgument(a, 1, "ReplaceLineEndings", w);
                                 std::string out;
                                 for (size_t i = 0; i < s.size(); ++i) {
                                   if (s[i] == '\r' || s[i] == '\n') {
                                     if (s[i] == '\r' && i + 1 < s.size() && s[i + 1] == '\n') ++i;
                                     out += eol;
                                   } else {
                                     out += s[i];
                                   }
                                 }
                                 return in.string(out);
                               }};
    t["asin"] = math("ASin", [](double x) { return std::asin(x); });
    t["acos"] = math("ACos", [](double x) { return std::acos(x); });
    t["sign"] = {1, 1, [](I& in, Args& a, Position w) {
                   double x = in.numberArgument(a, 0, "Sign", w);
                   return Value(host::Value::ofInteger(x > 0 ? 1 : x < 0 ? -1 : 0));
                 }};
    t["rnd"] = {0, 0, [](I&, Args&, Position) { return Value(host::Value::ofDouble(randomUnit())); }};
    t["clong"] = {1, 1, [](I& in, Args& a, Position w) {
                    if (a[0].isNumber()) return Value(host::Value::ofInteger(Value(host::Value::ofDouble(std::round(a[0].real()))).integer()));
                    return Value(host::Value::ofInteger(static_cast<int64_t>(std::round(valueOf(in.stringArgument(a, 0, "CLong", w))))));
                  }};
    // A console program's message box is a line of output; Beep has nothing to sound.
    t["msgbox"] = {1, 1, [](I& in, Args& a, Position w) {
                     in.out() << in.stringArgument(a, 0, "MsgBox", w) << '\n';
                     return Value();
                   }};
    t["beep"] = {0, 0, [](I&, Args&, Position) { return Value(); }};
    // Bits of Integers: the Bitwise module's members (by their qualified names, which no
    // program name can be) and the older global functions.
    auto bits = [](const char* name, size_t count, int64_t (*f)(int64_t, int64_t)) {
      return Builtin{count, count, [name, count, f](I& in, Args& a, Position w) {
                       int64_t x = in.integerArgument(a, 0, name, w), y = count == 2 ? in.integerArgument(a, 1, name, w) : 0;
                       return Value(host::Value::ofInteger(f(x, y)));
                     }};
    };
    auto bitAnd = [](int64_t x, int64_t y) { return x & y; };
    auto bitOr = [](int64_t x, int64_t y) { return x | y; };
    auto bitXor = [](int64_t x, int64_t y) { return x ^ y; };
    t["bitwise.bitand"] = bits("Bitwise.BitAnd", 2, bitAnd);
    t["bitwise.bitor"] = bits("Bitwise.BitOr", 2, bitOr);
    t["bitwise.bitxor"] = bits("Bitwise.BitXor", 2, bitXor);
    t["bitwiseand"] = bits("BitwiseAnd", 2, bitAnd);
    t["bitwiseor"] = bits("BitwiseOr", 2, bitOr);
    t["bitwisexor"] = bits("BitwiseXor", 2, bitXor);
    t["bitwise.onescomplement"] = bits("Bitwise.OnesComplement", 1, [](int64_t x, int64_t) { return ~x; });
    t["bitwise.shiftleft"] = bits("Bitwise.ShiftLeft", 2, [](int64_t x, int64_t n) {
      return n < 0 || n > 63 ? int64_t(0) : static_cast<int64_t>(static_cast<uint64_t>(x) << n);
    });
    t["bitwise.shiftright"] = bits("Bitwise.ShiftRight", 2, [](int64_t x, int64_t n) {
      return n < 0 || n > 63 ? int64_t(0) : static_cast<int64_t>(static_cast<uint64_t>(x) >> n);
    });
    // The System module, and StdOut and StdErr: a program's own output, its error output
    // (System.DebugLog writes there too), the clocks and the environment.
    t["system.debuglog"] = {1, 1, [](I& in, Args& a, Position w) {
                              in.err() << in.stringArgument(a, 0, "System.DebugLog", w) << '\n';
                              return Value();
                            }};
    t["system.ticks"] = t["ticks"];
    t["system.microseconds"] = t["microseconds"];
    t["system.environmentvariable"] = {1, 1, [](I& in, Args& a, Position w) {
                                         const char* v = std::getenv(in.stringArgument(a, 0, "System.EnvironmentVariable", w).c_str());
                                         return in.string(v ? v : "");
                                       }};
    for (const char* stream : {"stdout", "stderr"}) {
      const bool toErr = stream[3] == 'e';
      auto streamOf = [toErr](I& in) -> std::ostream& { return toErr ? in.err() : in.out(); };
      t[std::string(stream) + ".write"] = {1, 1, [streamOf](I& in, Args& a, Position w) {
                                             streamOf(in) << in.stringArgument(a, 0, "Write", w);
                                             return Value();
                                           }};
      t[std::string(stream) + ".writeline"] = {0, 1, [streamOf](I& in, Args& a, Position w) {
                                                 streamOf(in) << (a.empty() ? std::string() : in.stringArgument(a, 0, "WriteLine", w)) << '\n';
                                                 return Value();
                                               }};
      t[std::string(stream) + ".flush"] = {0, 0, [streamOf](I& in, Args&, Position) {
                                             streamOf(in).flush();
                                             return Value();
                                           }};
    }
    // Integer.FromString and Double.FromString read a whole number (blanks around it
    // allowed); anything else is an InvalidArgumentException, where Val would answer 0.
    auto fromString = [](const char* name, bool integer) {
      return Builtin{1, 1, [name, integer](I& in, Args& a, Position w) {
                       const std::string text = in.stringArgument(a, 0, name, w), s = trimText(text, true, true);
                       char* end = nullptr;
                       errno = 0;
                       const long long i = integer ? std::strtoll(s.c_str(), &end, 10) : 0;
                       const double d = integer ? 0 : std::strtod(s.c_str(), &end);
                       if (s.empty() || std::isspace(static_cast<unsigned char>(s[0])) || *end || errno == ERANGE)
                         in.raise("InvalidArgumentException", "\"" + text + "\" is not " + (integer ? "an Integer" : "a Double"), w);
                       return integer ? Value(host::Value::ofInteger(i)) : Value(host::Value::ofDouble(d));
                     }};
    };
    t["integer.fromstring"] = fromString("Integer.FromString", true);
    t["double.fromstring"] = fromString("Double.FromString", false);
    t["quit"] = {0, 1, [](I& in, Args& a, Position w) -> Value {
                   throw Quit{a.empty() ? 0 : static_cast<int>(in.integerArgument(a, 0, "Quit", w))};
                 }};
    // The application: its executable is the program file being run.
    t["app.executablefile"] = {0, 0, [](I& in, Args&, Position w) {
                                 if (in.programPath().empty()) in.raise("NilObjectException", "this program has no file", w);
                                 return in.fromHost(in.runtime().folderItem(in.programPath()));
                               }};
    // A console program's event loop: one turn hands the other host threads their time, and
    // DoEvents(milliseconds) waits that long besides.
    t["app.doevents"] = {0, 1, [](I& in, Args& a, Position w) {
                           in.runtime().yield();
                           if (!a.empty()) {
                             const int64_t ms = in.integerArgument(a, 0, "App.DoEvents", w);
                             if (ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(ms));
                           }
                           return Value();
                         }};
    t["app.yieldtonextthread"] = {0, 0, [](I& in, Args&, Position) {
                                    in.runtime().yield();
                                    return Value();
                                  }};
    // The target constants read as values too: If TargetConsole Then ...
    for (const TargetConstant& target : targetConstants(host::Options())) {
      const std::string targetName = target.name;
      t[lowered(targetName)] = {0, 0, [targetName](I& in, Args&, Position) {
                                  const auto targets = targetConstants(in.runtime().options());
                                  const TargetConstant* c = findTarget(targets, targetName);
                                  return c->isBoolean ? Value(host::Value::ofBoolean(c->value != 0)) : Value(host::Value::ofDouble(c->value));
                                }};
    }
    t["isnumeric"] = {1, 1, [](I& in, Args& a, Position) {
                        if (a[0].isNumber()) return Value(host::Value::ofBoolean(true));
                        if (!a[0].isString()) return Value(host::Value::ofBoolean(false));
                        std::string s = trimText(in.text(a[0]), true, true);
                        char* end = nullptr;
                        std::strtod(s.c_str(), &end);
                        return Value(host::Value::ofBoolean(!s.empty() && end && *end == '\0'));
                      }};
    t["array"] = {1, 1000, [](I& in, Args& a, Position w) {
                    // The element type comes from the values: Integers, Doubles (when any is one),
                    // Strings, Booleans, Colours, or objects of their nearest common class.
                    Type type;
                    const Value& first = a[0];
                    bool anyReal = false, allNumbers = true;
                    for (const Value& v : a) {
                      if (v.isReal()) anyReal = true;
                      if (!v.isNumber()) allNumbers = false;
                    }
                    if (allNumbers) type = resolveType(in.runtime(), anyReal ? "Double" : "Integer", false, w);
                    else if (first.isString()) type = resolveType(in.runtime(), "String", false, w);
                    else if (first.isBoolean()) type = resolveType(in.runtime(), "Boolean", false, w);
                    else if (first.isColor()) type = resolveType(in.runtime(), "Color", false, w);
                    else if (first.isObject()) {
                      host::ClassInfo* common = in.runtime().classOf(first.v);
                      for (const Value& v : a)
                        while (common && v.isObject() && !in.runtime().classOf(v.v)->isA(common)) common = common->superclass;
                      type = resolveType(in.runtime(), common ? common->name : "Object", false, w);
                    } else fail(w, "Array cannot hold " + withArticle(typeNameOf(first)));
                    std::vector<Value> items;
                    for (const Value& v : a) items.push_back(convertTo(in.runtime(), type, v, w, "an element of Array(...)"));
                    return makeArray(type, std::move(items));
                  }};
    return t;
  }();
  return table;
}

}  // namespace

bool isBuiltinFunction(const std::string& name) { return builtins().count(lowered(name)) != 0; }

bool Interpreter::isBuiltin(const std::string& name) const { return isBuiltinFunction(name); }

bool Interpreter::builtin(const std::string& name, Args& args, const std::vector<ExprPtr>& argExprs, Position where, Value& out) {
  auto it = builtins().find(lowered(name));
  if (it == builtins().end()) return false;
  if (args.size() != argExprs.size()) args = arguments(argExprs);
  const Builtin& b = it->second;
  if (args.size() < b.minArgs || args.size() > b.maxArgs) {
    std::string count = b.minArgs == b.maxArgs ? std::to_string(b.minArgs)
                                               : std::to_string(b.minArgs) + " to " + std::to_string(b.maxArgs);
    fail(where, name + " takes " + count + " argument(s) but was given " + std::to_string(args.size()));
  }
  for (const Value& a : args)
    if (a.isArray() && lowered(name) != "ubound" && lowered(name) != "join")
      fail(where, name + " does not take an array");
  out = b.run(*this, args, where);
  return true;
}

bool Interpreter::valueMember(const Value& value, const std::string& name, Args& args, Position where, Value& out) {
  const std::string n = lowered(name);
  auto noArgs = [&] {
    if (!args.empty()) fail(where, name + " takes no arguments");
  };
  if (value.isString()) {
    const std::string s = text(value);
    Args withSelf;
    withSelf.push_back(value);
    for (Value& a : args) withSelf.push_back(a);
    auto viaBuiltin = [&](const char* builtinName) {
      std::vector<ExprPtr> none;
      Args copy = withSelf;
      auto it = builtins().find(builtinName);
      if (copy.size() < it->second.minArgs || copy.size() > it->second.maxArgs)
        fail(where, name + " takes " + std::to_string(it->second.minArgs - 1) + " argument(s)");
      out = it->second.run(*this, copy, where);
      return true;
    };
    if (n == "length") { noArgs(); out = host::Value::ofInteger(int64_t(characters(s).size())); return true; }
    // The host's older string methods: the global function with the string first
    // (s.InStr(start, find) keeps InStr's own order, the start before the string).
    for (const char* method : {"len", "lenb", "mid", "ltrim", "rtrim", "leftb", "rightb", "midb", "ascb"})
      if (n == method) return viaBuiltin(method);
    if ((n == "instr" || n == "instrb") && args.size() == 2) {
      withSelf = {args[0], value, args[1]};
      return viaBuiltin(n == "instr" ? "instr" : "instrb");
    }
    if (n == "instr" || n == "instrb") return viaBuiltin(n == "instr" ? "instr" : "instrb");
    if (n == "bytes") { noArgs(); out = host::Value::ofInteger(int64_t(s.size())); return true; }
    if (n == "encoding") { noArgs(); out = globalCall("Encoding", {value}, where); return true; }
    if (n == "convertencoding" || n == "defineencoding") {
      if (args.size() != 1) fail(where, name + " takes one TextEncoding");
      out = globalCall(n == "convertencoding" ? "ConvertEncoding" : "DefineEncoding", {value, args[0]}, where);
      return true;
    }
    if (n == "uppercase") return viaBuiltin("uppercase");
    if (n == "lowercase") return viaBuiltin("lowercase");
    if (n == "titlecase") return viaBuiltin("titlecase");
    if (n == "trim") return viaBuiltin("trim");
    if (n == "trimleft") return viaBuiltin("ltrim");
    if (n == "trimright") return viaBuiltin("rtrim");
    if (n == "left") return viaBuiltin("left");
    if (n == "right") return viaBuiltin("right");
    if (n == "replace") return viaBuiltin("replace");
    if (n == "replaceall") return viaBuiltin("replaceall");
    if (n == "split" || n == "tostringarray") return viaBuiltin("split");
    if (n == "countfields") return viaBuiltin("countfields");
    if (n == "nthfield") return viaBuiltin("nthfield");
    if (n == "asc") return viaBuiltin("asc");
    if (n == "val") return viaBuiltin("val");
    if (n == "todouble") { noArgs(); out = host::Value::ofDouble(valueOf(s)); return true; }
    if (n == "tointeger") { noArgs(); out = host::Value::ofInteger(static_cast<int64_t>(valueOf(s))); return true; }
    if (n == "middle") {
      if (args.empty() || args.size() > 2) fail(where, "Middle takes (start[, length])");
      int64_t start = std::max<int64_t>(0, integerArgument(args, 0, "Middle", where));
      int64_t length = args.size() == 2 ? std::max<int64_t>(0, integerArgument(args, 1, "Middle", where)) : -1;
      out = string(substring(s, start, length));
      return true;
    }
    if (n == "indexof") {
      if (args.empty() || args.size() > 2) fail(where, "IndexOf takes ([start,] find)");
      size_t k = args.size() == 2 ? 1 : 0;
      int64_t start = k ? std::max<int64_t>(0, integerArgument(args, 0, "IndexOf", where)) : 0;
      size_t at = findIgnoringCase(s, stringArgument(args, k, "IndexOf", where), byteOffset(s, start));
      out = host::Value::ofInteger(at == std::string::npos ? -1 : characterIndex(s, at));
      return true;
    }
    if (n == "contains" || n == "beginswith" || n == "endswith") {
      if (args.size() != 1) fail(where, name + " takes one argument");
      std::string find = lowerCase(stringArgument(args, 0, name.c_str(), where)), l = lowerCase(s);
      bool result = n == "contains"     ? l.find(find) != std::string::npos
                    : n == "beginswith" ? l.compare(0, find.size(), find) == 0
                                        : l.size() >= find.size() && l.compare(l.size() - find.size(), find.size(), find) == 0;
      out = host::Value::ofBoolean(result);
      return true;
    }
    return false;
  }
  if (value.v.kind == host::Value::Kind::Ptr && !value.isArray()) return pointerMember(value, name, args, where, out);
  if (value.isNumber()) {
    if (n == "tostring" || n == "totext") {
      if (args.size() > 1) fail(where, "ToString takes at most a format");
      out = string(args.empty() ? variantText(rt_, value) : formatNumber(value.real(), stringArgument(args, 0, "ToString", where)));
      return true;
    }
    if (n == "tohex" && value.isInteger()) { noArgs(); out = string(hexText(static_cast<uint64_t>(value.integer()), 16)); return true; }
    if (n == "abs") {
      noArgs();
      out = value.isInteger() ? host::Value::ofInteger(value.integer() < 0 ? -value.integer() : value.integer())
                              : host::Value::ofDouble(std::fabs(value.real()));
      return true;
    }
    return false;
  }
  if (value.isBoolean() && n == "tostring") { noArgs(); out = string(value.v.boolean ? "True" : "False"); return true; }
  if (value.isColor()) {
    uint32_t c = static_cast<uint32_t>(value.v.integer);
    if (n == "red") { noArgs(); out = host::Value::ofInteger((c >> 16) & 0xFF); return true; }
    if (n == "green") { noArgs(); out = host::Value::ofInteger((c >> 8) & 0xFF); return true; }
    if (n == "blue") { noArgs(); out = host::Value::ofInteger(c & 0xFF); return true; }
    if (n == "alpha") { noArgs(); out = host::Value::ofInteger((c >> 24) & 0xFF); return true; }
    if (n == "tostring") { noArgs(); out = string(variantText(rt_, value)); return true; }
  }
  return false;
}

}  // namespace qvrlang
