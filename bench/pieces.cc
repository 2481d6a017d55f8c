/// NAME
///   pieces - what the steps of a change cost, by the size of the table
///
/// USAGE
///   bench_pieces, with the options of Google Benchmark

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include "bench/table.h"
#include "panel/conf/operation.h"
#include "panel/conf/text.h"

namespace {

namespace fs = std::filesystem;

/// A panel and a table in a folder that goes with it.
class Bench {
 public:
  explicit Bench(const benchmark::State& state) : lines_(static_cast<std::size_t>(state.range(0))) {
    std::string name = (fs::temp_directory_path() / "bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw fs::filesystem_error("mkdtemp", name, {});
    folder_ = name;
    bench::UsePanel(folder_);
    bench::WriteTable(table(), lines_);
  }
  ~Bench() {
    std::error_code error;
    fs::remove_all(folder_, error);
  }

  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  fs::path table() const { return folder_ / "virtusertable"; }
  std::string address() const { return bench::MiddleAddress(lines_); }

  /// The file with a new name, which the cache has not parsed.
  fs::path Unread() {
    fs::path name = folder_ / std::to_string(++names_);
    if (names_ > 1) {
      fs::rename(folder_ / std::to_string(names_ - 1), name);
    } else {
      fs::copy_file(table(), name);
    }
    return name;
  }

 private:
  std::size_t lines_;
  fs::path folder_;
  int names_ = 0;
};

void Read(benchmark::State& state) {
  Bench bench(state);
  for (auto _ : state) bench::OpenAddresses(bench.Unread());
}

void FindInUnread(benchmark::State& state) {
  Bench bench(state);
  for (auto _ : state) bench::OpenAddresses(bench.Unread())->Assert(bench.address());
}

void Walk(benchmark::State& state) {
  Bench bench(state);
  const auto lines = bench::OpenAddresses(bench.table());
  for (auto _ : state) {
    std::size_t count = 0;
    for (lines->First(); !lines->Eof(); lines->Next()) ++count;
    benchmark::DoNotOptimize(count);
  }
}

/// So often that the index is there.
void FindByIndex(benchmark::State& state) {
  Bench bench(state);
  const auto lines = bench::OpenAddresses(bench.table());
  for (int time = 0; time < 1000; ++time) lines->Find(bench.address());
  for (auto _ : state) benchmark::DoNotOptimize(lines->Find(bench.address()));
}

void Edit(benchmark::State& state) {
  Bench bench(state);
  const panel::conf::Operation rehearsal(panel::conf::Operation::Mode::kRehearsal);
  const auto line = bench::OpenAddresses(bench.table());
  line->Assert(bench.address());
  std::uint64_t change = 0;
  for (auto _ : state) {
    line->target = "target" + std::to_string(++change);
    line->Post("");
  }
}

void EditAndSave(benchmark::State& state) {
  Bench bench(state);
  std::uint64_t change = 0;
  for (auto _ : state) {
    bench::SetTarget(bench.table(), bench.address(), "target" + std::to_string(++change));
  }
}

void Sizes(benchmark::internal::Benchmark* piece) {
  piece->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMicrosecond);
}

BENCHMARK(Read)->Apply(Sizes);
BENCHMARK(FindInUnread)->Apply(Sizes);
BENCHMARK(Walk)->Apply(Sizes);
BENCHMARK(FindByIndex)->Apply(Sizes);
BENCHMARK(Edit)->Apply(Sizes);
BENCHMARK(EditAndSave)->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
