// Arrays: declared empty or with an upper bound, indexing with bounds checks,
// UBound/LastIndex/Count, Append/AddRow/Insert/Remove, Array(...), Redim, reference
// semantics, and the string and number built-ins that work with them.
#include "lang_support.h"

using langtest::expectAll;

TEST(Arrays, BuiltGrownIndexedSortedSharedAndTheStringAndNumberBuiltins) {
  expectAll({
      {"Dim a(3) As Integer\nDim s(1) As String\nPrint Str(UBound(a)) + Str(a.LastIndex) + Str(a.Count) + Str(a(3))\n"
       "Print \"[\" + s(1) + \"]\"\nDim e() As Double\nPrint Str(e.LastIndex)\n",
       "3340\n[]\n-1\n"},
      {"Dim a() As String\na.Append \"b\"\na.AddRow(\"d\")\na.Insert(0, \"a\")\na.AddAt(2, \"c\")\n"
       "Print Join(a, \",\")\na.Remove(1)\na.RemoveAt(0)\nPrint Join(a, \",\") + \" \" + Str(a.IndexOf(\"d\")) + Str(a.IndexOf(\"z\"))\n",
       "a,b,c,d\nc,d 1-1\n"},
      {"Dim a() As Integer = Array(1, 2)\nTry\n  a(2) = 5\nCatch e As OutOfBoundsException\n  Print e.Message\nEnd Try\n"
       "Try\n  Print Str(a(-1))\nCatch e As OutOfBoundsException\n  Print \"negative\"\nEnd Try\n",
       "index 2 is outside the array (last index 1)\nnegative\n"},
      // Array(...) infers its element type.
      {"Dim d() As Double = Array(1, 2.5)\nPrint Str(d(0) / 2)\nDim i() As Integer = Array(4, 5)\nPrint Str(i(1) \\ 2)\n", "0.5\n2\n"},
      {"Dim i() As Integer = Array(1.5, 2)\n", "test.qvr:1:22: error: \"i\" expects an Integer() but got a Double()\n"},
      {"Dim a() As Integer\na.Append \"x\"\n", "test.qvr:2:3: error: Append expects an Integer but got a String\n"},
      {"Dim a() As Integer = Array(1, 2, 3)\nDim b() As Integer = a\nb(0) = 9\nRedim a(4)\n"
       "Print Str(a(0)) + \" \" + Str(b.Count)\na.ResizeTo(0)\nPrint Str(b.Count)\n",
       "9 5\n1\n"},
      {"Dim n() As Integer = Array(3, 1, 2)\nn.Sort\nDim s() As String = Array(\"b\", \"C\", \"a\")\ns.Sort\n"
       "Print Str(n(0)) + Str(n(1)) + Str(n(2)) + Join(s, \"\")\n"
       // SortWith moves other arrays along; Shuffle keeps the elements.
       "Dim sizes() As Integer = Array(3, 1, 2)\nDim names() As String = Array(\"c\", \"a\", \"b\")\nsizes.SortWith(names)\n"
       "n.Shuffle\nPrint Join(names, \"\") + Str(sizes(2)) + \" \" + Str(n(0) + n(1) + n(2)) + Str(n.IndexOf(2) >= 0)\n",
       "123abC\nabc3 6True\n"},
      {"Dim a() As Integer = Array(1, 2)\nDim b() As Integer = Array(1)\na.SortWith(b)\n",
       "test.qvr:3: uncaught OutOfBoundsException: SortWith: the arrays have 2 and 1 elements\n"},
      {"Dim parts() As String = Split(\"a,b,,c\", \",\")\nPrint Str(parts.Count) + \" \" + Join(parts, \"|\")\n", "4 a|b||c\n"},
      // Arrays of objects and Variants; nothing is left alive.
      {"Dim blocks() As MemoryBlock\nblocks.Append New MemoryBlock(1)\nblocks.Append Nil\nblocks.Append New MemoryBlock(3)\n"
       "Dim total As Integer\nFor Each b As MemoryBlock In blocks\n  If b <> Nil Then total = total + b.Size\nNext\n"
       "Print Str(total) + \" \" + Str(blocks.IndexOf(blocks(2))) + \" \" + Str(blocks(1) Is Nil)\n"
       "Dim last As MemoryBlock = blocks.Pop\nPrint Str(last.Size) + \" \" + Str(blocks.Count)\nblocks.RemoveAll\nPrint Str(blocks.LastIndex)\n",
       "4 2 True\n3 2\n-1\n"},
      {"Dim blocks() As MemoryBlock\nblocks.Append New RuntimeException\n",
       "test.qvr:2:8: error: Append expects a MemoryBlock but got an instance of RuntimeException\n"},
      {"Dim v() As Variant\nv.Append 1\nv.Append \"two\"\nv.Append 3.5\nPrint v(1) + \" \" + v(0) + \" \" + v(2)\n", "two 1 3.5\n"},
      {"Dim a() As MemoryBlock\nFor i As Integer = 1 To 10\n  a.Append New MemoryBlock(i)\nNext\n"
       "Dim b() As MemoryBlock = a\na.Remove(0)\nDim s() As String = Split(\"a b c\")\n",
       ""},
      // The string and number built-ins, and Format.
      {"Dim s As String = \"Grüße, World\"\nPrint Str(Len(s)) + \" \" + Left(s, 5) + \"|\" + Mid(s, 8, 3) + \"|\" + "
       "Right(s, 3)\nPrint Str(InStr(s, \"world\")) + \" \" + Str(InStr(9, s, \"o\")) + \" \" + Uppercase(\"abc\") + "
       "Lowercase(\"DEF\") + \"[\" + Trim(\"  x  \") + \"]\"\n",
       "12 Grüße|Wor|rld\n8 9 ABCdef[x]\n"},
      {"Dim s As String = \"Hello World\"\nPrint Str(s.Length) + \" \" + s.Left(2) + s.Middle(6, 3) + \" \" + "
       "Str(s.IndexOf(\"o\")) + Str(s.IndexOf(5, \"o\")) + \" \" + Str(s.Contains(\"WORLD\")) + \" \" + "
       "s.ReplaceAll(\"o\", \"0\") + \" \" + Str(\"42\".ToInteger + 1)\n",
       "11 HeWor 47 True Hell0 W0rld 43\n"},
      {"Print Str(Val(\"12abc\") + Val(\" &hFF\")) + \" \" + Chr(72) + Chr(105) + \" \" + Str(Asc(\"A\")) + \" \" + "
       "Str(Asc(\"é\"))\nPrint Str(1.0 / 3) + \" \" + Str(123456789.0) + \" \" + Str(0.1 + 0.2) + \" \" + Str(-2.5e-7)\n"
       "Print Str(Abs(-3)) + \" \" + Str(Round(2.5)) + \" \" + Str(Floor(-1.5)) + \" \" + Str(Ceil(1.2)) + \" \" + "
       "Str(Max(3, 9)) + \" \" + Str(Min(2.5, 1)) + \" \" + Str(Sqrt(16)) + \" \" + Hex(255)\n",
       "267 Hi 65 233\n0.3333333 1.234568e+8 0.3 -2.500000e-7\n3 3 -2 2 9 1 4 FF\n"},
      {"Print Format(3.14159, \"0\") + \" \" + Format(3.14159, \"0.00\") + \" \" + Format(1234567.891, \"#,##0\") + \" \" + "
       "Format(1234567.891, \"#,##0.00\")\nPrint Format(-3.14159, \"-#.##\") + \" \" + Format(3.14159, \"-#.##\") + \" \" + "
       "Format(0.256, \"0%\") + \" \" + Format(-5, \"#;(#)\") + \" \" + Format(0, \"#;(#);zero\") + \" \" + Format(7, \"000\") + \" \" + Format(-3, \"+0;-0\")\n",
       "3 3.14 1,234,568 1,234,567.89\n-3.14 3.14 26% (5) zero 007 -3\n"},
      {"Print 5\n", "test.qvr:1:1: error: Print expects a String for argument 1 but got an Integer; convert it with Str\n"},
  });
}
