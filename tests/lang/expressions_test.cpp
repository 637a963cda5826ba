// Expressions and values: operator precedence, the Integer and Double rules of
// arithmetic, string joining and case-insensitive comparison, Boolean and bitwise
// operators, literals; the widths of the integer types, Single precision, colours with
// alpha, Variants holding each kind, and the text Str, CStr, Hex and Val make of them;
// the string functions and methods (searching and replacing without regard to case,
// fields, trimming, case changes, comparison) and the Format patterns for numbers.
#include "lang_support.h"

using langtest::expectAll;

TEST(Expressions, PrecedenceArithmeticLiteralsStringsLogicObjectsVariantsAndIf) {
  expectAll({
      {"Print Str(2 + 3 * 4)\nPrint Str((2 + 3) * 4)\nPrint Str(-2 ^ 2)\nPrint Str(2 ^ 3 ^ 2)\n", "14\n20\n-4\n64\n"},
      {"If Not True = False Then Print \"a\"\nIf True Or False And False Then Print \"b\"\nIf 1 + 2 = 3 And 4 > 3 Then Print \"c\"\n",
       "a\nb\nc\n"},
      // Integer division and Mod share multiplication's level.
      {"Print Str(10 - 7 \\ 2 * 2)\nPrint Str(1 + 7 Mod 4)\n", "4\n4\n"},
      // The Integer and Double rules of arithmetic.
      {"Print Str(7 / 2)\nPrint Str(6 / 2)\nPrint Str(7 \\ 2)\nPrint Str(7.9 \\ 2)\nPrint Str(-7 \\ 2)\n", "3.5\n3\n3\n3\n-3\n"},
      {"Print Str(-7 Mod 3)\nPrint Str(7 Mod -3)\nPrint Str(5.5 Mod 2)\n", "-1\n1\n1.5\n"},
      {"Dim big As Integer = 9223372036854775807\nbig = big + 1\nPrint Str(big)\n"
       "Dim d As Double = 1\nPrint Str(d + 1)\nPrint Str(3 * 1.5)\n",
       "-9223372036854775808\n2\n4.5\n"},
      {"Dim i As Integer = 3.7\nDim j As Integer = -3.7\nPrint Str(i) + \" \" + Str(j)\n", "3 -3\n"},
      {"Dim b As UInt8 = 255\nb = b + 1\nDim s As Int32 = 2147483647\ns = s + 1\nPrint Str(b) + \" \" + Str(s)\n", "0 -2147483648\n"},
      {"Print Str(1 / 0)\nTry\nPrint Str(1 \\ 0)\nCatch e As RuntimeException\nPrint \"caught\"\nEnd Try\n", "INF\ncaught\n"},
      {"Dim x As Integer = 5\nx += 3\nx -= 1\nx *= 2\nPrint Str(x)\nDim s As String = \"a\"\ns += \"b\"\nPrint s\n", "14\nab\n"},
      // Literals, strings, logic, objects, Variants and If(...).
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

TEST(Values, WidthsPrecisionColoursVariantsAndTheirText) {
  expectAll({
      // Unsigned and narrow types wrap; Single keeps single precision.
      {"Dim b As Byte = 0\nb = b - 1\nDim u As UInt16 = 65535\nu = u + 2\nDim i As Int8 = 127\ni = i + 1\n"
       "Print Str(b) + \" \" + Str(u) + \" \" + Str(i)\n",
       "255 1 -128\n"},
      {"Dim s As Single = 0.1\nDim d As Double = s\nPrint Str(s) + \" \" + Str(d = 0.1)\n", "0.1 False\n"},
      {"Dim c As Color = &c11223344\nPrint Str(c.Red) + \" \" + Str(c.Green) + \" \" + Str(c.Blue) + \" \" + Str(c.Alpha)\n"
       "Dim d As Color = RGB(255, 128, 0)\nPrint Str(d = &cFF8000) + \" \" + Str(d)\n"
       "Dim h As Color = HSV(0.5, 1, 1)\nDim m As Color = CMY(0, 1, 1, 10)\n"
       "Print Str(h.Red) + \" \" + Str(h.Green) + \" \" + Str(h.Blue) + \" \" + Str(m.Red) + \" \" + Str(m.Green) + \" \" + Str(m.Alpha)\n",
       "17 34 51 68\nTrue &h00FF8000\n0 255 255 255 0 10\n"},
      {"Dim c As Color = 5\n", "test.qvr:1:18: error: \"c\" expects a Color but got an Integer\n"},
      // Booleans do not mix with numbers.
      {"Dim b As Boolean = 1\n", "test.qvr:1:20: error: \"b\" expects a Boolean but got an Integer\n"},
      {"Dim n As Integer = True\n", "test.qvr:1:20: error: \"n\" expects an Integer but got a Boolean\n"},
      {"Dim v As Variant\nPrint Str(v Is Nil)\nv = 3\nDim n As Integer = v + 1\nv = True\nDim b As Boolean = v\n"
       "v = New MemoryBlock(3)\nDim m As MemoryBlock = v\nPrint Str(n) + \" \" + Str(b) + \" \" + Str(m.Size)\n",
       "True\n4 True 3\n"},
      {"Print Str(-42) + \" \" + CStr(2.5) + \" \" + CStr(True) + \" \" + Hex(-1) + \" \" + Oct(8) + \" \" + Bin(5)\n"
       "Print Str(Val(\"1e3\")) + \" \" + Str(Val(\"-2.5kg\")) + \" \" + Str(Val(\"abc\")) + \" \" + Str(Val(\"&b101\")) + \" \" + "
       "Str(CDbl(\"0.25\"))\n",
       "-42 2.5 True FFFFFFFFFFFFFFFF 10 101\n1000 -2.5 0 5 0.25\n"},
      // Str of a Double shows seven significant digits.
      {"Print Str(3.14159265358979)\nPrint Str(1234567.0)\nPrint Str(12345678.0)\nPrint Str(0.000123)\nPrint Str(-0.5)\n",
       "3.141593\n1234567\n1.234568e+7\n0.000123\n-0.5\n"},
      {"Dim n As Integer = -255\nDim d As Double = 2.345\nPrint n.ToString + \" \" + Str(n.Abs) + \" \" + d.ToString(\"0.0\") + \" \" + "
       "Str(255.ToHex = \"FF\") + \" \" + True.ToString\n",
       "-255 255 2.3 True True\n"},
  });
}

TEST(Text, SearchReplaceFieldsTrimCaseComparisonAndFormat) {
  expectAll({
      {"Print Replace(\"a-A-a\", \"A\", \"x\") + \" \" + ReplaceAll(\"a-A-a\", \"A\", \"x\") + \" \" + \"Hello\".Replace(\"L\", \"_\")\n",
       "x-A-a x-x-x He_lo\n"},
      {"Dim s As String = \"red,green,,blue\"\nPrint Str(CountFields(s, \",\")) + \" \" + NthField(s, \",\", 2) + \"|\" + "
       "NthField(s, \",\", 3) + \"|\" + NthField(s, \",\", 9) + \"|\"\nDim letters() As String = Split(\"abc\", \"\")\n"
       "Print Join(letters, \"+\") + \" \" + Str(Split(\"\", \",\").Count) + \" \" + Join(Split(\"one two\"), \"_\")\n",
       "4 green|||\na+b+c 0 one_two\n"},
      {"Print \"[\" + LTrim(\"  a  \") + \"][\" + RTrim(\"  a  \") + \"][\" + \" b \".Trim + \"]\"\n"
       "Print Titlecase(\"hello wide world\") + \" \" + \"MiXeD\".Lowercase + \" \" + \"MiXeD\".Uppercase\n",
       "[a  ][  a][b]\nHello Wide World mixed MIXED\n"},
      // Comparison ignores case unless asked not to.
      {"Print Str(StrComp(\"abc\", \"ABC\")) + \" \" + Str(StrComp(\"abc\", \"ABC\", 0)) + \" \" + Str(StrComp(\"a\", \"b\"))\n"
       "Print Str(\"Zebra\" > \"apple\") + \" \" + Str(\"abc\" <> \"ABC\")\n",
       "0 1 -1\nTrue False\n"},
      // Searching counts characters, not bytes.
      {"Dim s As String = \"née née\"\nPrint Str(InStr(s, \"É\")) + \" \" + Str(InStr(3, s, \"e\")) + \" \" + Str(s.IndexOf(\"e\")) + "
       "\" \" + Str(s.IndexOf(3, \"é\")) + \" \" + Str(InStr(s, \"x\")) + \" \" + Str(Len(s)) + \" \" + Str(LenB(s))\n"
       "Print Str(s.BeginsWith(\"NÉ\")) + \" \" + Str(s.EndsWith(\"e\")) + \" \" + Mid(s, 2, 2) + \" \" + Chr(233) + Chr(8364)\n",
       "2 3 2 5 0 7 9\nTrue True ée é€\n"},
      {"Print Format(0.5, \"#.##\") + \" \" + Format(0.5, \"0.0#\") + \" \" + Format(2.125, \"0.0#\") + \" \" + "
       "Format(42, \"+0\") + \" \" + Format(-42, \"+0\") + \" \" + Format(1234.5, \"\\$#,##0.00\") + \" \" + "
       "Format(1234.5, \"#,##0.00 kg\")\n"
       "Print Format(0, \"#\") + \"|\" + Format(0, \"0\") + \"|\" + Format(-0.001, \"0.00\") + \"|\" + Format(999.999, \"0.00\")\n"
       // Scientific notation: the exponent's sign and least digits as the pattern says.
       "Print Format(0.000123, \"0.00e+00\") + \" \" + Format(512.5, \"#.##e+\") + \" \" + Format(-1234.5, \"0.0E-0\") + \" \" + "
       "Format(9.996, \"0.00e+0\") + \" \" + Format(0, \"0.0e+00\") + \" \" + Format(0.5, \"0.0e-0 x\")\n",
       ".5 0.5 2.13 +42 -42 $1,234.50 1,234.50 kg\n|0|0.00|1000.00\n1.23e-04 5.13e+2 -1.2E3 1.00e+1 0.0e+00 5.0e-1 x\n"},
      {"Print Format(\"12\", \"0\")\n", "test.qvr:1:7: error: Format expects a number for argument 1 but got a String; convert it with Val\n"},
      {"Print Left(\"abc\")\n", "test.qvr:1:7: error: Left takes 2 argument(s) but was given 1\n"},
  });
}
