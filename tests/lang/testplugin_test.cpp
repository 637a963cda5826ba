// Programs against the host tests' own small plugin, whose classes have a member of
// every kind: overloads told apart by argument type and by class, constants by class
// name, default arguments, arrays passed to and returned from plugin functions,
// assignable methods, properties of every type, and plugin-raised exceptions.
#include "lang_support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <sys/stat.h>

namespace {

std::string pluginPath() {
  const char* dir = std::getenv("QVR_LIB_DIR");
  return std::string(dir ? dir : host::Runtime::libraryDirectory()) + "/libqvr_host_testplugin.so";
}

// Runs source with the test plugin loaded; skips when the plugin was not built.
langtest::Outcome runWithTestPlugin(const std::string& source) {
  langtest::Outcome outcome;
  struct stat info {};
  if (stat(pluginPath().c_str(), &info) != 0) {
    outcome.status = -2;
    return outcome;
  }
  host::Runtime rt;
  rt.loadPlugin(pluginPath());
  return langtest::runIn(rt, source);
}

#define RUN_OR_SKIP(outcome, source)                                   \
  langtest::Outcome outcome = runWithTestPlugin(source);               \
  if (outcome.status == -2) GTEST_SKIP() << "test plugin not built"; \
  static_assert(true, "")

}  // namespace

TEST(TestPlugin, OverloadsChosenByArgumentTypeAndClassAlsoShared) {
  RUN_OR_SKIP(o, "Dim t As New TestBase\nDim d As New TestDerived\nDim asBase As TestBase = d\n"
                 "Print t.Kind(1) + \" \" + t.Kind(1.5) + \" \" + t.Kind(\"s\") + \" \" + t.Kind(True) + \" \" + t.Kind(t) + \" \" + "
                 "t.Kind(asBase)\nPrint d.Kind(d)\nPrint Str(TestBase.Twice(21)) + \" \" + Str(TestBase.Twice(1.25))\n");
  EXPECT_EQ(o.status, 0) << o.err;
  EXPECT_EQ(o.out, "integer double string boolean TestBase TestDerived\nTestDerived (in TestDerived)\n42 2.5\n");
}

TEST(TestPlugin, ConstantsByClassNameAndDefaultArguments) {
  RUN_OR_SKIP(o, "Print Str(TestBase.Answer) + \" \" + Str(TestBase.Pi) + \" \" + TestBase.Greeting + \" \" + Str(TestBase.Enabled)\n"
                 "Dim t As New TestBase\nPrint Str(t.Add(1)) + \" \" + Str(t.Add(1, 2))\nPrint t.Defaults\n");
  EXPECT_EQ(o.status, 0) << o.err;
  EXPECT_EQ(o.out.substr(0, o.out.find('\n')), "42 3.25 hello True");
  EXPECT_NE(o.out.find("\n6 3\n"), std::string::npos) << o.out;
}

TEST(TestPlugin, ArraysGoToThePluginAndComeBack) {
  RUN_OR_SKIP(o, "Dim t As New TestBase\nDim values() As Integer = Array(1, 2, 3, 4)\nPrint Str(t.SumArray(values))\n"
                 "Dim words() As String = Array(\"a\", \"b\")\nPrint t.JoinStrings(words)\n"
                 "Dim names() As String = t.Names(3)\nPrint Join(names, \",\") + \" \" + Str(names.LastIndex)\n"
                 "Dim d() As Double = t.Doubles(0.5, 1.5)\nPrint Str(d(0) + d(1))\nFor Each n As String In t.Names(2)\n  Print n\nNext\n");
  EXPECT_EQ(o.status, 0) << o.err;
  EXPECT_EQ(o.out, "10\na+b\nn0,n1,n2 2\n2\nn0\nn1\n");
  EXPECT_EQ(o.leakedObjects, 0u);
  EXPECT_EQ(o.leakedStrings, 0u);
}

TEST(TestPlugin, PropertiesOfEveryTypeAssignableMethodsAndConstructorsAlongTheHierarchy) {
  RUN_OR_SKIP(o, "Dim a As New TestLeaf(5)\nDim b As New TestLeaf(\"text\")\nPrint Str(a IsA TestBase) + \" \" + Str(b IsA TestDerived)\n"
                 "Dim t As New TestBase\nt.Tag = \"tagged\"\nt.Scale = 2.5\nt.Ratio = 0.5\nt.Count = 7\nt.Flag = True\n"
                 "t.Partner = New TestDerived\nt.Slot(1) = 11\nt.Item(0) = \"x\"\n"
                 "Print t.Tag + \" \" + Str(t.Scale) + \" \" + Str(t.Ratio) + \" \" + Str(t.Count) + \" \" + Str(t.Flag) + \" \" + "
                 "Str(t.Partner IsA TestDerived) + \" \" + Str(t.Slot(1))\n");
  EXPECT_EQ(o.status, 0) << o.err;
  EXPECT_EQ(o.out, "True True\ntagged 2.5 0.5 7 True True 11\n");
}

TEST(TestPlugin, PluginRaisedExceptionsAreCaughtByClass) {
  RUN_OR_SKIP(o, "Dim t As New TestBase\nTry\n  t.Fail(\"OutOfBoundsException\", \"from the plugin\")\n"
                 "Catch e As OutOfBoundsException\n  Print \"caught \" + e.Message\nEnd Try\nt.Fail(\"NilObjectException\", \"uncaught\")\n");
  EXPECT_EQ(o.status, 1);
  EXPECT_EQ(o.out, "caught from the plugin\n");
  EXPECT_EQ(o.err, "test.qvr:7: uncaught NilObjectException: uncaught\n");
}
