/* EPS to PDF by Ghostscript as a child process. Debian's libgs links X11, and a PostScript
   interpreter's faults and endless loops must not reach the host, so the interpreter runs
   in a process of its own that we start without a shell and kill when its time is up. */
#include "imagereps/eps_conversion.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <string>

namespace qvr {

static uint32_t Le32(const uint8_t* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

bool eps_postscript(const uint8_t* data, size_t size, const uint8_t*& ps, size_t& psSize) {
  if (data == nullptr || size < 2) return false;
  if (size >= 30 && data[0] == 0xC5 && data[1] == 0xD0 && data[2] == 0xD3 && data[3] == 0xC6) {
    /* The DOS header: PostScript offset and length, then those of a WMF and a TIFF preview. */
    uint32_t offset = Le32(data + 4), length = Le32(data + 8);
    if (offset < 30 || offset > size || length > size - offset || length < 2) return false;
    data += offset;
    size = length;
  }
  if (data[0] != '%' || data[1] != '!') return false;
  ps = data;
  psSize = size;
  return true;
}

/* The next line of [p, end), without its end (CR, LF or CR LF). */
static const uint8_t* NextLine(const uint8_t* p, const uint8_t* end, const uint8_t*& lineEnd) {
  const uint8_t* q = p;
  while (q < end && *q != '\r' && *q != '\n') ++q;
  lineEnd = q;
  if (q < end && *q == '\r') ++q;
  if (q < end && *q == '\n') ++q;
  return q;
}

static bool StartsWith(const uint8_t* p, const uint8_t* end, const char* text) {
  size_t n = strlen(text);
  return size_t(end - p) >= n && memcmp(p, text, n) == 0;
}

/* "%%BoundingBox: llx lly urx ury": 1 read, 0 absent or unreadable, -1 "(atend)". */
static int ReadBox(const uint8_t* p, const uint8_t* end, EpsBox& box) {
  std::string text(reinterpret_cast<const char*>(p) + 14, reinterpret_cast<const char*>(end));
  if (text.find("(atend)") != std::string::npos) return -1;
  double v[4];
  if (sscanf(text.c_str(), "%lf %lf %lf %lf", &v[0], &v[1], &v[2], &v[3]) != 4) return 0;
  for (double x : v)
    if (!std::isfinite(x) || std::fabs(x) > 1e6) return 0;
  box = EpsBox{v[0], v[1], v[2], v[3]};
  return 1;
}

bool eps_bounding_box(const uint8_t* ps, size_t size, EpsBox& box) {
  const uint8_t *p = ps, *end = ps + size, *lineEnd = nullptr;
  bool atEnd = false, found = false;
  /* The header runs to "%%EndComments" or the first line that is not a comment. */
  for (bool header = true; p < end;) {
    const uint8_t* line = p;
    p = NextLine(p, end, lineEnd);
    if (header && (StartsWith(line, lineEnd, "%%EndComments") || line == lineEnd || *line != '%')) {
      header = false;
      if (!atEnd) break;
    }
    if (!StartsWith(line, lineEnd, "%%BoundingBox:")) continue;
    int read = ReadBox(line, lineEnd, box);
    if (header && read < 0) atEnd = true;
    if (read > 0) found = true;
    if (header && read > 0) break;
    /* In the trailer the last box counts. */
  }
  return found && box.urx > box.llx && box.ury > box.lly;
}

double eps_time_limit() {
  const char* setting = getenv("QVR_EPS_TIME_LIMIT");
  double seconds = setting ? atof(setting) : 0;
  return seconds > 0 && seconds < 3600 ? seconds : 20.0;
}

static const char* GhostscriptPath() {
  static const char* const candidates[] = {"/usr/bin/gs", "/usr/local/bin/gs", "/bin/gs"};
  for (const char* path : candidates)
    if (access(path, X_OK) == 0) return path;
  return nullptr;
}

static bool WriteAll(int fd, const uint8_t* data, size_t size) {
  while (size > 0) {
    ssize_t n = write(fd, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= size_t(n);
  }
  return true;
}

static bool ReadFile(const std::string& path, std::vector<uint8_t>& out) {
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  uint8_t buffer[65536];
  ssize_t n;
  while ((n = read(fd, buffer, sizeof buffer)) > 0 || (n < 0 && errno == EINTR))
    if (n > 0) out.insert(out.end(), buffer, buffer + n);
  close(fd);
  return n == 0;
}

static double Now() {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec + t.tv_nsec / 1e9;
}

/* Runs argv[0] with argv and nothing but environment; true if it ended by itself with status 0 within the limit. */
static bool RunLimited(char* const argv[], char* const environment[], double timeLimit) {
  pid_t child = fork();
  if (child < 0) return false;
  if (child == 0) {
    /* Only async-signal-safe calls between fork and exec. */
    setpgid(0, 0);
    struct rlimit memory = {rlim_t(2) << 30, rlim_t(2) << 30};
    setrlimit(RLIMIT_AS, &memory);
    struct rlimit cpu = {rlim_t(timeLimit) + 2, rlim_t(timeLimit) + 3};
    setrlimit(RLIMIT_CPU, &cpu);
    int null = open("/dev/null", O_RDWR);
    if (null >= 0) {
      dup2(null, 0);
      dup2(null, 1);
      dup2(null, 2);
    }
    for (int fd = 3; fd < 1024; ++fd) close(fd);
    execve(argv[0], argv, environment);
    _exit(127);
  }
  const double deadline = Now() + timeLimit;
  for (;;) {
    int status = 0;
    pid_t done = waitpid(child, &status, WNOHANG);
    if (done == child) return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (done < 0 && errno != EINTR) return false;
    if (Now() > deadline) {
      kill(-child, SIGKILL);
      kill(child, SIGKILL);
      while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
      }
      return false;
    }
    struct timespec pause = {0, 2 * 1000 * 1000};
    nanosleep(&pause, nullptr);
  }
}

bool eps_to_pdf(const uint8_t* ps, size_t size, double timeLimit, std::vector<uint8_t>& pdf) {
  pdf.clear();
  const char* gs = GhostscriptPath();
  if (gs == nullptr || ps == nullptr || size == 0) return false;
  const char* base = getenv("TMPDIR");
  std::string folder = std::string(base && *base ? base : "/tmp") + "/qvr-eps-XXXXXX";
  if (mkdtemp(&folder[0]) == nullptr) return false;
  const std::string input = folder + "/figure.eps", output = folder + "/figure.pdf";
  bool ok = false;
  int fd = open(input.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd >= 0) {
    bool written = WriteAll(fd, ps, size);
    close(fd);
    if (written) {
      std::string outputArg = "-sOutputFile=" + output;
      std::vector<std::string> args = {gs, "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-dNOPROMPT", "-dEPSCrop",
                                       "-dAutoRotatePages=/None", "-sDEVICE=pdfwrite", outputArg, "-f", input};
      /* Ghostscript lets -dSAFER programs write in its temporary folder: make that ours. */
      std::vector<std::string> variables = {"PATH=/usr/bin:/bin", "TMPDIR=" + folder, "TEMP=" + folder};
      std::vector<char*> argv, environment;
      for (std::string& arg : args) argv.push_back(&arg[0]);
      argv.push_back(nullptr);
      for (std::string& variable : variables) environment.push_back(&variable[0]);
      environment.push_back(nullptr);
      ok = RunLimited(argv.data(), environment.data(), timeLimit) && ReadFile(output, pdf) && !pdf.empty();
    }
  }
  unlink(input.c_str());
  unlink(output.c_str());
  rmdir(folder.c_str());
  if (!ok) pdf.clear();
  return ok;
}

}  // namespace qvr
