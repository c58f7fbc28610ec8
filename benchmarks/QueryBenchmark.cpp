/// What it costs to find every item of a folder, as id pairs, page by page: time and memory for
/// each, which must not grow with the folder. The goal is at most 1.2 times from one size to the
/// next.

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "tarnwell/folders/TWQuerySet.h"

#include "benchmarks/SandboxAccount.h"

namespace {

using namespace tarnwell;
using benchmarks::SandboxAccount;

/// As many as a server sends at most.
constexpr int kPageSize = 1000;

/// A folder with that many messages, made when it is first asked for.
const std::shared_ptr<TWFolder>& folderWith(std::size_t count) {
  static std::map<std::size_t, std::shared_ptr<TWFolder>> folders;
  auto& folder = folders[count];
  if (!folder) {
    const auto& mailbox = SandboxAccount::instance();
    folder = mailbox.newFolder("With " + std::to_string(count));
    mailbox.fill(folder, count);
  }
  return folder;
}

TWItemEntries idsIn(const std::shared_ptr<TWFolder>& folder, TWError* error) {
  auto ids = folder->all()->only({"item_id", "changekey"});
  ids.setPageSize(kPageSize);
  return ids.query(error);
}

void idPairs(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const auto& folder = folderWith(count);
  TWError error;
  for ([[maybe_unused]] auto _ : state) {
    if (idsIn(folder, &error).size() != count) state.SkipWithError(error.description().c_str());
  }
  const auto before = benchmarks::heapBytes();
  const auto kept = idsIn(folder, &error);
  state.counters["bytes each"] =
      (benchmarks::heapBytes() - before) / static_cast<double>(kept.size());
  state.counters["time each"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

BENCHMARK(idPairs)->Arg(1'000)->Arg(10'000)->Arg(100'000)->UseRealTime()->Unit(
    benchmark::kMillisecond);

}  // namespace
