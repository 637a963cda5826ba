// Programs as host programmers write them: Call, #If with the target constants,
// ParamArray, casts, String and MemoryBlock converting into each other, Variant as a type
// of its own, overloads chosen by declared types, and the features refused by name.
#include "lang_support.h"

using langtest::expectAll;

TEST(HostIdioms, EverydayProgramsRunWithThePlugins) {
  expectAll(
      {
          {"Function Twice(n As Integer) As Integer\n  Print \"twice\"\n  Return n * 2\nEnd Function\nCall Twice(3)\n"
           "Dim img As New NSImageQVR\nCall img.JPEGRepresentation\nCall img.isValid\nPrint \"called\"\n",
           "twice\ncalled\n"},
          {"Dim mb As MemoryBlock\nDim img As NSImageQVR = NSImageQVR.imageWithData(mb)\n",
           "test.qvr:2: uncaught NilObjectException: Memoryblock is nil\n"},
          {"Dim o As Object = New Dictionary\nDim d As Dictionary = Dictionary(o)\nd.Value(\"k\") = 1\nPrint Str(d.Count)\n", "1\n"},
          {"Var any As Variant = 3\nPrint Str(any.Type) + \" \" + Str(any.Type = Variant.TypeInteger)\n", "3 True\n"},
          {"Dim d As New Dictionary()\nDim img As NSImageQVR = New NSImageQVR()\nVar p As Picture = New Picture(2, 3)\n"
           "Print Str(d.Count) + \" \" + Str(img.isValid) + \" \" + Str(p.Height)\n",
           "0 False 3\n"},
      },
      true);
}

TEST(HostIdioms, CallDropsResultsAndParamArrayTakesTheRemainingArguments) {
  const std::string sum =
      "Function Sum(label As String, ParamArray values As Integer) As String\n  Dim total As Integer\n"
      "  For Each v As Integer In values\n    total = total + v\n  Next\n  Return label + Str(total) + \"/\" + Str(values.Count)\nEnd Function\n";
  expectAll({
      {"Function F(n As Integer) As Integer\n  Print Str(n)\n  Return n\nEnd Function\nCall F(1)\ncall F 2\n", "1\n2\n"},
      {"Dim m As New MemoryBlock(4)\nCall m.StringValue(0, 2)\nPrint \"ok\"\n", "ok\n"},
      {"Call 5\n", "test.qvr:1:6: error: Call expects a method to call\n"},
      // ParamArray takes the remaining arguments.
      {(sum + "Print Sum(\"a\", 1, 2, 3)\nPrint Sum(\"b\")\nDim xs() As Integer = Array(4, 5)\nPrint Sum(\"c\", xs)\n").c_str(),
       "a6/3\nb0/0\nc9/2\n"},
      {(sum + "Print Sum(\"a\", 1, \"two\")\n").c_str(), "test.qvr:8:19: error: parameter values of Sum expects an Integer but got a String\n"},
      {"Sub S(ParamArray a As Integer, b As Integer)\nEnd Sub\n", "test.qvr:1:32: error: the ParamArray parameter a must be the last\n"},
  });
}

