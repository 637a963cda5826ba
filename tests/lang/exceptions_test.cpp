// Exceptions: Try/Catch by class (the first matching Catch wins), Finally on every way
// out, Raise of host exception classes, exceptions from nested calls and from the
// interpreter itself, and uncaught exceptions reported with class, message and line.
#include "lang_support.h"

TEST(Exceptions, CaughtByClassWithFinallyOnEveryWayOut) {
  langtest::expectAll({
      {"Try\n  Raise New NilObjectException\nCatch e As OutOfBoundsException\n  Print \"wrong\"\n"
       "Catch e As RuntimeException\n  Print \"runtime: \" + Str(e IsA NilObjectException)\n"
       // What was caught, by name, as handlers report it.
       "  Dim t As Introspection.TypeInfo = Introspection.GetType(e)\n"
       "  Print t.Name + \" < \" + t.BaseType.FullName + \" \" + Str(t.BaseType.BaseType Is Nil) + \" \" + Str(Introspection.GetType(Nil) Is Nil)\nEnd Try\n",
       "runtime: True\nNilObjectException < RuntimeException True True\n"},
      // Message and ErrorNumber through the constructor or the properties.
      {"Try\n  Dim e As New RuntimeException\n  e.Message = \"set\"\n  e.ErrorNumber = 7\n  Raise e\n"
       "Catch err As RuntimeException\n  Print err.Message + Str(err.ErrorNumber)\nEnd Try\n"
       "Try\n  Raise New OutOfBoundsException(\"made\", 3)\nCatch err\n  Print err.Message + Str(err.ErrorNumber)\nEnd Try\n",
       "set7\nmade3\n"},
      {"Function F(mode As Integer) As String\n"
       "  Try\n    If mode = 1 Then Return \"returned\"\n    If mode = 2 Then Raise New RuntimeException(\"thrown\")\n"
       "  Catch e As OutOfBoundsException\n    Return \"wrong\"\n  Finally\n    Print \"finally \" + Str(mode)\n  End Try\n"
       "  Return \"normal\"\nEnd Function\n"
       "Print F(0)\nPrint F(1)\nTry\n  Print F(2)\nCatch e As RuntimeException\n  Print \"outer caught \" + e.Message\nEnd Try\n",
       "finally 0\nnormal\nfinally 1\nreturned\nfinally 2\nouter caught thrown\n"},
      {"Sub Inner(n As Integer)\n  Dim a(2) As Integer\n  a(n) = 1\nEnd Sub\nSub Outer()\n  Inner(5)\n  Print \"not here\"\nEnd Sub\n"
       "Try\n  Outer\nCatch e As OutOfBoundsException\n  Print \"caught \" + e.Message\nEnd Try\nPrint \"after\"\n",
       "caught index 5 is outside the array (last index 2)\nafter\n"},
      // Faults of the interpreter and of host members are host exceptions.
      {"Dim m As MemoryBlock\nTry\n  Print Str(m.Size)\nCatch e As NilObjectException\n  Print \"nil object\"\nEnd Try\n", "nil object\n"},
      // A String joined past what the host could hold raises before the memory is taken.
      {"Dim s As String = New MemoryBlock(150000000)\nTry\n  s = s + s\nCatch e As OutOfMemoryException\n"
       "  Print e.Message + \" \" + Str(s.LenB)\nEnd Try\n",
       "a String of 300000000 bytes is too large 150000000\n"},
      {"Dim m As New MemoryBlock(2)\nTry\n  m.Byte(4) = 1\nCatch e As OutOfBoundsException\n  Print \"host raised\"\nEnd Try\n", "host raised\n"},
      {"Raise 5\n", "test.qvr:1:7: error: Raise expects a RuntimeException but got an Integer\n"},
      {"Try\n  Raise New IllegalCastException\nCatch\n  Print \"any\"\nEnd Try\n", "any\n"},
      // Nothing left alive after a run that raised.
      {"Dim m As New MemoryBlock(4)\nDim s As String = \"x\"\nRaise New RuntimeException(\"bye\")\n", "test.qvr:3: uncaught RuntimeException: bye\n"},
      {"Sub Inner()\n  Raise New NilObjectException(\"deep\")\nEnd Sub\nSub Outer()\n  Inner\nEnd Sub\n\nOuter()\n",
       "test.qvr:2: uncaught NilObjectException: deep\n  in Inner, called at line 5\n  in Outer, called at line 8\n"},
  });
}

// An uncaught exception ends the run after what was printed; a mistake in the program is
// no exception, so nothing runs, not even Finally.
TEST(Exceptions, UncaughtEndTheRunAndMistakesStopItBeforeItStarts) {
  langtest::expectAll(
      {{"Print \"before\"\n\nRaise New UnsupportedOperationException(\"not today\")\nPrint \"after\"\n",
        "before\n|test.qvr:3: uncaught UnsupportedOperationException: not today\n"},
       {"Try\n  Dim x As Integer = \"s\"\nCatch\n  Print \"caught\"\nFinally\n  Print \"finally\"\nEnd Try\n",
        "|test.qvr:2:22: error: \"x\" expects an Integer but got a String\n"}},
      false, true);
}
