/* A fuzz driver for compilers without libFuzzer: it mutates the seed corpus at random (bit
   flips, byte values that tend to matter, cuts, insertions, copied spans) and hands every
   mutant to the same fuzz target. Usage: driver [-runs=N] [-seed=S] corpus-dir... */
#include <dirent.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::vector<uint8_t> bytes;
  FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) return bytes;
  uint8_t buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) bytes.insert(bytes.end(), buffer, buffer + n);
  std::fclose(f);
  return bytes;
}

void Mutate(std::vector<uint8_t>& bytes, std::mt19937_64& random) {
  static const uint8_t interesting[] = {0, 1, 2, 3, 4, 7, 8, 12, 15, 16, 24, 31, 32, 40, 56, 64, 108, 124, 127, 128, 255};
  const int steps = 1 + int(random() % 6);
  for (int s = 0; s < steps; ++s) {
    const size_t n = bytes.size();
    switch (random() % 6) {
      case 0:
        if (n) bytes[random() % n] ^= uint8_t(1u << (random() % 8));
        break;
      case 1:
        if (n) bytes[random() % n] = interesting[random() % sizeof interesting];
        break;
      case 2:
        if (n) bytes.resize(random() % n);
        break;
      case 3: {
        const size_t at = n ? random() % n : 0;
        bytes.insert(bytes.begin() + long(at), size_t(1 + random() % 16), uint8_t(random()));
        break;
      }
      case 4:
        if (n > 4) {
          const size_t from = random() % n, to = random() % n, length = std::min(n - std::max(from, to), size_t(1 + random() % 32));
          std::memmove(&bytes[to], &bytes[from], length);
        }
        break;
      default:
        if (n >= 4) {  // a little-endian word somewhere in the headers
          const size_t at = random() % std::min<size_t>(n - 3, 140);
          const uint32_t value = random() % 2 ? uint32_t(random()) : uint32_t(random() % 70000);
          std::memcpy(&bytes[at], &value, 4);
        }
        break;
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  long runs = 100000;
  uint64_t seed = 1;
  std::vector<std::vector<uint8_t>> corpus;
  for (int i = 1; i < argc; ++i) {
    if (std::strncmp(argv[i], "-runs=", 6) == 0) {
      runs = std::atol(argv[i] + 6);
      continue;
    }
    if (std::strncmp(argv[i], "-seed=", 6) == 0) {
      seed = std::strtoull(argv[i] + 6, nullptr, 10);
      continue;
    }
    DIR* dir = opendir(argv[i]);
    if (dir == nullptr) {
      corpus.push_back(ReadFile(argv[i]));
      continue;
    }
    while (dirent* entry = readdir(dir))
      if (entry->d_name[0] != '.') corpus.push_back(ReadFile(std::string(argv[i]) + "/" + entry->d_name));
    closedir(dir);
  }
  if (corpus.empty()) corpus.push_back({});
  std::mt19937_64 random(seed);
  for (const std::vector<uint8_t>& input : corpus) LLVMFuzzerTestOneInput(input.data(), input.size());
  for (long run = 0; run < runs; ++run) {
    std::vector<uint8_t> mutant = corpus[random() % corpus.size()];
    Mutate(mutant, random);
    LLVMFuzzerTestOneInput(mutant.data(), mutant.size());
  }
  std::printf("random mutation: %ld runs over %zu seeds, no failure\n", runs, corpus.size());
  return 0;
}
