// The entry-point sweep: for each host entry point the image plugin resolves, a host that
// lacks just that one runs the whole tour (real and nil arguments). Nothing may crash or
// leak; a call may differ from the full host's answer only by a neutral one (nil, 0,
// false, "", or a host exception). Each host runs in a child process of its own, since a
// plugin's main function runs once per process.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/faults.h"
#include "tour.h"

namespace {

constexpr int kShards = 4;

// Runs `work` in a child process and returns its lines; a child that dies by a signal or
// exits with a failure adds a line saying so.
template <class Work>
std::vector<std::string> InChild(const std::string& logPath, Work work) {
  int channel[2];
  if (pipe(channel) != 0) return {"CRASH: no pipe"};
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    close(channel[0]);
    const int log = open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(log, 1);
    dup2(log, 2);
    FILE* out = fdopen(channel[1], "w");
    work(out);
    std::fclose(out);
    _exit(0);
  }
  close(channel[1]);
  std::vector<std::string> lines;
  FILE* in = fdopen(channel[0], "r");
  char buffer[4096];
  while (std::fgets(buffer, sizeof buffer, in)) {
    std::string line(buffer);
    if (!line.empty() && line.back() == '\n') line.pop_back();
    lines.push_back(line);
  }
  std::fclose(in);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status)) lines.push_back("CRASH: signal " + std::to_string(WTERMSIG(status)) + " (log " + logPath + ")");
  else if (WEXITSTATUS(status) != 0) lines.push_back("CRASH: exit " + std::to_string(WEXITSTATUS(status)));
  return lines;
}

// One tour; each line "R <label>\t<result>\t<receiver>" or "P <label>\t<problem>"; then the
// names the plugin resolved as "N <name>". A host kept alive to the end of the process
// still holds what the plugin could not give back, as a real host does until it quits, so
// memory checking sees those objects held rather than lost.
std::vector<std::unique_ptr<tour::TourHost>> keptHosts;  // the child ends with _exit: never destroyed

void TourInto(FILE* out, host::Options options, bool keepHost = false) {
  std::unique_ptr<tour::TourHost> owned = std::make_unique<tour::TourHost>(std::move(options));
  tour::TourHost& host = *owned;
  if (keepHost) keptHosts.push_back(std::move(owned));
  for (const tour::Step& step : tour::Steps(host)) {
    std::fprintf(out, "S %s\n", step.label().c_str());  // the last one named before a crash
    std::fflush(out);
    const tour::Outcome o = tour::Run(host, step);
    if (!o.problem.empty()) std::fprintf(out, "P %s\t%s\n", step.label().c_str(), o.problem.c_str());
    std::fprintf(out, "R %s\t%s\t%s\n", step.label().c_str(), o.result.c_str(), o.receiver.c_str());
  }
  for (const std::string& name : host::faults::resolvedNames()) std::fprintf(out, "N %s\n", name.c_str());
}

// Without these a plugin cannot give back what it holds: the host lacking one must not
// crash, but references or locks stay taken.
bool GivesBack(const std::string& name) {
  return name == "REALUnlockObject" || name == "REALUnlockString" || name == "PluginDisposeStringData" ||
         name == "unlockPictureDescription";
}

class EntryPointSweep : public ::testing::TestWithParam<int> {};

TEST_P(EntryPointSweep, HostWithoutOneEntryPointRunsTheTour) {
  const std::vector<std::string> full = InChild("/tmp/qvr-sweep-full.log", [](FILE* out) { TourInto(out, {}); });
  std::map<std::string, std::string> expected;
  std::vector<std::string> names;
  for (const std::string& line : full) {
    ASSERT_NE(line.rfind("P ", 0), 0u) << "full host: " << line.substr(2);
    ASSERT_NE(line.rfind("CRASH", 0), 0u) << "full host: " << line;
    if (line.rfind("R ", 0) == 0) expected[line.substr(2, line.find('\t') - 2)] = line.substr(line.find('\t') + 1);
    if (line.rfind("N ", 0) == 0) names.push_back(line.substr(2));
  }
  ASSERT_GT(expected.size(), 50u);
  ASSERT_GT(names.size(), 20u);
  std::printf("the tour: %zu calls; the plugin resolves %zu entry points\n", expected.size(), names.size());
  for (size_t i = size_t(GetParam()); i < names.size(); i += kShards) {
    host::Options options;
    options.missingEntryPoints = {names[i]};
    if (names[i] == "REALGetRBVersion") options.version.reset();
    const std::string log = "/tmp/qvr-sweep-" + names[i] + ".log";
    std::string last;
    for (const std::string& line : InChild(log, [&](FILE* out) { TourInto(out, options, GivesBack(names[i])); })) {
      if (line.rfind("S ", 0) == 0) last = line.substr(2);
      if (line.rfind("CRASH", 0) == 0) ADD_FAILURE() << "without " << names[i] << ": " << line << " in " << last;
      if (line.rfind("P ", 0) == 0 && !GivesBack(names[i]))
        ADD_FAILURE() << "without " << names[i] << ": " << line.substr(2);
      if (line.rfind("R ", 0) != 0) continue;
      // label, result and receiver; results compare only when the receivers were alike.
      const size_t tab = line.find('\t'), second = line.find('\t', tab + 1);
      const std::string label = line.substr(2, tab - 2), result = line.substr(tab + 1, second - tab - 1);
      const std::string& usual = expected[label];
      if (usual.substr(usual.find('\t') + 1) != line.substr(second + 1)) continue;
      if (result != usual.substr(0, usual.find('\t')) && !tour::Neutral(result))
        ADD_FAILURE() << "without " << names[i] << ": " << label << " gave " << result << ", not "
                      << usual.substr(0, usual.find('\t')) << " nor a neutral result";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Shards, EntryPointSweep, ::testing::Range(0, kShards));

}  // namespace
