// Expressions: operator precedence, the Integer and Double rules of arithmetic, string
// joining and case-insensitive comparison, Boolean and bitwise operators, literals.
#include "lang_support.h"

using langtest::expectAll;

TEST(Precedence, PowerNegationMultiplicationAdditionNotComparisonAndOr) {
  expectAll({
      {"Print Str(2 + 3 * 4)\nPrint Str((2 + 3) * 4)\nPrint Str(-2 ^ 2)\nPrint Str(2 ^ 3 ^ 2)\n", "14\n20\n-4\n64\n"},
      {"If Not True = False Then Print \"a\"\nIf True Or False And False Then Print \"b\"\nIf 1 + 2 = 3 And 4 > 3 Then Print \"c\"\n",
       "a\nb\nc\n"},
      // Integer division and Mod share multiplication's level.
      {"Print Str(10 - 7 \\ 2 * 2)\nPrint Str(1 + 7 Mod 4)\n", "4\n4\n"},
  });
}

TEST(Arithmetic, IntegerAndDoubleRules) {
  expectAll({
      {"Print Str(7 / 2)\nPrint Str(6 / 2)\nPrint Str(7 \\ 2)\nPrint Str(7.9 \\ 2)\nPrint Str(-7 \\ 2)\n", "3.5\n3\n3\n3\n-3\n"},
      {"Print Str(-7 Mod 3)\nPrint Str(7 Mod -3)\nPrint Str(5.5 Mod 2)\n", "-1\n1\n1.5\n"},
      {"Dim big As Integer = 9223372036854775807\nbig = big + 1\nPrint Str(big)\n"
       "Dim d As Double = 1\nPrint Str(d + 1)\nPrint Str(3 * 1.5)\n",
       "-9223372036854775808\n2\n4.5\n"},
      {"Dim i As Integer = 3.7\nDim j As Integer = -3.7\nPrint Str(i) + \" \" + Str(j)\n", "3 -3\n"},
      {"Dim b As UInt8 = 255\nb = b + 1\nDim s As Int32 = 2147483647\ns = s + 1\nPrint Str(b) + \" \" + Str(s)\n", "0 -2147483648\n"},
      {"Print Str(1 / 0)\nTry\nPrint Str(1 \\ 0)\nCatch e As RuntimeException\nPrint \"caught\"\nEnd Try\n", "INF\ncaught\n"},
      {"Dim x As Integer = 5\nx += 3\nx -= 1\nx *= 2\nPrint Str(x)\nDim s As String = \"a\"\ns += \"b\"\nPrint s\n", "14\nab\n"},
  });
}

TEST(Expressions, LiteralsStringsLogicObjectsVariantsAndIf) {
  expectAll({
      {"Print Str(&hFF + &b101 + &o17)\nDim c As Color = &cFF8000\nPrint Str(c.Red) + \",\" + Str(c.Green) + \",\" + "
       "Str(c.Blue)\nPrint \"say \"\"hi\"\"\"\nPrint Str(1.5e3)\n",
       "275\n255,128,0\nsay \"hi\"\n1500\n"},
      {"If \"abc\" = \"ABC\" Then Print \"equal\"\nIf \"apple\" < \"Banana\" Then Print \"less\"\nPrint \"a\" + \"b\" + \"c\"\n",
       "equal\nless\nabc\n"},
      {"Dim n As Integer = 5\nPrint \"n = \" + n\n", "test.qvr:2:14: error: the operator + cannot be used with a String and an Integer\n"},
      // And and Or short-circuit on Booleans and are bitwise on Integers.
      {"Dim a() As Integer\nIf a.Count > 0 And a(0) = 1 Then Print \"no\"\nIf a.Count = 0 Or a(0) = 1 Then Print \"yes\"\n"
       "Print Str(12 And 10) + \" \" + Str(12 Or 3) + \" \" + Str(12 Xor 10) + \" \" + Str(Not 0)\n",
       "yes\n8 15 6 -1\n"},
      {"If 1 Then Print \"x\"\n", "test.qvr:1:4: error: If expects a Boolean but got an Integer\n"},
      {"Dim e As RuntimeException = New OutOfBoundsException\nDim f As RuntimeException = e\n"
       "Print Str(e Is f) + \" \" + Str(e IsA RuntimeException) + \" \" + Str(e IsA NilObjectException)\n"
       "Dim n As MemoryBlock\nPrint Str(n Is Nil) + \" \" + Str(n IsA MemoryBlock)\n",
       "True True False\nTrue False\n"},
      {"Dim v As Variant = 42\nPrint \"v=\" + v\nv = \"text\"\nPrint v\nv = 2.5\nDim d As Double = v\nPrint Str(d * 2)\n", "v=42\ntext\n5\n"},
      // If(...) evaluates only the chosen value.
      {"Dim a() As Integer\nPrint If(a.Count = 0, \"empty\", Str(a(0)))\n", "empty\n"},
  });
}
