// The `qvr run` command: options, a program file, the embedded example, and the
// host knobs reaching the program (a host without the sibling plugin has no sibling
// classes, so a program that names one is told so before it runs).
#include "lang_support.h"
#include "support/plugin_host.h"

// A command line ("program" stands for a small program file), its status and what each
// stream must contain. One test a command line, as the plugins load once per process.
struct CommandLine { std::string name; std::vector<std::string> args; int status; std::string out, err; };

void PrintTo(const CommandLine& line, std::ostream* os) { *os << line.name; }

class Command : public ::testing::TestWithParam<CommandLine> {};

TEST_P(Command, RunsAndAnswers) {
  support::TempFolder folder;
  folder.write("p.qvr", "Dim s As New NSSizeQVR(3, 4)\nPrint Str(s.Width * s.Height)\n");
  std::vector<std::string> args = GetParam().args;
  for (std::string& arg : args)
    if (arg == "program") arg = folder.path("p.qvr");
  std::ostringstream out, err;
  EXPECT_EQ(qvrlang::runCommand(args, out, err), GetParam().status) << err.str();
  EXPECT_NE(out.str().find(GetParam().out), std::string::npos) << out.str();
  EXPECT_NE(err.str().find(GetParam().err), std::string::npos) << err.str();
}

INSTANTIATE_TEST_SUITE_P(
    Lines, Command,
    ::testing::Values(CommandLine{"ProgramFile", {"program"}, 0, "12\n", ""},
                      CommandLine{"WithoutSiblings", {"--no-siblings", "program"}, 1, "",
                                  ":1:14: error: unknown type \"NSSizeQVR\""},
                      CommandLine{"EmbeddedExample", {}, 0, "NSSizeQVR: 64 x 48", ""},
                      CommandLine{"UnknownOption", {"--frobnicate"}, 2, "", "usage: qvr run"},
                      CommandLine{"BadHostVersion", {"--host-version", "soon"}, 2, "", ""},
                      CommandLine{"TwoPrograms", {"a.qvr", "b.qvr"}, 2, "", ""},
                      CommandLine{"MissingProgram", {"/nonexistent/x.qvr"}, 2, "", "cannot read"}),
    [](const auto& info) { return info.param.name; });
