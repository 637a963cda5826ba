// qvr: the command-line host of the image plugin. It loads the plugin and its sibling into
// the host runtime and runs a subcommand against them.
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "commands.h"
#include "qvrlang/run.h"

namespace {

struct Subcommand {
  const char* name;
  int (*run)(std::vector<std::string> args);
  const char* usage;
};

const Subcommand kSubcommands[] = {
    {"classes", &qvr::ClassesCommand,
     "classes [--host-version V|none] [--console|--web] [--no-siblings]\n"
     "      load the plugins and print the classes the host registered"},
    {"run", [](std::vector<std::string> args) { return qvrlang::runCommand(args, std::cout, std::cerr); },
     "run [--host-version V|none] [--console|--web] [--no-siblings] [PROGRAM]\n"
     "      run a program in the host's language with the plugins loaded (no PROGRAM: the built-in example)"},
};

void PrintUsage(std::ostream& out) {
  out << "usage: qvr <command> [arguments]\n\ncommands:\n";
  for (const Subcommand& command : kSubcommands) out << "  " << command.usage << "\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "help") == 0) {
    PrintUsage(argc < 2 ? std::cerr : std::cout);
    return argc < 2 ? 2 : 0;
  }
  std::vector<std::string> args(argv + 2, argv + argc);
  for (const Subcommand& command : kSubcommands) {
    if (std::strcmp(argv[1], command.name) == 0) return command.run(std::move(args));
  }
  std::cerr << "qvr: unknown command " << argv[1] << "\n";
  PrintUsage(std::cerr);
  return 2;
}
