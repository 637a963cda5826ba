// The declaration parser: names, parameters with array marks, assigns and defaults,
// result types (also arrays), spacing and case, and the errors it reports.
#include "host/runtime.h"

#include <gtest/gtest.h>

using host::Declaration;

TEST(Declarations, ParseNamesParametersDefaultsAndResults) {
  Declaration d = Declaration::parse("CopyPictureRect(x as integer, y as Integer, CGColorSpace as Variant = nil) as picture");
  EXPECT_EQ(d.name, "CopyPictureRect");
  ASSERT_EQ(d.parameters.size(), 3u);
  EXPECT_EQ(d.parameters[0].name, "x");
  EXPECT_EQ(d.parameters[0].type, "integer");
  EXPECT_FALSE(d.parameters[0].defaultValue);
  EXPECT_EQ(d.parameters[2].type, "Variant");
  EXPECT_EQ(*d.parameters[2].defaultValue, "nil");
  EXPECT_EQ(d.returnType, "picture");
  EXPECT_FALSE(d.returnsArray);

  d = Declaration::parse("  CopyMask   as   picture ");
  EXPECT_EQ(d.name, "CopyMask");
  EXPECT_TRUE(d.parameters.empty());
  EXPECT_EQ(d.returnType, "picture");

  d = Declaration::parse("Join(items() as String, sep as String = \", \") as String()");
  ASSERT_EQ(d.parameters.size(), 2u);
  EXPECT_TRUE(d.parameters[0].isArray);
  EXPECT_EQ(*d.parameters[1].defaultValue, "\", \"");
  EXPECT_TRUE(d.returnsArray);
  EXPECT_EQ(d.returnType, "String");

  d = Declaration::parse("Value(key As Variant, Assigns _value As Variant)");
  ASSERT_EQ(d.parameters.size(), 2u);
  EXPECT_TRUE(d.parameters[1].assigns);
  EXPECT_EQ(d.parameters[1].name, "_value");
  EXPECT_TRUE(d.returnType.empty());

  d = Declaration::parse("LenB( s as string ) as integer");
  EXPECT_EQ(d.name, "LenB");
  EXPECT_EQ(d.parameters[0].type, "string");

  d = Declaration::parse("Constructor()");
  EXPECT_TRUE(d.parameters.empty());
  d = Declaration::parse("Scale(factor as Double = -1.5e3, ByRef n as Int32 = &h10)");
  EXPECT_EQ(*d.parameters[0].defaultValue, "-1.5e3");
  EXPECT_EQ(*d.parameters[1].defaultValue, "&h10");
}

TEST(Declarations, RejectMalformedText) {
  for (const char* bad : {"", "(x as integer)", "f(x)", "f(x as integer", "f(x as integer) as", "f(,)",
                          "f(assigns v as integer, x as integer)", "f(x as integer =)", "f() integer",
                          "f(s as String = \"open)", "9lives()"})
    EXPECT_THROW(Declaration::parse(bad), std::invalid_argument) << bad;
}
