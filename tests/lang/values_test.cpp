// Values and their conversions: the widths of the integer types, Single precision,
// colours with alpha, Variants holding each kind, and the text that Str, CStr, Hex and
// Val make of them.
#include "lang_support.h"

TEST(Values, WidthsPrecisionColoursVariantsAndTheirText) {
  langtest::expectAll({
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
