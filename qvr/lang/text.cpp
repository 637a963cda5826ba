// Text of values: number formatting for Str and Format, reading host strings as UTF-8,
// UTF-8 characters, and the case-insensitive string comparison the language uses.
#include "text.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace qvrlang {

std::string formatReal(double value) {
  if (std::isnan(value)) return "NAN";
  if (std::isinf(value)) return value > 0 ? "INF" : "-INF";
  if (value == 0) return "0";
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%.7g", value);
  std::string text = buffer;
  // The exponent without leading zeros, and a mantissa that always shows six decimals:
  // 1.234568e+8.
  size_t e = text.find('e');
  if (e != std::string::npos) {
    std::snprintf(buffer, sizeof buffer, "%.6e", value);
    text = buffer;
    e = text.find('e');
    std::string mantissa = text.substr(0, e);
    char sign = text[e + 1];
    std::string digits = text.substr(e + 2);
    while (digits.size() > 1 && digits[0] == '0') digits.erase(0, 1);
    text = mantissa + "e" + sign + digits;
  }
  return text;
}

namespace {

std::string groupThousands(const std::string& digits) {
  std::string out;
  int count = 0;
  for (size_t i = digits.size(); i-- > 0;) {
    out.insert(out.begin(), digits[i]);
    if (++count % 3 == 0 && i > 0) out.insert(out.begin(), ',');
  }
  return out;
}

std::string formatSection(double value, const std::string& pattern, bool showMinus);

// The position of an exponent marker ("e+", "E-", ...) after a placeholder, or npos.
size_t exponentMarker(const std::string& pattern) {
  bool placeholder = false;
  for (size_t i = 0; i < pattern.size(); ++i) {
    char c = pattern[i];
    if (c == '\\') {
      ++i;
    } else if (c == '#' || c == '0') {
      placeholder = true;
    } else if ((c == 'e' || c == 'E') && placeholder && i + 1 < pattern.size() && (pattern[i + 1] == '+' || pattern[i + 1] == '-')) {
      return i;
    }
  }
  return std::string::npos;
}

// Scientific notation: the mantissa as its placeholders say, with one whole digit, then
// the exponent with at least as many digits as zeros follow the sign ("e+" shows a plus
// sign, "e-" only a minus).
std::string formatScientific(double value, const std::string& pattern, size_t marker, bool showMinus) {
  const std::string mantissaPattern = pattern.substr(0, marker);
  const bool alwaysSign = pattern[marker + 1] == '+';
  size_t end = marker + 2;
  int digits = 0;
  while (end < pattern.size() && (pattern[end] == '0' || pattern[end] == '#')) digits += pattern[end++] == '0';
  int decimals = 0;
  const size_t point = mantissaPattern.find('.');
  if (point != std::string::npos)
    for (size_t i = point + 1; i < mantissaPattern.size() && (mantissaPattern[i] == '0' || mantissaPattern[i] == '#'); ++i) ++decimals;
  int exponent = 0;
  double mantissa = std::fabs(value);
  if (mantissa != 0 && std::isfinite(mantissa)) {
    exponent = static_cast<int>(std::floor(std::log10(mantissa)));
    mantissa /= std::pow(10.0, exponent);
    // Rounding can carry the mantissa to 10: 9.996 with two decimals is 1.00e+1.
    const double scale = std::pow(10.0, std::min(decimals, 15));
    if (std::round(mantissa * scale) / scale >= 10) {
      mantissa /= 10;
      ++exponent;
    }
  }
  std::string out = formatSection(value < 0 ? -mantissa : mantissa, mantissaPattern, showMinus);
  out += pattern[marker];
  if (exponent < 0) out += '-';
  else if (alwaysSign) out += '+';
  std::string number = std::to_string(std::abs(exponent));
  while (static_cast<int>(number.size()) < digits) number.insert(number.begin(), '0');
  return out + number + formatSection(0, pattern.substr(end), false);
}

std::string formatSection(double value, const std::string& pattern, bool showMinus) {
  const size_t marker = exponentMarker(pattern);
  if (marker != std::string::npos) return formatScientific(value, pattern, marker, showMinus);
  // Read the pattern: integer placeholders, decimal placeholders, literals around them.
  int intZeros = 0, intDigits = 0, fracZeros = 0, fracHashes = 0;
  bool seenPoint = false, thousands = false, percent = false, hasPlaceholder = false;
  std::string prefix, suffix;
  bool signWritten = false;
  for (size_t i = 0; i < pattern.size(); ++i) {
    char c = pattern[i];
    std::string& literal = hasPlaceholder ? suffix : prefix;
    if (c == '\\' && i + 1 < pattern.size()) {
      literal += pattern[++i];
    } else if (c == '#' || c == '0') {
      if (!suffix.empty() && hasPlaceholder) {  // a placeholder after a literal: keep it in the suffix
        suffix += c;
        continue;
      }
      hasPlaceholder = true;
      if (seenPoint) {
        if (c == '0') ++fracZeros; else ++fracHashes;
      } else {
        ++intDigits;
        if (c == '0') ++intZeros;
      }
    } else if (c == '.' && !seenPoint && (hasPlaceholder || (i + 1 < pattern.size() && (pattern[i + 1] == '#' || pattern[i + 1] == '0')))) {
      seenPoint = true;
      hasPlaceholder = true;
    } else if (c == ',' && hasPlaceholder && !seenPoint) {
      thousands = true;
    } else if (c == '%') {
      percent = true;
      literal += '%';
    } else if (c == '-' || c == '+') {
      if (c == '-') literal += (value < 0 ? "-" : "");
      else literal += (value < 0 ? "-" : "+");
      signWritten = true;
    } else {
      literal += c;
    }
  }
  double v = std::fabs(value);
  if (percent) v *= 100;
  int decimals = fracZeros + fracHashes;
  // Halves round away from zero (2.125 with two decimals is 2.13), as people expect of
  // a formatted number; printf alone would round them to even.
  if (decimals <= 15 && v < 1e15) {
    double scale = std::pow(10.0, decimals);
    v = std::round(v * scale) / scale;
  }
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, "%.*f", decimals, v);
  std::string number = buffer;
  std::string whole = number, fraction;
  size_t point = number.find('.');
  if (point != std::string::npos) {
    whole = number.substr(0, point);
    fraction = number.substr(point + 1);
  }
  // Optional decimals drop their trailing zeros.
  while (static_cast<int>(fraction.size()) > fracZeros && !fraction.empty() && fraction.back() == '0') fraction.pop_back();
  if (whole == "0" && intZeros == 0) whole.clear();
  while (static_cast<int>(whole.size()) < intZeros) whole.insert(whole.begin(), '0');
  if (thousands) whole = groupThousands(whole);
  std::string body = whole;
  if (!fraction.empty()) body += "." + fraction;
  else if (fracZeros > 0) body += ".";
  if (!hasPlaceholder) body.clear();
  std::string sign = (showMinus && value < 0 && !signWritten && (!body.empty() && body.find_first_not_of("0.,") != std::string::npos)) ? "-" : "";
  return sign + prefix + body + suffix;
}

}  // namespace