TEST(HostIdioms, ConditionalCompilationByTargetConstantsAndItsMistakesNamed) {
  const char* program =
      "#If TargetLinux Or TargetMacOS Then\nPrint \"unix\"\n#ElseIf TargetWindows\nPrint \"windows\"\n#Else\nPrint \"other\"\n#EndIf\n"
      "#if TargetConsole then\nPrint \"console\"\n#elseif TargetWeb\nPrint \"web\"\n#else\n  #If TargetDesktop And Not TargetConsole\n"
      "Print \"desktop\"\n  #EndIf\n#endif\n#If XojoVersion >= 2013.01 And RBVersion < 2014 And Target64Bit And Not Target32Bit Then\n"
      "Print \"2013, 64-bit\"\n#EndIf\n#If DebugBuild And TargetX86 = TargetX86 Then\nPrint Str(TargetConsole) + \" \" + Str(XojoVersion)\n#End If\n";
  expectAll({
      {program, "unix\ndesktop\n2013, 64-bit\nFalse 2013.03\n"},
      // Mistakes are named.
      {"#If TargetLinux\nPrint 1\n", "test.qvr:1:2: error: #If without #EndIf\n"},
      {"#EndIf\n", "test.qvr:1:1: error: #EndIf without #If\n"},
      {"#If TargetAmiga Then\n#EndIf\n",
       "test.qvr:1:5: error: unknown constant \"TargetAmiga\" in #If (conditions use the target constants: TargetLinux, TargetMacOS, "
       "TargetWindows, TargetDesktop, TargetConsole, TargetWeb, TargetX86, Target32Bit, Target64Bit, DebugBuild, XojoVersion, "
       "RBVersion, ...)\n"},
      {"#If XojoVersion Then\n#EndIf\n", "test.qvr:1:2: error: #If expects a Boolean condition but got a number\n"},
      {"#Tag Method\n", "test.qvr:1:1: error: the directive #Tag is not supported (only #If, #ElseIf, #Else, #EndIf and #Pragma)\n"},
      {"#If True\n#Else\n#Else\n#EndIf\n", "test.qvr:3:1: error: a second #Else\n"},
      // Lines of a branch not taken need not make sense, only be valid tokens.
      {"#If False\nThis would not compile()\n#EndIf\nPrint \"ran\"\n", "ran\n"},
  });
  for (auto [kind, expected] : {std::pair{host::AppKind::Console, "unix\nconsole\n2013, 64-bit\nTrue 2013.03\n"},
                                std::pair{host::AppKind::Web, "unix\nweb\n2013, 64-bit\nFalse 2013.03\n"}}) {
    host::Options options;
    options.kind = kind;
    host::Runtime rt(options);
    expectAll(rt, {{program, expected}});
  }
  host::Options older;
  older.version = 2011.04;
  host::Runtime rt(older);
  expectAll(rt, {{"#If XojoVersion < 2013 Then\nPrint \"old\"\n#EndIf\n", "old\n"}});
}

TEST(HostIdioms, ConversionsCastsAndOverloadsFollowDeclaredTypes) {
  expectAll({
      {"Function Bytes(m As MemoryBlock) As String\n  Return m\nEnd Function\nDim mb As MemoryBlock = \"abc\"\n"
       "Dim s As String = mb\nPrint Str(mb.Size) + \" \" + s + \" \" + Bytes(\"xy\") + \" \" + Str(Len(Bytes(mb)))\n",
       "3 abc xy 3\n"},
      {"Dim mb As MemoryBlock\nDim s As String = mb\nPrint \"[\" + s + \"]\"\n", "[]\n"},
      // Casts and objects of declared classes.
      {"Dim o As Object\nDim d As Dictionary = Dictionary(o)\nPrint Str(d Is Nil)\n", "True\n"},
      {"Dim o As Object = New Dictionary\nTry\n  Dim m As MemoryBlock = MemoryBlock(o)\nCatch e As IllegalCastException\n"
       "  Print e.Message\nEnd Try\n",
       "an instance of Dictionary is not a MemoryBlock\n"},
      {"Dim o As Object = New Dictionary\nVar d As Dictionary = o\n",
       "test.qvr:2:23: error: \"d\" expects a Dictionary but got an Object; cast it with Dictionary(...)\n"},
      {"Dim d As Dictionary = Dictionary(5)\n", "test.qvr:1:34: error: cannot cast an Integer to Dictionary; only objects cast to a class\n"},
      {"Dim o As Object = New Dictionary\nDim d As Dictionary = CType(o, Dictionary)\nDim c As Color = CType(&hFF0000, Color)\n"
       "Print Str(d.Count) + \" \" + Str(c.Red) + \" \" + Str(CType(2.9, Integer)) + \" \" + Str(CType(True, Integer)) + \" \" + "
       "Str(CType(0, Boolean))\n",
       "0 255 2 1 False\n"},
      {"Dim n As Integer = CType(\"5\", Integer)\n", "test.qvr:1:26: error: CType cannot convert a String to an Integer\n"},
      {"Dim d As Dictionary = Dictionary(1, 2)\n",
       "test.qvr:1:23: error: \"Dictionary\" is a class; make an instance with New Dictionary(...), or cast one value with Dictionary(value)\n"},
      // Overloads follow declared types.
      {"Sub Show(o As Dictionary)\n  Print \"dictionary\"\nEnd Sub\nSub Show(m As MemoryBlock)\n  Print \"memoryblock\"\nEnd Sub\n"
       "Dim m As MemoryBlock\nDim d As Dictionary\nShow m\nShow d\n",
       "memoryblock\ndictionary\n"},
  });
}

