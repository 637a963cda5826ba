// Errors a person can act on: syntax errors name the line, the column and what was
// expected; type errors and unknown names name where they are; nothing a program does
// crashes the runner.
#include "lang_support.h"

#include <gtest/gtest.h>

using langtest::error;

TEST(SyntaxErrors, NameWhatWasExpectedAndWhere) {
  EXPECT_EQ(error("If True Then\n  Print \"x\"\n"), "test.qvr:3:1: error: expected \"End If\" but found the end of the program\n");
  EXPECT_EQ(error("Dim x As Integer = (1 + 2\n"), "test.qvr:1:26: error: expected \")\" but found the end of the line\n");
  EXPECT_EQ(error("Dim x Integer\n"), "test.qvr:1:7: error: expected \"As\" and a type but found \"Integer\"\n");
  EXPECT_EQ(error("For i As Integer = 1 To 3\nNext j\n"), "test.qvr:2:6: error: expected \"Next\" or \"Next i\" but found \"j\"\n");
  EXPECT_EQ(error("Print \"unterminated\n"), "test.qvr:1:7: error: this string has no closing quote\n");
  EXPECT_EQ(error("x = = 2\n"), "test.qvr:1:5: error: expected an expression but found \"=\"\n");
  EXPECT_EQ(error("Wend\n"), "test.qvr:1:1: error: \"Wend\" without the statement it closes\n");
  EXPECT_EQ(error("Dim s As String = \"a\" @\n"), "test.qvr:1:23: error: unexpected character \"@\"\n");
}

TEST(SyntaxErrors, ComeBeforeAnythingRuns) {
  langtest::Outcome o = langtest::run("Print \"first\"\nIf\n");
  EXPECT_EQ(o.status, 1);
  EXPECT_EQ(o.out, "");
}

TEST(TypeErrors, UnknownNamesTypesAndMembers) {
  EXPECT_EQ(error("Dim x As Integer\nx = y + 1\n"), "test.qvr:2:5: error: unknown name \"y\"\n");
  EXPECT_EQ(error("z = 1\n"), "test.qvr:1:1: error: unknown variable \"z\"; declare it with Dim or Var\n");
  EXPECT_EQ(error("Dim p As Picturesque\n"), "test.qvr:1:10: error: unknown type \"Picturesque\"\n");
  EXPECT_EQ(error("Dim m As New MemoryBlock(1)\nm.Explode\n"), "test.qvr:2:3: error: class MemoryBlock has no member \"Explode\"\n");
  EXPECT_EQ(error("Dim m As MemoryBlock = 5\n"), "test.qvr:1:24: error: \"m\" expects a MemoryBlock but got an Integer\n");
}

TEST(TypeErrors, HostCallsWithArgumentsThatFitNoOverload) {
  EXPECT_EQ(error("Dim m As New MemoryBlock(\"big\")\n"),
            "test.qvr:1:26: error: parameter size of MemoryBlock.Constructor expects an Integer but got a String\n");
  EXPECT_EQ(error("Dim m As MemoryBlock = New MemoryBlock(True)\n"),
            "test.qvr:1:40: error: parameter size of MemoryBlock.Constructor expects an Integer but got a Boolean\n");
}

TEST(Runner, ProgramsThatLeaveEarlyOrDoNothingSucceed) {
  EXPECT_EQ(langtest::run("").status, 0);
  langtest::Outcome o = langtest::run("Print \"a\"\nReturn\nPrint \"b\"\n");
  EXPECT_EQ(o.status, 0);
  EXPECT_EQ(o.out, "a\n");
}

TEST(Runner, AMissingFileIsReported) {
  host::Runtime rt;
  std::ostringstream out, err;
  EXPECT_EQ(qvrlang::runFile(rt, "/nonexistent/program.qvr", out, err), 2);
  EXPECT_NE(err.str().find("cannot read"), std::string::npos);
}