std::string formatNumber(double value, const std::string& pattern) {
  if (pattern.empty()) return formatReal(value);
  std::vector<std::string> sections;
  std::string current;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == '\\' && i + 1 < pattern.size()) {
      current += pattern[i];
      current += pattern[++i];
    } else if (pattern[i] == ';') {
      sections.push_back(current);
      current.clear();
    } else {
      current += pattern[i];
    }
  }
  sections.push_back(current);
  if (value == 0 && sections.size() >= 3) return formatSection(value, sections[2], false);
  if (value < 0 && sections.size() >= 2) return formatSection(value, sections[1], false);
  return formatSection(value, sections[0], true);
}

std::string textOf(host::Runtime& rt, const Value& value) {
  if (!value.isString() || !value.v.string) return std::string();
  uint32_t encoding = rt.encoding(value.v);
  if (encoding == host::kEncodingUTF8 || encoding == host::kEncodingUnknown || encoding == host::kEncodingASCII)
    return rt.bytes(value.v);
  return rt.utf8(value.v);
}

bool isDate(host::Runtime& rt, const Value& value) {
  return value.isObject() && value.v.object.get()->cls->isA(rt.findClass("Date"));
}

std::string variantText(host::Runtime& rt, const Value& value) {
  if (value.isString()) return textOf(rt, value);
  if (value.isInteger()) {
    if (value.v.kind == host::Value::Kind::UInt64) return std::to_string(static_cast<uint64_t>(value.v.integer));
    return std::to_string(value.v.integer);
  }
  if (value.isReal()) return formatReal(value.v.real);
  if (value.isBoolean()) return value.v.boolean ? "True" : "False";
  if (value.isColor()) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "&h%08X", static_cast<unsigned>(value.v.integer));
    return buffer;
  }
  // A Date reads as its SQL date and time, "2024-01-02 03:04:05".
  if (isDate(rt, value)) return rt.bytes(rt.get(value.v, "SQLDateTime"));
  return std::string();
}