TEST(HostIdioms, VariantIsATypeOfItsOwn) {
  expectAll({
      {"Dim v As Variant = 3\nPrint Str(v.Type) + \" \" + Str(v.IntegerValue + 1) + \" \" + v.StringValue + \" \" + Str(v.IsNumeric) + "
       "\" \" + Str(v.DoubleValue / 2) + \" \" + Str(v.BooleanValue)\n"
       "v = \"12\"\nPrint Str(v.Type = Variant.TypeString) + \" \" + Str(v.Int32Value) + \" \" + Str(v.IsNumeric)\n"
       "v = Nil\nPrint Str(v.IsNull) + \" \" + Str(v.Type = Variant.TypeNil)\n"
       "Dim xs() As Double = Array(1.5)\nv = xs\nPrint Str(v.IsArray) + \" \" + Str(v.Type = Variant.TypeArray + Variant.TypeDouble) + \" \" + "
       "Str(v.ArrayElementType)\n"
       "v = New Dictionary\nDim d As Dictionary = v\nPrint Str(v.Type = Variant.TypeObject) + \" \" + Str(v.ObjectValue Is d)\n",
       "3 4 3 True 1.5 True\nTrue 12 True\nTrue True\nTrue True 5\nTrue True\n"},
      {"Dim v As Variant = New Dictionary\nDim n As Integer = v.IntegerValue\n",
       "test.qvr:2: uncaught TypeMismatchException: the Variant holds a Dictionary, not a number\n"},
      {"Dim n As Integer = \"7\"\n", "test.qvr:1:20: error: \"n\" expects an Integer but got a String\n"},
      {"Dim v As Variant = New Dictionary\nTry\n  Dim m As MemoryBlock = v\nCatch e As TypeMismatchException\n  Print e.Message\nEnd Try\n"
       "Dim w As Variant = \"5\"\nDim n As Integer = w\nPrint Str(n + 1)\n",
       "expected a MemoryBlock but the Variant holds a Dictionary\n6\n"},
      {"Dim v As Variant = New Dictionary\nPrint Str(v.Count)\n",
       "test.qvr:2:13: error: Variant has no member \"Count\"; convert the value first (IntegerValue, StringValue, ObjectValue, a cast ...)\n"},
      {"Print Str(Variant.TypeInt32) + Str(Variant.TypeBoolean) + Str(Variant.TypeColor) + Str(Variant.TypeDate)\n", "211167\n"},
      // An empty Variant reads as the default of the type it goes into; a Date reads as its SQL date and time.
      {"Dim v As Variant\nDim i As Integer = v\nDim d As Double = v\nDim b As Boolean = v\nDim c As Color = v\nDim s As String = v\n"
       "Print Str(i) + Str(d) + Str(b) + Str(c) + \"[\" + s + Str(v) + \"]\"\n"
       "Dim t As New Date(2024, 1, 2, 3, 4, 5)\nv = t\nPrint Str(t) + \" \" + v.StringValue\n",
       "00False&h00000000[]\n2024-01-02 03:04:05 2024-01-02 03:04:05\n"},
  });
}

TEST(HostIdioms, TypeErrorsNameFileLineColumnAndWhatWasExpected) {
  expectAll({
      {"Sub Size(n As Integer)\nEnd Sub\nSize(\"big\")\n", "test.qvr:3:6: error: parameter n of Size expects an Integer but got a String\n"},
      {"Sub Later()\n  Dim o As Object\n  Dim p As Picture = o\nEnd Sub\n",
       "test.qvr:3:22: error: \"p\" expects a Picture but got an Object; cast it with Picture(...)\n"},
      {"Dim v As Variant\nIf False Then v.Explode\n", "test.qvr:2:17: error: Variant has no member \"Explode\"; convert the value first (IntegerValue, StringValue, ObjectValue, a cast ...)\n"},
      {"Dim m As New MemoryBlock(2)\nIf False Then m.Explode\n", "test.qvr:2:17: error: class MemoryBlock has no member \"Explode\"\n"},
      {"Dim o As Object = New Dictionary\nIf False Then Print Str(o.Count)\n",
       "test.qvr:2:27: error: an Object has no member \"Count\"; cast it to its class first: ClassName(value).Count\n"},
      {"Dim m As New MemoryBlock(2)\nIf False Then m.Size = \"big\"\n", "test.qvr:2:24: error: Size expects an Integer but got a String\n"},
      {"Dim c As Color = &cFF0000\nDim i As Integer = 1\nPrint Str(i + c)\n", "test.qvr:3:13: error: the operator + cannot be used with an Integer and a Color\n"},
  });
}

