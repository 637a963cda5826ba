// Programs against the host tests' own small plugin, whose classes have a member of
// every kind: overloads told apart by argument type and by class, constants by class
// name, default arguments, arrays passed to and returned from plugin functions,
// assignable methods, properties of every type, and plugin-raised exceptions.
#include "lang_support.h"

#include <cstdlib>
#include <sys/stat.h>

TEST(TestPlugin, EveryKindOfMemberFromAProgram) {
  const char* dir = std::getenv("QVR_LIB_DIR");
  const std::string plugin = std::string(dir ? dir : host::Runtime::libraryDirectory()) + "/libqvr_host_testplugin.so";
  struct stat info {};
  if (stat(plugin.c_str(), &info) != 0) GTEST_SKIP() << "test plugin not built";
  host::Runtime rt;
  rt.loadPlugin(plugin);
  langtest::expectAll(rt, {
      {"Dim t As New TestBase\nDim d As New TestDerived\nDim asBase As TestBase = d\n"
       "Print t.Kind(1) + \" \" + t.Kind(1.5) + \" \" + t.Kind(\"s\") + \" \" + t.Kind(True) + \" \" + t.Kind(t) + \" \" + "
       "t.Kind(asBase)\nPrint d.Kind(d)\nPrint Str(TestBase.Twice(21)) + \" \" + Str(TestBase.Twice(1.25))\n",
       "integer double string boolean TestBase TestDerived\nTestDerived (in TestDerived)\n42 2.5\n|"},
      {"Print Str(TestBase.Answer) + \" \" + Str(TestBase.Pi) + \" \" + TestBase.Greeting + \" \" + Str(TestBase.Enabled)\n"
       "Dim t As New TestBase\nPrint Str(t.Add(1)) + \" \" + Str(t.Add(1, 2))\nPrint t.Defaults\n",
       "42 3.25 hello True\n6 3\n42|hi, there|1.50|1|nil\n|"},
      {"Dim t As New TestBase\nDim values() As Integer = Array(1, 2, 3, 4)\nPrint Str(t.SumArray(values))\n"
       "Dim words() As String = Array(\"a\", \"b\")\nPrint t.JoinStrings(words)\n"
       "Dim names() As String = t.Names(3)\nPrint Join(names, \",\") + \" \" + Str(names.LastIndex)\n"
       "Dim d() As Double = t.Doubles(0.5, 1.5)\nPrint Str(d(0) + d(1))\nFor Each n As String In t.Names(2)\n  Print n\nNext\n",
       "10\na+b\nn0,n1,n2 2\n2\nn0\nn1\n|"},
      {"Dim a As New TestLeaf(5)\nDim b As New TestLeaf(\"text\")\nPrint Str(a IsA TestBase) + \" \" + Str(b IsA TestDerived)\n"
       "Dim t As New TestBase\nt.Tag = \"tagged\"\nt.Scale = 2.5\nt.Ratio = 0.5\nt.Count = 7\nt.Flag = True\n"
       "t.Partner = New TestDerived\nt.Slot(1) = 11\nt.Item(0) = \"x\"\n"
       "Print t.Tag + \" \" + Str(t.Scale) + \" \" + Str(t.Ratio) + \" \" + Str(t.Count) + \" \" + Str(t.Flag) + \" \" + "
       "Str(t.Partner IsA TestDerived) + \" \" + Str(t.Slot(1))\n",
       "True True\ntagged 2.5 0.5 7 True True 11\n|"},
      // Plugin-raised exceptions are caught by their class.
      {"Dim t As New TestBase\nTry\n  t.Fail(\"OutOfBoundsException\", \"from the plugin\")\n"
       "Catch e As OutOfBoundsException\n  Print \"caught \" + e.Message\nEnd Try\nt.Fail(\"NilObjectException\", \"uncaught\")\n",
       "caught from the plugin\n|test.qvr:7: uncaught NilObjectException: uncaught\n"},
  }, true);
}
