// Classes a program defines: properties with their initial values, constructors, methods
// that override and call Super, Self and Me and bare member names inside methods,
// constants, Shared methods, ByRef, Optional and ParamArray parameters of methods, and
// classes of the program that descend from the host's (an exception raised and caught by
// its class). No run leaves an instance, or what its properties held, alive. Modules
// share their Subs, Functions and constants with the whole program. A Thread subclass's
// Run takes its turns on a host thread of its own while the main program yields.
#include "lang_support.h"

TEST(Classes, PropertiesConstructorsOverridesSuperAndTheHostsClasses) {
  const std::string shapes =
      "Class Shape\n  Dim name As String = \"shape\"\n  Dim points() As Integer\n  Dim extra As New Dictionary\n  Const kSides = 0\n"
      "  Sub Constructor(n As String)\n    name = n\n  End Sub\n  Function Area() As Double\n    Return 0\n  End Function\n"
      "  Function Describe() As String\n    Return name + \" \" + Format(Area, \"0.0\") + \" \" + Str(kSides)\n  End Function\n"
      "  Sub AddPoint(x As Integer)\n    points.Append x\n  End Sub\nEnd Class\n"
      "Class Rect Inherits Shape\n  Dim w, h As Double\n  Const kSides = 4\n"
      "  Sub Constructor(w As Double, h As Double)\n    Super.Constructor(\"rect\")\n    Self.w = w\n    Me.h = h\n  End Sub\n"
      "  Function Area() As Double\n    Return w * h\n  End Function\n"
      "  Function Describe() As String\n    Return \"[\" + Super.Describe + \"]\"\n  End Function\nEnd Class\n";
  langtest::expectAll({
      // Area dispatches to the instance's class; a constant belongs to the class that names it.
      {shapes + "Dim s As New Shape(\"blob\")\nDim r As Shape = New Rect(2, 3.5)\nPrint s.Describe + \" \" + r.Describe\n"
                "Print Str(r IsA Rect) + \" \" + Rect(r).name + \" \" + Str(Rect.kSides) + \" \" + Str(s.extra Is Rect(r).extra)\n"
                "r.AddPoint 5\nr.AddPoint(7)\nr.points(0) = 9\nPrint Str(r.points.Count) + \" \" + Str(r.points(0)) + Str(r.points(1))\n"
                "Dim d As New Dictionary\nd.Value(\"r\") = r\nDim back As Rect = d.Value(\"r\")\nDim v As Variant = back\n"
                "Print Str(Rect(v).Area) + \" \" + Introspection.GetType(v).Name\n",
       "blob 0.0 0 [rect 7.0 0]\nTrue rect 4 False\n2 97\n7 Rect\n"},
      {"Class Counter\n  Dim count As Integer\n  Dim log() As String\n"
       "  Shared Function Make(start As Integer) As Counter\n    Dim c As New Counter\n    c.count = start\n    Return c\n  End Function\n"
       "  Sub Bump(ByRef total As Integer, Optional steps As Integer = 1)\n    count = count + steps\n    total = total + steps\n"
       "    log.Append Str(steps)\n  End Sub\n"
       "  Function Sum(ParamArray values As Integer) As Integer\n    For Each v As Integer In values\n      count = count + v\n    Next\n"
       "    Return count\n  End Function\n  Function Twice() As Counter\n    Return Make(count * 2)\n  End Function\nEnd Class\n"
       "Dim c As Counter = Counter.Make(3)\nDim total As Integer\nc.Bump(total)\nc.Bump total, 4\n"
       "Print Str(c.count) + \" \" + Str(total) + \" \" + Join(c.log, \",\") + \" \" + Str(c.Sum(1, 2)) + \" \" + Str(c.Twice.count)\n"
       "Dim none As Counter\nTry\n  Print Str(none.count)\nCatch e As NilObjectException\n  Print e.Message\nEnd Try\n",
       "8 5 1,4 11 22\n\"count\" was used on Nil\n"},
      // A class of the program that descends from the host's exception class.
      {"Class MyError Inherits RuntimeException\n  Dim detail As String\nEnd Class\n"
       "Try\n  Dim e As New MyError\n  e.Message = \"bad\"\n  e.detail = \"more\"\n  Raise e\nCatch err As MyError\n"
       "  Print err.Message + \" \" + err.detail\nEnd Try\n"
       "Try\n  Raise New MyError(\"second\")\nCatch err As RuntimeException\n  Print err.Message + \" \" + Introspection.GetType(err).Name\nEnd Try\n",
       "bad more\nsecond MyError\n"},
      {"Print Utils.Twice(4) + Str(Utils.kBase) + \" \" + Str(kBase)\nModule Utils\n  Const kBase = 10\n"
       "  Public Function Twice(n As Integer) As String\n    Return Str(n * 2 + kBase) + \":\"\n  End Function\nEnd Module\n"
       "Print Twice(1)\n",
       "18:10 10\n12:\n"},
  });
  // Initial values may use the class's constants; a method's name shows in the trace.
  langtest::expectAll({{"Class A\n  Const kStart = 5\n  Dim n As Integer = kStart * 2\n  Dim items(kStart) As String\n"
                        "  Sub Fail()\n    Raise New RuntimeException(\"deep\")\n  End Sub\nEnd Class\n"
                        "Dim a As New A\nPrint Str(a.n) + \" \" + Str(a.items.Count)\na.Fail\n",
                        "10 6\n|test.qvr:6: uncaught RuntimeException: deep\n  in A.Fail, called at line 11\n"}},
                      false, true);
}

