/// NAME
///   edit - opens a virtual user table, changes one line and saves, twice
///
/// WHAT IT PRINTS
///   The seconds that each of the two changes took. For the second one the file is parsed already.
///   What a cold process takes for the first one, the caller measures.
///
/// USAGE
///   bench_edit FOLDER TABLE ADDRESS [once]

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "bench/table.h"

namespace {

void Measure(const std::vector<std::string>& words) {
  bench::UsePanel(words[0]);
  const std::size_t changes = words.size() == 4 ? 1 : 2;
  for (std::size_t change = 1; change <= changes; ++change) {
    const auto begin = std::chrono::steady_clock::now();
    bench::SetTarget(words[1], words[2], "target" + std::to_string(change));
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    std::printf("%.6f\n", taken.count());
  }
}

}  // namespace

int main(int count, char** values) {
  const std::vector<std::string> words(values + 1, values + count);
  if (words.size() < 3 || words.size() > 4 || (words.size() == 4 && words[3] != "once")) {
    std::fputs("usage: bench_edit FOLDER TABLE ADDRESS [once]\n", stderr);
    return 2;
  }
  try {
    Measure(words);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bench_edit: %s\n", error.what());
    return 1;
  }
  return 0;
}