TEST(HostIdioms, WhatTheLanguageLeavesOutIsRefusedByName) {
  expectAll({
      {"Print 1\nInterface Foo\nEnd Interface\n", "test.qvr:2:1: error: Interface definitions are not supported\n"},
      {"Declare Function getpid Lib \"libc\" () As Integer\n", "test.qvr:1:1: error: Declare statements (calls into system libraries) are not supported\n"},
      {"Soft Declare Sub x Lib \"y\" ()\n", "test.qvr:1:1: error: Soft Declare statements are not supported\n"},
      {"Sub S()\n  GoTo done\nEnd Sub\n", "test.qvr:2:3: error: GoTo is not supported; use loops and Exit\n"},
      {"Sub S()\n  Static n As Integer\nEnd Sub\n", "test.qvr:2:3: error: Static variables are not supported; use a variable of the main program\n"},
      {"AddHandler x.Action, AddressOf y\n", "test.qvr:1:1: error: AddHandler is not supported\n"},
      {"If True Then\n  Print 1\nException err\nEnd If\n", "test.qvr:3:1: error: an Exception block ends a Sub or Function; elsewhere use Try ... Catch\n"},
      {"Function F(d As Dictionary) As String\n  Return d.Value(\"k\")\nException err As KeyNotFoundException\n  Return \"none \" + Str(err IsA RuntimeException)\n"
       "End Function\nSub S()\n  Dim a() As Integer\n  a(1) = 0\nException e As NilObjectException\n  Print \"nil\"\nException\n  Print \"caught\"\nEnd Sub\n"
       "Print F(New Dictionary)\nS\n",
       "none True\ncaught\n"},
      // The main program, the application's Run event, may end in Exception blocks too; they see its variables.
      {"Dim n As Integer = 1\nRaise New IOException(\"io\")\nException e As NilObjectException\n  Print \"nil\"\nException e As IOException\n"
       "  Print e.Message + Str(n)\nSub Later()\nEnd Sub\n",
       "io1\n"},
      {"Dim class As Integer = 2\nclass = class + 1\nPrint Str(class)\n", "3\n"},
  });
}

TEST(HostIdioms, BuiltinsOfTheSweep) {
  expectAll({
      {"Print LeftB(\"abcdef\", 2) + RightB(\"abcdef\", 2) + MidB(\"abcdef\", 3, 2) + Str(InStrB(\"abcdef\", \"cd\")) + Str(AscB(\"A\")) + "
       "ChrB(66)\nPrint Str(Len(\"a\" + EndOfLine + \"b\")) + \" \" + ReplaceLineEndings(\"a\" + Chr(13) + Chr(10) + \"b\", \"|\")\n"
       "Print Str(Sign(-3)) + Str(Sign(0)) + \" \" + Str(CLong(2.6)) + \" \" + Format(ASin(1) + ACos(1), \"0.000\")\n"
       "Dim r As Double = Rnd\nPrint Str(r >= 0 And r < 1)\nMsgBox \"shown\"\nBeep\n",
       "abefcd365B\n3 a|b\n-10 3 1.571\nTrue\nshown\n"},
      {"Dim s As String = \"  Hello  \"\nPrint Str(s.Len) + \"[\" + s.LTrim + \"][\" + s.RTrim + \"]\" + s.Trim.Mid(2, 3) + Str(s.InStr(\"l\")) + "
       "Str(s.InStr(6, \"l\")) + s.Trim.LeftB(2) + Str(s.Trim.AscB)\n",
       "9[Hello  ][  Hello]ell56He72\n"},
      // Exit and Continue name the loop they leave when loops nest.
      {"For i As Integer = 1 To 3\n  For j As Integer = 1 To 3\n    If j = 2 Then Continue For i\n    If i = 3 Then Exit For i\n"
       "    Print Str(i) + Str(j)\n  Next\nNext\nPrint \"done\"\n",
       "11\n21\ndone\n"},
      {"Dim i As Integer = &hFF\nPrint Str(Bitwise.BitAnd(i, 15)) + \" \" + Str(Bitwise.ShiftLeft(1, 4)) + \" \" + Str(Bitwise.ShiftRight(i, 4)) + "
       "\" \" + Str(BitwiseOr(1, 2)) + \" \" + Str(Bitwise.BitXor(i, 1)) + \" \" + Str(Bitwise.OnesComplement(0))\n",
       "15 16 15 3 254 -1\n"},
      {"Print Str(Bitwise.Spin(1))\n", "test.qvr:1:19: error: the Bitwise module has no member \"Spin\"\n"},
      {"For i As Integer = 1 To 2\n  Exit For k\nNext\n", "test.qvr:2:3: error: Exit For k: no enclosing For loop counts with k\n"},
  });
}