TEST(Classes, MistakesAreFoundBeforeTheProgramRuns) {
  langtest::expectAll({
      {"Class A Inherits Nope\nEnd Class\n", "test.qvr:1:7: error: unknown superclass \"Nope\"\n"},
      {"Class A\nEnd Class\nClass A\nEnd Class\n", "test.qvr:3:7: error: Class A is defined twice\n"},
      {"Class A Inherits B\nEnd Class\nClass B Inherits A\nEnd Class\n", "test.qvr:1:7: error: Class A inherits from itself\n"},
      {"Class Dictionary\nEnd Class\n",
       "test.qvr:1:7: error: \"Dictionary\" is already a class of the host; give the program's class another name\n"},
      {"Class A\n  Dim x As Integer\nEnd Class\nDim a As New A\na.x = \"s\"\n", "test.qvr:5:7: error: x expects an Integer but got a String\n"},
      {"Class A\n  Dim x As Integer\n  Dim x As String\nEnd Class\n", "test.qvr:3:7: error: \"x\" is already a member of A\n"},
      {"Class A\n  Shared Dim n As Integer\nEnd Class\n",
       "test.qvr:2:3: error: Shared properties are not supported; use a property of an instance or a constant\n"},
      {"Class A\n  Sub S()\n  End Sub\nEnd Class\nDim a As New A\nDim v As Integer = a.S\n",
       "test.qvr:6:22: error: A.S is a Sub and has no value\n"},
      {"Class A\n  Sub Constructor(v As Integer)\n  End Sub\nEnd Class\nDim a As New A\n",
       "test.qvr:5:14: error: A.Constructor needs at least 1 argument(s) but was given 0\n"},
      {"Class A\n  Dim x As Integer\nEnd Class\nPrint Str(A.x)\n", "test.qvr:4:13: error: x belongs to instances of A; use it on an instance\n"},
      {"Print Str(Self Is Nil)\n", "test.qvr:1:11: error: Self and Me are the instance in the methods of a class\n"},
      {"Class A\n  Dim x As Integer\n", "test.qvr:1:7: error: Class A has no \"End Class\"\n"},
      {"Module M\n  Dim x As Integer\nEnd Module\n",
       "test.qvr:2:3: error: properties of a module are not supported; use a constant, or a property of a class\n"},
      {"Module M\n", "test.qvr:1:8: error: Module M has no \"End Module\"\n"},
  });
}

// A Constructor of the program's own replaces the host's: the host's runs only when it calls
// Super.Constructor. The plugin hands the subclass's instance back where it holds its image.
TEST(Classes, SubclassesOfThePluginsAndHostsClasses) {
  langtest::expectAll(
      {{"Class Thumb Inherits NSImageQVR\n  Dim caption As String\n"
        "  Sub Constructor(side As Double, caption As String)\n    Super.Constructor(side, side)\n    Self.caption = caption\n  End Sub\n"
        "  Function PNGRepresentation() As MemoryBlock\n    Return JPEGRepresentation\n  End Function\nEnd Class\n"
        "Class Blank Inherits NSImageQVR\n  Sub Constructor()\n  End Sub\nEnd Class\n"
        "Class Square Inherits Picture\n  Sub Constructor(n As Integer)\n    Super.Constructor(n, n, 32)\n  End Sub\nEnd Class\n"
        "Class Oops Inherits RuntimeException\n  Sub Constructor(what As String)\n    Super.Constructor(\"oops: \" + what, 7)\n  End Sub\nEnd Class\n"
        "Dim t As New Thumb(16, \"t\")\nCall t.setName(\"thumb-one\")\nDim again As NSImageQVR = NSImageQVR.imageNamed(\"thumb-one\")\n"
        "Print Str(t.Width) + \" \" + Str(again Is t) + \" \" + Thumb(again).caption + \" \" + Str(NSImageQVR(t).PNGRepresentation.Byte(0))\n"
        "Dim b As New Blank\nPrint Str(b.Handle) + \" \" + Str(b.PNGRepresentation Is Nil) + \" \" + Str(New NSImageQVR(New Square(6)).Width)\n"
        "Try\n  Raise New Oops(\"x\")\nCatch e As Oops\n  Print e.Message + \" \" + Str(e.ErrorNumber)\nEnd Try\n",
        "16 True t 255\n0 True 6\noops: x 7\n"}},
      true);
}

