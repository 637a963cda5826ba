// Statements: declarations and scope, If in both forms, the loops with Exit and
// Continue, Select Case with values, ranges and Is, line continuation and comments.
#include "lang_support.h"

using langtest::expectAll;

TEST(Statements, DeclarationsScopeConstantsAndIfInBothForms) {
  expectAll({
      {"Dim a, b As Integer\nVar s As String = \"x\", d As Double = 1.5\nDim t As Boolean\nPrint Str(a + b) + s + Str(d) + Str(t)\n",
       "0x1.5False\n"},
      {"Dim mb As New MemoryBlock(8)\nPrint Str(mb.Size)\n", "8\n"},
      {"If True Then\nDim inner As Integer = 1\nEnd If\nPrint Str(inner)\n", "test.qvr:4:11: error: unknown name \"inner\"\n"},
      {"Dim x As Integer\nDim x As String\n", "test.qvr:2:5: error: \"x\" is already declared\n"},
      {"Const kLimit = 10\nPrint Str(kLimit * 2)\n", "20\n"},
      {"Const kLimit = 10\nkLimit = 5\n", "test.qvr:2:1: error: \"kLimit\" is a constant\n"},
      // If in block form with ElseIf and Else, and in one line.
      {"For i As Integer = 1 To 4\n  If i = 1 Then\n    Print \"one\"\n  ElseIf i = 2 Then\n    Print \"two\"\n  Else If i = 3 Then\n"
       "    Print \"three\"\n  Else\n    Print \"many\"\n  End If\nNext\n",
       "one\ntwo\nthree\nmany\n"},
      {"Dim x As Integer = 3\nIf x > 2 Then Print \"big\" Else Print \"small\"\nIf x > 5 Then Print \"huge\"\n", "big\n"},
  });
}

TEST(Statements, LoopsSelectCaseAndLayout) {
  expectAll({
      {"Dim s As String\nFor i As Integer = 1 To 10 Step 4\ns = s + Str(i)\nNext\n"
       "For i As Integer = 10 DownTo 1 Step 3\ns = s + \",\" + Str(i)\nNext i\n"
       "For i As Integer = 3 To 1 Step -1\ns = s + \";\" + Str(i)\nNext\nPrint s\n",
       "159,10,7,4,1;3;2;1\n"},
      {"For x As Double = 0 To 1 Step 0.25\nPrint Str(x)\nNext\nFor i As Integer = 5 To 1\nPrint \"never\"\nNext\n", "0\n0.25\n0.5\n0.75\n1\n"},
      {"Dim i As Integer\nWhile i < 3\ni = i + 1\nWend\nPrint Str(i)\nDo Until i = 0\ni = i - 1\nLoop\nPrint Str(i)\n"
       "Do\ni = i + 2\nLoop Until i >= 5\nPrint Str(i)\nDo While i < 8\ni = i + 1\nLoop\nPrint Str(i)\n"
       "Do\ni = i + 1\nLoop While i < 3\nPrint Str(i)\n",
       "3\n0\n6\n8\n9\n"},
      {"Dim s As String\nFor i As Integer = 1 To 3\n  Dim j As Integer = 0\n  While True\n    j = j + 1\n"
       "    If j = 2 Then Continue While\n    If j > 3 Then Exit While\n    If i = 2 Then Continue For\n"
       "    s = s + Str(i) + Str(j) + \" \"\n  Wend\n  If i = 3 Then Exit For\nNext\nPrint s\n",
       "11 13 31 33 \n"},
      {"Dim words() As String = Array(\"a\", \"b\", \"c\")\nDim s As String\nFor Each w As String In words\ns = s + w\nNext\nPrint s\n", "abc\n"},
      // A counter declared before the loop; the end is evaluated before every pass.
      {"Dim i As Integer\nFor i = 1 To 3\nNext\nPrint Str(i)\n", "4\n"},
      {"Dim a() As Integer = Array(1, 2, 3, 4, 5, 6)\nFor i As Integer = 0 To a.LastIndex\n  a.Remove(i)\nNext\n"
       "Print Str(a.Count) + \" \" + Str(a(0)) + Str(a(1)) + Str(a(2))\n",
       "3 246\n"},
      // Select Case with values, ranges and Is.
      {"Function Size(n As Integer) As String\n"
       "  Select Case n\n  Case 0\n    Return \"zero\"\n  Case 1, 2\n    Return \"small\"\n  Case 3 To 9\n    Return \"medium\"\n"
       "  Case Is >= 100\n    Return \"huge\"\n  Case Else\n    Return \"large\"\n  End Select\nEnd Function\n"
       "Print Size(0) + \" \" + Size(2) + \" \" + Size(5) + \" \" + Size(50) + \" \" + Size(500)\n",
       "zero small medium large huge\n"},
      // Objects by their class with Case IsA, and Else for Case Else.
      {"Function Kind(o As Object) As String\n  Select Case o\n  Case IsA KeyNotFoundException\n    Return \"key\"\n"
       "  Case IsA RuntimeException, IsA Dictionary\n    Return \"runtime or dictionary\"\n  Else\n    Return \"other\"\n"
       "  End Select\nEnd Function\n"
       "Print Kind(New KeyNotFoundException) + \", \" + Kind(New NilObjectException) + \", \" + Kind(New Dictionary) + \", \" + Kind(Nil)\n",
       "key, runtime or dictionary, runtime or dictionary, other\n"},
      {"Select Case 1\nCase IsA Nothing\nEnd Select\n", "test.qvr:2:6: error: unknown class \"Nothing\"\n"},
      {"Select Case \"PNG\"\nCase \"jpeg\", \"jpg\"\nPrint \"j\"\nCase \"png\"\nPrint \"p\"\nEnd Select\n", "p\n"},
      // Comments, continued lines, keywords in any case, a byte order mark, Windows line ends.
      {"' a comment\n// another\nREM and another\nDIM x AS INTEGER = 1 + _\n  2 ' trailing\n"
       "if X = 3 then PRINT \"three\" // trailing\n#Pragma DisableBackgroundTasks\n",
       "three\n"},
      {"\xEF\xBB\xBFPrint \"bom\"\r\nDim x As Integer = 1 + _\r\n  1\r\nPrint Str(x)\r\n", "bom\n2\n"},
  });
}
