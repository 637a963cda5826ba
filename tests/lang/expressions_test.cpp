// Expressions: operator precedence, the Integer and Double rules of arithmetic, string
// joining and case-insensitive comparison, Boolean and bitwise operators, literals.
#include "lang_support.h"

#include <gtest/gtest.h>

using langtest::error;
using langtest::output;

TEST(Precedence, MultiplicationBeforeAdditionAndPowerBeforeNegation) {
  EXPECT_EQ(output("Print Str(2 + 3 * 4)\nPrint Str((2 + 3) * 4)\nPrint Str(-2 ^ 2)\nPrint Str(2 ^ 3 ^ 2)\n"),
            "14\n20\n-4\n64\n");
}

TEST(Precedence, NotBindsTighterThanComparisonAndAndBeforeOr) {
  EXPECT_EQ(output("If Not True = False Then Print \"a\"\n"
                   "If True Or False And False Then Print \"b\"\n"
                   "If 1 + 2 = 3 And 4 > 3 Then Print \"c\"\n"),
            "a\nb\nc\n");
}

TEST(Precedence, IntegerDivisionAndModShareMultiplicationsLevel) {
  EXPECT_EQ(output("Print Str(10 - 7 \\ 2 * 2)\nPrint Str(1 + 7 Mod 4)\n"), "4\n4\n");
}

TEST(Arithmetic, SlashIsAlwaysFloatingBackslashIsIntegerDivision) {
  EXPECT_EQ(output("Print Str(7 / 2)\nPrint Str(6 / 2)\nPrint Str(7 \\ 2)\nPrint Str(7.9 \\ 2)\nPrint Str(-7 \\ 2)\n"),
            "3.5\n3\n3\n3\n-3\n");
}

TEST(Arithmetic, ModFollowsTheDividendAndWorksOnDoubles) {
  EXPECT_EQ(output("Print Str(-7 Mod 3)\nPrint Str(7 Mod -3)\nPrint Str(5.5 Mod 2)\n"), "-1\n1\n1.5\n");
}

TEST(Arithmetic, IntegersStayIntegersAndWrapAt64Bits) {
  EXPECT_EQ(output("Dim big As Integer = 9223372036854775807\nbig = big + 1\nPrint Str(big)\n"
                   "Dim d As Double = 1\nPrint Str(d + 1)\nPrint Str(3 * 1.5)\n"),
            "-9223372036854775808\n2\n4.5\n");
}

TEST(Arithmetic, AssigningADoubleToAnIntegerTruncates) {
  EXPECT_EQ(output("Dim i As Integer = 3.7\nDim j As Integer = -3.7\nPrint Str(i) + \" \" + Str(j)\n"), "3 -3\n");
}

TEST(Arithmetic, NarrowIntegerTypesWrapToTheirWidth) {
  EXPECT_EQ(output("Dim b As UInt8 = 255\nb = b + 1\nDim s As Int32 = 2147483647\ns = s + 1\nPrint Str(b) + \" \" + Str(s)\n"),
            "0 -2147483648\n");
}

TEST(Arithmetic, IntegerDivisionByZeroRaisesAndDoubleDivisionGivesInfinity) {
  EXPECT_EQ(output("Print Str(1 / 0)\nTry\nPrint Str(1 \\ 0)\nCatch e As RuntimeException\nPrint \"caught\"\nEnd Try\n"),
            "INF\ncaught\n");
}

TEST(Arithmetic, CompoundAssignment) {
  EXPECT_EQ(output("Dim x As Integer = 5\nx += 3\nx -= 1\nx *= 2\nPrint Str(x)\nDim s As String = \"a\"\ns += \"b\"\nPrint s\n"),
            "14\nab\n");
}

TEST(Literals, HexBinaryOctalColourAndStringsWithDoubledQuotes) {
  EXPECT_EQ(output("Print Str(&hFF + &b101 + &o17)\nDim c As Color = &cFF8000\nPrint Str(c.Red) + \",\" + Str(c.Green) + \",\" + "
                   "Str(c.Blue)\nPrint \"say \"\"hi\"\"\"\nPrint Str(1.5e3)\n"),
            "275\n255,128,0\nsay \"hi\"\n1500\n");
}

TEST(Strings, JoinWithPlusCompareWithoutCase) {
  EXPECT_EQ(output("If \"abc\" = \"ABC\" Then Print \"equal\"\nIf \"apple\" < \"Banana\" Then Print \"less\"\n"
                   "Print \"a\" + \"b\" + \"c\"\n"),
            "equal\nless\nabc\n");
}

TEST(Strings, MixingStringsAndNumbersIsATypeError) {
  EXPECT_EQ(error("Dim n As Integer = 5\nPrint \"n = \" + n\n"),
            "test.qvr:2:14: error: the operator + cannot be used with a String and an Integer\n");
}

TEST(Logic, AndOrShortCircuitOnBooleansAndAreBitwiseOnIntegers) {
  EXPECT_EQ(output("Dim a() As Integer\nIf a.Count > 0 And a(0) = 1 Then Print \"no\"\nIf a.Count = 0 Or a(0) = 1 Then Print \"yes\"\n"
                   "Print Str(12 And 10) + \" \" + Str(12 Or 3) + \" \" + Str(12 Xor 10) + \" \" + Str(Not 0)\n"),
            "yes\n8 15 6 -1\n");
}

TEST(Logic, ConditionsMustBeBoolean) {
  EXPECT_EQ(error("If 1 Then Print \"x\"\n"), "test.qvr:1:4: error: If expects a Boolean but got an Integer\n");
}

TEST(Objects, IsComparesIdentityAndIsAWalksTheClassChain) {
  EXPECT_EQ(output("Dim e As RuntimeException = New OutOfBoundsException\nDim f As RuntimeException = e\n"
                   "Print Str(e Is f) + \" \" + Str(e IsA RuntimeException) + \" \" + Str(e IsA NilObjectException)\n"
                   "Dim n As MemoryBlock\nPrint Str(n Is Nil) + \" \" + Str(n IsA MemoryBlock)\n"),
            "True True False\nTrue False\n");
}

TEST(Variants, HoldAnyValueAndReadAsTextWhereAStringIsWanted) {
  EXPECT_EQ(output("Dim v As Variant = 42\nPrint \"v=\" + v\nv = \"text\"\nPrint v\nv = 2.5\nDim d As Double = v\nPrint Str(d * 2)\n"),
            "v=42\ntext\n5\n");
}

TEST(IfExpression, EvaluatesOnlyTheChosenValue) {
  EXPECT_EQ(output("Dim a() As Integer\nPrint If(a.Count = 0, \"empty\", Str(a(0)))\n"), "empty\n");
}
