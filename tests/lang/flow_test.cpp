// Subs and Functions of the program (calls with and without parentheses, recursion,
// ByRef, optional and default parameters, overloads chosen by argument types) and control
// flow across constructs: Exit and Return out of loops inside Try with Finally, exceptions
// raised again from a Catch, loops inside Select Case, recursion between two methods, and
// the order in which things happen.
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

TEST(Functions, CallsParametersOverloadsAndResults) {
  langtest::expectAll({
      // Recursion, and definitions after their use.
      {"Print Str(Fib(20))\nFunction Fib(n As Integer) As Integer\n  If n < 2 Then Return n\n  Return Fib(n - 1) + Fib(n - 2)\nEnd Function\n",
       "6765\n"},
      {"Sub Say(a As String, b As String)\n  Print a + b\nEnd Sub\nSub Hello\n  Print \"hello\"\nEnd Sub\n"
       "Say \"x\", \"y\"\nSay(\"p\", \"q\")\nHello\nHello()\n",
       "xy\npq\nhello\nhello\n"},
      {"Sub Swap(ByRef a As Integer, ByRef b As Integer)\n  Dim t As Integer = a\n  a = b\n  b = t\nEnd Sub\n"
       "Sub NoChange(a As Integer)\n  a = 99\nEnd Sub\nDim x As Integer = 1\nDim y As Integer = 2\nSwap(x, y)\nNoChange(x)\nPrint Str(x) + Str(y)\n",
       "21\n"},
      {"Function Greet(name As String, greeting As String = \"Hello\") As String\n  Return greeting + \", \" + name\n"
       "End Function\nFunction Count(Optional n As Integer) As Integer\n  Return n\nEnd Function\n"
       "Print Greet(\"Ann\")\nPrint Greet(\"Bob\", \"Hi\")\nPrint Str(Count)\n",
       "Hello, Ann\nHi, Bob\n0\n"},
      {"Function Twice(x As Integer) As Integer\n  Return x * 2\nEnd Function\n"
       "Function Twice(s As String) As String\n  Return s + s\nEnd Function\nPrint Str(Twice(4)) + Twice(\"ab\")\n",
       "8abab\n"},
      // Arrays pass by reference.
      {"Sub Fill(items() As Integer)\n  items.Append 7\nEnd Sub\nDim a() As Integer\nFill(a)\nFill a\nPrint Str(a.Count)\n", "2\n"},
      {"Function F() As Integer\n  Return \"x\"\nEnd Function\nPrint Str(F)\n",
       "test.qvr:2:10: error: the result of F expects an Integer but got a String\n"},
      {"Sub S(n As Integer)\nEnd Sub\nS(\"x\")\n", "test.qvr:3:3: error: parameter n of S expects an Integer but got a String\n"},
      {"Sub S()\nEnd Sub\nDim x As Integer = S\n", "test.qvr:3:20: error: S is a Sub and has no value\n"},
      // A call without parentheses may start with a parenthesised argument.
      {"Sub Show(x As Integer, y As Integer)\n  Print Str(x) + \",\" + Str(y)\nEnd Sub\nShow (1 + 2) * 2, 5\nShow(3, 4)\n"
       "Print (\"a\" + \"b\") + \"c\"\n",
       "6,5\n3,4\nabc\n"},
      // Argument counts are checked before the program runs.
      {"Print \"start\"\nFunction F(a As Integer) As Integer\n  Return a\nEnd Function\nIf False Then Print Str(F(1, 2))\n",
       "test.qvr:5:25: error: F takes at most 1 argument(s) but was given 2\n"},
      {"Sub S(a As Integer, Optional b As Integer)\nEnd Sub\nIf False Then S\n",
       "test.qvr:3:15: error: S needs at least 1 argument(s) but was given 0\n"},
      {"Sub S(a As Integer, Optional b As Integer)\n  Print Str(a + b)\nEnd Sub\nS 1\nS(1, 2)\n", "1\n3\n"},
  });
}

TEST(Functions, RunawayRecursionIsAnExceptionNotACrash) {
  langtest::Outcome o = langtest::run("Function F(n As Integer) As Integer\n  Return F(n + 1)\nEnd Function\nPrint Str(F(0))\n");
  EXPECT_EQ(o.status, 1);
  EXPECT_NE(o.err.find("uncaught"), std::string::npos) << o.err;
}
