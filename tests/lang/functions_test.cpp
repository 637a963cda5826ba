// Subs and Functions of the program: calls with and without parentheses, recursion,
// ByRef, optional and default parameters, overloads chosen by argument types.
#include "lang_support.h"

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