TEST(TypeErrors, FoundBeforeTheProgramRunsEvenInBranchesNeverTaken) {
  langtest::Outcome o = langtest::run("Print \"start\"\nIf False Then\n  Prnt \"x\"\nEnd If\n");
  EXPECT_EQ(o.status, 1);
  EXPECT_EQ(o.out, "");
  EXPECT_EQ(o.err, "test.qvr:3:3: error: unknown method \"Prnt\"\n");
  EXPECT_EQ(error("Sub Never()\n  Dim p As Imaginary\nEnd Sub\n"), "test.qvr:2:12: error: unknown type \"Imaginary\"\n");
  EXPECT_EQ(error("Sub Never()\n  Try\n  Catch e As NoSuchException\n  End Try\nEnd Sub\n"),
            "test.qvr:3:3: error: unknown class \"NoSuchException\"\n");
  EXPECT_EQ(error("Dim ok As Boolean = False\nIf ok Then Print Str(New Nothing)\n"), "test.qvr:2:22: error: unknown class \"Nothing\"\n");
}

TEST(TypeErrors, MethodsSeeTheirOwnVariablesAndTheProgramsConstants) {
  EXPECT_EQ(langtest::output("Const kGreeting = \"hi\"\nSub Say()\n  Print kGreeting\nEnd Sub\nSay\n"), "hi\n");
  EXPECT_EQ(error("Dim shared As Integer = 1\nSub Use()\n  Print Str(shared)\nEnd Sub\n"),
            "test.qvr:3:13: error: unknown name \"shared\"\n");
}

TEST(Runner, ProgramsTooDeepOrTooLargeAreRefusedNotCrashed) {
  std::string chain = "Dim x As Integer = 1";
  for (int i = 0; i < 5000; ++i) chain += " + 1";
  EXPECT_NE(error(chain + "\n").find("too long"), std::string::npos);
  EXPECT_NE(error("Dim x As Integer = " + std::string(5000, '(') + "1" + std::string(5000, ')') + "\n").find("nested too deeply"),
            std::string::npos);
  EXPECT_EQ(langtest::output("Function F(n As Integer) As Integer\n  Return F(n + 1)\nEnd Function\nTry\n  Print Str(F(0))\n"
                             "Catch e As RuntimeException\n  Print \"stack overflow caught\"\nEnd Try\n"),
            "stack overflow caught\n");
  EXPECT_EQ(error("Dim a(100000000) As Integer\n"),
            "test.qvr:1: uncaught OutOfMemoryException: an array of 100000001 elements is too large; use a MemoryBlock\n");
}

TEST(TypeErrors, AnIntegerLoopNeedsAnIntegerStep) {
  EXPECT_EQ(error("For i As Integer = 0 To 2 Step 0.5\nNext\n"),
            "test.qvr:1:32: error: an Integer loop counter takes an Integer Step, not a Double\n");
}

TEST(TypeErrors, ValueTypesKnownBeforeRunningAreCheckedBeforeRunning) {
  langtest::Outcome o = langtest::run("Print \"start\"\nIf False Then Print \"n = \" + 5\n");
  EXPECT_EQ(o.out, "");
  EXPECT_EQ(o.err, "test.qvr:2:28: error: the operator + cannot be used with a String and an Integer\n");
  EXPECT_EQ(error("Sub S()\n  Dim x As Integer = \"a\"\nEnd Sub\n"), "test.qvr:2:22: error: \"x\" expects an Integer but got a String\n");
  EXPECT_EQ(error("Function F() As String\n  Return \"s\"\nEnd Function\nSub S()\n  Dim n As Integer = Len(F) * F\nEnd Sub\n"),
            "test.qvr:5:29: error: the operator * cannot be used with an Integer and a String\n");
  EXPECT_EQ(error("Sub S()\n  While 1\n  Wend\nEnd Sub\n"), "test.qvr:2:9: error: While expects a Boolean but got an Integer\n");
}

TEST(TypeErrors, WhatIsNotKnownBeforeRunningIsLeftToTheRun) {
  EXPECT_EQ(langtest::output("Dim v As Variant = 1\nPrint \"x\" + v\nDim m As New MemoryBlock(2)\nPrint Str(m.Size + 1)\n"), "x1\n3\n");
}
