// Errors a person can act on: syntax errors name the line, the column and what was
// expected; type errors and unknown names name where they are; nothing a program does
// crashes the runner.
#include "lang_support.h"

using langtest::expectAll;

TEST(Errors, SyntaxAndTypeErrorsNameWhatWasExpectedAndWhere) {
  expectAll({
      {"If True Then\n  Print \"x\"\n", "test.qvr:3:1: error: expected \"End If\" but found the end of the program\n"},
      {"Dim x As Integer = (1 + 2\n", "test.qvr:1:26: error: expected \")\" but found the end of the line\n"},
      {"Dim x Integer\n", "test.qvr:1:7: error: expected \"As\" and a type but found \"Integer\"\n"},
      {"For i As Integer = 1 To 3\nNext j\n", "test.qvr:2:6: error: expected \"Next\" or \"Next i\" but found \"j\"\n"},
      {"Print \"unterminated\n", "test.qvr:1:7: error: this string has no closing quote\n"},
      {"x = = 2\n", "test.qvr:1:5: error: expected an expression but found \"=\"\n"},
      {"Wend\n", "test.qvr:1:1: error: \"Wend\" without the statement it closes\n"},
      {"Dim s As String = \"a\" @\n", "test.qvr:1:23: error: unexpected character \"@\"\n"},
      // Unknown names, types and members, and arguments that fit no overload.
      {"Dim x As Integer\nx = y + 1\n", "test.qvr:2:5: error: unknown name \"y\"\n"},
      {"z = 1\n", "test.qvr:1:1: error: unknown variable \"z\"; declare it with Dim or Var\n"},
      {"Dim p As Picturesque\n", "test.qvr:1:10: error: unknown type \"Picturesque\"\n"},
      {"Dim m As New MemoryBlock(1)\nm.Explode\n", "test.qvr:2:3: error: class MemoryBlock has no member \"Explode\"\n"},
      {"Dim m As MemoryBlock = 5\n", "test.qvr:1:24: error: \"m\" expects a MemoryBlock but got an Integer\n"},
      {"Dim m As New MemoryBlock(\"big\")\n",
       "test.qvr:1:26: error: parameter size of MemoryBlock.Constructor expects an Integer but got a String\n"},
      {"Dim m As MemoryBlock = New MemoryBlock(True)\n",
       "test.qvr:1:40: error: parameter size of MemoryBlock.Constructor expects an Integer but got a Boolean\n"},
      // Methods see their own variables and the program's constants.
      {"Const kGreeting = \"hi\"\nSub Say()\n  Print kGreeting\nEnd Sub\nSay\n", "hi\n"},
      {"Dim shared As Integer = 1\nSub Use()\n  Print Str(shared)\nEnd Sub\n", "test.qvr:3:13: error: unknown name \"shared\"\n"},
      {"For i As Integer = 0 To 2 Step 0.5\nNext\n", "test.qvr:1:32: error: an Integer loop counter takes an Integer Step, not a Double\n"},
      // Found before the program runs, also in branches never taken and methods never called ...
      {"Sub Never()\n  Dim p As Imaginary\nEnd Sub\n", "test.qvr:2:12: error: unknown type \"Imaginary\"\n"},
      {"Sub Never()\n  Try\n  Catch e As NoSuchException\n  End Try\nEnd Sub\n", "test.qvr:3:3: error: unknown class \"NoSuchException\"\n"},
      {"Dim ok As Boolean = False\nIf ok Then Print Str(New Nothing)\n", "test.qvr:2:22: error: unknown class \"Nothing\"\n"},
      {"Sub S()\n  Dim x As Integer = \"a\"\nEnd Sub\n", "test.qvr:2:22: error: \"x\" expects an Integer but got a String\n"},
      {"Function F() As String\n  Return \"s\"\nEnd Function\nSub S()\n  Dim n As Integer = Len(F) * F\nEnd Sub\n",
       "test.qvr:5:29: error: the operator * cannot be used with an Integer and a String\n"},
      {"Sub S()\n  While 1\n  Wend\nEnd Sub\n", "test.qvr:2:9: error: While expects a Boolean but got an Integer\n"},
      // ... while what is not known before running is left to the run.
      {"Dim v As Variant = 1\nPrint \"x\" + v\nDim m As New MemoryBlock(2)\nPrint Str(m.Size + 1)\n", "x1\n3\n"},
  });
}

// Mistakes stop a program before its first statement runs: nothing is printed.
TEST(Errors, ComeBeforeAnythingRuns) {
  expectAll({{"Print \"first\"\nIf\n", "|test.qvr:2:3: error: expected an expression but found the end of the line\n"},
             {"Print \"start\"\nIf False Then\n  Prnt \"x\"\nEnd If\n",
              "|test.qvr:3:3: error: unknown method \"Prnt\"\n"},
             {"Print \"start\"\nIf False Then Print \"n = \" + 5\n",
              "|test.qvr:2:28: error: the operator + cannot be used with a String and an Integer\n"}},
            false, true);
}

TEST(Runner, EarlyEndsMissingFilesAndProgramsTooDeepOrTooLarge) {
  expectAll({{"", ""}, {"Print \"a\"\nReturn\nPrint \"b\"\n", "a\n"}});
  host::Runtime rt;
  std::ostringstream out, err;
  EXPECT_EQ(qvrlang::runFile(rt, "/nonexistent/program.qvr", out, err), 2);
  EXPECT_NE(err.str().find("cannot read"), std::string::npos);
  std::string chain = "Dim x As Integer = 1";
  for (int i = 0; i < 5000; ++i) chain += " + 1";
  EXPECT_NE(langtest::runIn(rt, chain + "\n").err.find("too long"), std::string::npos);
  EXPECT_NE(langtest::runIn(rt, "Dim x As Integer = " + std::string(5000, '(') + "1" + std::string(5000, ')') + "\n").err.find("nested too deeply"),
            std::string::npos);
  expectAll(rt, {{"Function F(n As Integer) As Integer\n  Return F(n + 1)\nEnd Function\nTry\n  Print Str(F(0))\n"
                  "Catch e As RuntimeException\n  Print \"stack overflow caught\"\nEnd Try\n",
                  "stack overflow caught\n"},
                 {"Dim a(100000000) As Integer\n",
                  "test.qvr:1: uncaught OutOfMemoryException: an array of 100000001 elements is too large; use a MemoryBlock\n"}});
}
