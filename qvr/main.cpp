// qvr: the command-line host of the image plugin. It loads the plugin and its sibling into
// the host runtime and runs a subcommand against them.
#include <unistd.h>

#include <climits>
#include <cstdlib>
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

// An installed qvr (DIR/bin/qvr) loads the plugins installed beside it in DIR/lib/qvr;
// one run from the build tree finds them where the build put them. QVR_LIB_DIR, when
// set, wins over both.
void UseInstalledPlugins() {
  if (const char* set = std::getenv("QVR_LIB_DIR"); set && *set) return;
  char self[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self - 1);
  if (length <= 0) return;
  std::string dir(self, static_cast<size_t>(length));
  dir = dir.substr(0, dir.find_last_of('/'));
  const std::string installed = dir + "/../lib/qvr";
  if (::access((installed + "/libNSImageQVR.so").c_str(), R_OK) == 0) ::setenv("QVR_LIB_DIR", installed.c_str(), 1);
}

}  // namespace

int main(int argc, char** argv) {
  UseInstalledPlugins();
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
