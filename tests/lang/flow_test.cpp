// Control flow across constructs: Exit and Return out of loops inside Try with
// Finally, exceptions raised again from a Catch, loops inside Select Case, recursion
// between two methods, and the order in which things happen.
#include "lang_support.h"

TEST(Flow, ExitContinueReturnAndRaiseAcrossTryLoopsAndMethods) {
  langtest::expectAll({
      {"For i As Integer = 1 To 5\n  Try\n    If i = 2 Then Exit For\n    Print \"body \" + Str(i)\n  Finally\n"
       "    Print \"finally \" + Str(i)\n  End Try\nNext\nPrint \"done\"\n",
       "body 1\nfinally 1\nfinally 2\ndone\n"},
      {"Dim s As String\nFor i As Integer = 1 To 4\n  Try\n    If i Mod 2 = 0 Then Continue\n    s = s + Str(i)\n"
       "  Catch\n  End Try\nNext\nPrint s\n",
       "13\n"},
      // Raised again from a Catch, Finally still runs; raised anew, the new one replaces the first.
      {"Try\n  Try\n    Raise New OutOfBoundsException(\"first\")\n  Catch e As OutOfBoundsException\n    Print \"inner \" + e.Message\n"
       "    Raise e\n  Finally\n    Print \"inner finally\"\n  End Try\nCatch e As RuntimeException\n  Print \"outer \" + e.Message\nEnd Try\n",
       "inner first\ninner finally\nouter first\n"},
      {"Try\n  Try\n    Raise New OutOfBoundsException\n  Catch\n    Raise New NilObjectException(\"second\")\n  End Try\n"
       "Catch e As NilObjectException\n  Print \"got \" + e.Message\nEnd Try\n",
       "got second\n"},
      {"Function Find(target As Integer) As String\n  For i As Integer = 0 To 9\n    For j As Integer = 0 To 9\n"
       "      If i * 10 + j = target Then Return Str(i) + \"/\" + Str(j)\n    Next\n  Next\n  Return \"none\"\nEnd Function\n"
       "Print Find(37) + \" \" + Find(200)\n",
       "3/7 none\n"},
      {"Sub S()\n  Print \"a\"\n  Exit Sub\n  Print \"b\"\nEnd Sub\nFunction F() As Integer\n  Exit Function\nEnd Function\nS\nPrint Str(F)\n",
       "a\n0\n"},
      {"Function IsEven(n As Integer) As Boolean\n  If n = 0 Then Return True\n  Return IsOdd(n - 1)\nEnd Function\n"
       "Function IsOdd(n As Integer) As Boolean\n  If n = 0 Then Return False\n  Return IsEven(n - 1)\nEnd Function\n"
       "Print Str(IsEven(10)) + \" \" + Str(IsOdd(7)) + \" \" + Str(IsEven(3))\n"
       // Recursion without end is caught as the host's StackOverflowException.
       "Try\n  Call IsEven(-1)\nCatch e As StackOverflowException\n  Print Str(e IsA RuntimeException)\nEnd Try\n",
       "True True False\nTrue\n"},
      {"Dim i As Integer\nDo\n  i = i + 1\n  Select Case i\n  Case 1\n    Print \"one\"\n  Case 3\n    Exit Do\n"
       "  Case Else\n    Print \"other \" + Str(i)\n  End Select\nLoop\nPrint \"out at \" + Str(i)\n",
       "one\nother 2\nout at 3\n"},
      // Arguments are evaluated left to right, once each; ByRef needs a variable of its type.
      {"Dim counter As Integer\nFunction Tick(ByRef c As Integer) As Integer\n  c = c + 1\n  Return c\nEnd Function\n"
       "Print Str(Tick(counter)) + Str(Tick(counter)) + Str(Tick(counter))\n",
       "123\n"},
      {"Sub Bump(ByRef n As Integer)\n  n = n + 1\nEnd Sub\nDim d As Double\nBump(d)\n",
       "test.qvr:5:6: error: the ByRef parameter n of Bump needs a variable of type Integer\n"},
      {"Sub Bump(ByRef n As Integer)\n  n = n + 1\nEnd Sub\nBump(5)\n", "test.qvr:4:6: error: the ByRef parameter n of Bump needs a variable\n"},
  });
}