TEST(Classes, ThreadsRunTheirRunWhileTheProgramYields) {
  langtest::expectAll(
      {{"Class Worker Inherits Thread\n  Dim log() As String\n  Sub Run()\n    log.Append \"start\"\n    Sleep(2)\n"
        "    Dim p As New Picture(4, 2, 32)\n    Dim png As MemoryBlock = New NSImageQVR(p).PNGRepresentationMT\n"
        "    log.Append Str(NSImageQVR.imageWithDataMT(png).width)\n  End Sub\nEnd Class\n"
        "Class Failing Inherits Thread\n  Sub Run()\n    Raise New RuntimeException(\"trouble\")\n  End Sub\nEnd Class\n"
        "Dim a As New Worker\nDim b As New Worker\na.Start\nb.Run\nPrint Str(a.State = Thread.Running) + Str(a.log.Count)\n"
        "While a.State <> Thread.NotRunning Or b.State <> Thread.NotRunning\n  Thread.SleepCurrent(1)\nWend\n"
        "Print Join(a.log, \",\") + \" \" + Join(b.log, \",\")\nDim f As New Failing\nf.Start\nPrint \"main ends\"\n",
        "True0\nstart,4 start,4\nmain ends\n|test.qvr:13: uncaught RuntimeException: trouble in a Failing thread\n"}},
      true, true);
}

// A CriticalSection keeps a thread's two steps together, entered twice by its owner; a
// Semaphore counts its units. A wait that could never end raises instead of hanging.
TEST(Classes, ThreadsTakeTurnsThroughCriticalSectionsAndSemaphores) {
  langtest::expectAll(
      {{"Class Pair Inherits Thread\n  Dim lock As CriticalSection\n  Dim log() As String\n  Dim name As String\n  Sub Run()\n"
        "    For i As Integer = 1 To 2\n      lock.Enter\n      lock.Enter\n      log.Append name + Str(i)\n      Me.Sleep(2)\n"
        "      log.Append name + Str(i)\n      lock.Leave\n      lock.Leave\n      Me.Sleep(2)\n    Next\n  End Sub\nEnd Class\n"
        "Dim lock As New CriticalSection\nDim log() As String\nDim threads() As Pair\nFor Each n As String In Array(\"a\", \"b\")\n"
        "  Dim t As New Pair\n  t.lock = lock\n  t.log = log\n  t.name = n\n  threads.Append t\n  t.Start\nNext\n"
        "While threads(0).State <> Thread.NotRunning Or threads(1).State <> Thread.NotRunning\n  App.DoEvents(1)\nWend\n"
        "Dim pairs As Boolean = True\nFor i As Integer = 0 To log.Ubound Step 2\n  pairs = pairs And log(i) = log(i + 1)\nNext\n"
        "Print Str(log.Count) + \" \" + Str(pairs)\n"
        "Dim gate As New Semaphore(2)\nPrint Str(gate.TrySignal) + Str(gate.TrySignal) + Str(gate.TrySignal)\ngate.Release\ngate.Signal\n"
        "Try\n  gate.Signal\nCatch e As RuntimeException\n  Print e.Message\nEnd Try\n"
        "Try\n  lock.Leave\nCatch e As RuntimeException\n  Print e.Message\nEnd Try\n"
        "Class Keeper Inherits Thread\n  Dim lock As CriticalSection\n  Sub Run()\n    lock.Enter\n  End Sub\nEnd Class\n"
        "Dim k As New Keeper\nk.lock = lock\nk.Start\nThread.SleepCurrent(2)\n"
        "Try\n  lock.Enter\nCatch e As RuntimeException\n  Print e.Message\nEnd Try\n",
        "8 True\nTrueTrueFalse\nSemaphore.Signal would wait for ever: no other thread is left to release it\n"
        "CriticalSection.Leave without Enter on this thread\nCriticalSection.Enter would wait for ever: the thread holding it has "
        "ended, or no other thread is left to leave it\n"}});
}