std::vector<std::string> characters(const std::string& text) {
  std::vector<std::string> out;
  for (size_t i = 0; i < text.size();) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    size_t n = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 1;
    if (i + n > text.size()) n = 1;
    out.push_back(text.substr(i, n));
    i += n;
  }
  return out;
}

namespace {

// Letters whose upper and lower case differ by a fixed step in the same UTF-8 length:
// ASCII, Latin-1, Latin Extended-A (pairs), Greek and Cyrillic.
uint32_t foldCase(uint32_t c, bool toUpper) {
  auto shift = [&](uint32_t upperFirst, uint32_t upperLast, uint32_t distance) -> int {
    if (!toUpper && c >= upperFirst && c <= upperLast) return 1;
    if (toUpper && c >= upperFirst + distance && c <= upperLast + distance) return -1;
    return 0;
  };
  if (int d = shift('A', 'Z', 32)) return c + d * 32;
  if (c != 0xD7 && c != 0xF7)
    if (int d = shift(0xC0, 0xDE, 32)) return c + d * 32;
  if (c >= 0x100 && c <= 0x17F && c != 0x130 && c != 0x131 && c != 0x138 && c != 0x149 && c != 0x17F) {
    bool pairStartsEven = !((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E));
    bool isUpper = pairStartsEven ? (c % 2 == 0) : (c % 2 == 1);
    if (toUpper && !isUpper) return c - 1;
    if (!toUpper && isUpper) return c + 1;
    return c;
  }
  if (c != 0x3A2)
    if (int d = shift(0x391, 0x3A9, 32)) return c + d * 32;
  if (int d = shift(0x410, 0x42F, 32)) return c + d * 32;
  if (int d = shift(0x400, 0x40F, 80)) return c + d * 80;
  return c;
}

std::string convertCase(const std::string& text, bool toUpper) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    unsigned char b = static_cast<unsigned char>(text[i]);
    if (b < 0x80) {
      out += static_cast<char>(foldCase(b, toUpper));
      ++i;
    } else if ((b >> 5) == 6 && i + 1 < text.size()) {
      uint32_t c = ((b & 0x1Fu) << 6) | (static_cast<unsigned char>(text[i + 1]) & 0x3Fu);
      uint32_t f = foldCase(c, toUpper);
      out += static_cast<char>(0xC0 | (f >> 6));
      out += static_cast<char>(0x80 | (f & 0x3F));
      i += 2;
    } else {
      out += text[i];
      ++i;
    }
  }
  return out;
}

}  // namespace

std::string lowerCase(const std::string& text) { return convertCase(text, false); }
std::string upperCase(const std::string& text) { return convertCase(text, true); }

int compareText(const std::string& a, const std::string& b) {
  const std::string x = lowerCase(a), y = lowerCase(b);
  int c = x.compare(y);
  return c < 0 ? -1 : c > 0 ? 1 : 0;
}

}  // namespace qvrlang
