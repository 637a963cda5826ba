// The declaration parser: names, parameters with array marks, assigns and defaults,
// result types (also arrays), spacing and case, and the errors it reports.
#include "host/runtime.h"

#include <gtest/gtest.h>

using host::Declaration;

namespace {

// A parsed declaration written back in one form: "name(assigns a() T = default, ...) R()".
std::string Canonical(const Declaration& d) {
  std::string out = d.name + "(";
  for (const host::Parameter& p : d.parameters) {
    out += (&p == &d.parameters.front() ? "" : ", ") + std::string(p.assigns ? "assigns " : "") + p.name +
           (p.isArray ? "() " : " ") + p.type + (p.defaultValue ? " = " + *p.defaultValue : "");
  }
  return out + ")" + (d.returnType.empty() ? "" : " " + d.returnType) + (d.returnsArray ? "()" : "");
}

}  // namespace

TEST(Declarations, ParseNamesParametersDefaultsAndResultsAndRejectMalformedText) {
  for (const auto& [text, parsed] : std::vector<std::pair<const char*, const char*>>{
           {"CopyPictureRect(x as integer, y as Integer, CGColorSpace as Variant = nil) as picture",
            "CopyPictureRect(x integer, y Integer, CGColorSpace Variant = nil) picture"},
           {"  CopyMask   as   picture ", "CopyMask() picture"},
           {"Join(items() as String, sep as String = \", \") as String()",
            "Join(items() String, sep String = \", \") String()"},
           {"Value(key As Variant, Assigns _value As Variant)", "Value(key Variant, assigns _value Variant)"},
           {"LenB( s as string ) as integer", "LenB(s string) integer"}, {"Constructor()", "Constructor()"},
           {"Scale(factor as Double = -1.5e3, ByRef n as Int32 = &h10)",
            "Scale(factor Double = -1.5e3, n Int32 = &h10)"}})
    EXPECT_EQ(Canonical(Declaration::parse(text)), parsed) << text;
  // Malformed text is rejected.
  for (const char* bad : {"", "(x as integer)", "f(x)", "f(x as integer", "f(x as integer) as", "f(,)",
                          "f(assigns v as integer, x as integer)", "f(x as integer =)", "f() integer",
                          "f(s as String = \"open)", "9lives()"})
    EXPECT_THROW(Declaration::parse(bad), std::invalid_argument) << bad;
}
