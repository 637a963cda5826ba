// Text of values: how numbers print (Str, Format), how a string's bytes are read, and
// the characters of UTF-8 text (Len, Mid, InStr count characters, not bytes).
#pragma once

#include "values.h"

#include <string>
#include <vector>

namespace qvrlang {

// Str of a floating-point number: up to seven significant digits, an exponent past them.
std::string formatReal(double value);
// Format(number, pattern): # optional digit, 0 required digit, . decimal point, , thousands
// separators, % percent, + and - signs, \c a literal character, sections "pos;neg;zero".
std::string formatNumber(double value, const std::string& pattern);
// The string as UTF-8 (bytes as they are when the encoding is unknown).
std::string textOf(host::Runtime& rt, const Value& value);
// What a Variant (or a number, a Boolean, a colour) reads as where a String is wanted.
std::string variantText(host::Runtime& rt, const Value& value);
// Whether the value is a Date instance (which reads as text as its SQL date and time).
bool isDate(host::Runtime& rt, const Value& value);
// Splits UTF-8 text into its characters.
std::vector<std::string> characters(const std::string& text);
// Upper and lower case of UTF-8 text (the byte length stays the same, so byte offsets
// found in one are offsets in the other).
std::string lowerCase(const std::string& text);
std::string upperCase(const std::string& text);
// Case-insensitive comparison of text, as the language compares strings: <0, 0, >0.
int compareText(const std::string& a, const std::string& b);

}  // namespace qvrlang
