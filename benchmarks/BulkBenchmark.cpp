/// Creating, fetching and updating a thousand messages end to end: how much of the time the library
/// takes, and how much the sandbox and the network. The goal is at most 30 % for the library. And
/// the memory that the library needs at most while it fetches ten thousand messages.

#include <cstddef>
#include <ctime>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <malloc.h>

#include "tarnwell/folders/TWQuerySet.h"
#include "tarnwell/services/TWUpdateItem.h"

#include "benchmarks/SandboxAccount.h"

namespace {

using namespace tarnwell;
using benchmarks::SandboxAccount;

constexpr std::size_t kMessages = 1000;
constexpr std::size_t kManyMessages = 10'000;

/// What a clock of the system says, in seconds.
double secondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Measures the calls of one benchmark. A call of the library runs on the thread that makes it and
/// sleeps there while the server is at work, so the library's is that thread's processor time.
class Share {
 public:
  explicit Share(benchmark::State& state) : state_(state) {}

  /// `work` answers how many messages it has dealt with.
  template <class Work>
  void measure(const Work& work) {
    const double wallStart = secondsOf(CLOCK_MONOTONIC);
    const double threadStart = secondsOf(CLOCK_THREAD_CPUTIME_ID);
    const double processStart = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
    const std::size_t done = work();
    process_ += secondsOf(CLOCK_PROCESS_CPUTIME_ID) - processStart;
    library_ += secondsOf(CLOCK_THREAD_CPUTIME_ID) - threadStart;
    const double wall = secondsOf(CLOCK_MONOTONIC) - wallStart;
    wall_ += wall;
    state_.SetIterationTime(wall);
    if (done != kMessages) state_.SkipWithError("not all were dealt with");
  }

  void report() {
    const double messages = static_cast<double>(state_.iterations()) * kMessages;
    state_.counters["library each"] = library_ / messages;
    state_.counters["library % of time"] = 100 * library_ / wall_;
    // The time that passes also depends on what else the machine does; this does not.
    state_.counters["library % of CPU"] = 100 * library_ / process_;
  }

 private:
  benchmark::State& state_;
  double library_ = 0;
  double process_ = 0;
  double wall_ = 0;
};

template <class T>
std::size_t countGood(const std::optional<TWResults<T>>& results) {
  if (!results) return 0;
  std::size_t good = 0;
  for (const auto& result : *results) good += result ? 1U : 0U;
  return good;
}

/// A folder with that many messages, and what finding them answers.
struct Filled {
  std::shared_ptr<TWFolder> folder;
  TWItemEntries ids;
};

Filled filled(const std::string& name, std::size_t count) {
  const auto& mailbox = SandboxAccount::instance();
  Filled filled{mailbox.newFolder(name), {}};
  mailbox.fill(filled.folder, count);
  TWError error;
  auto query = filled.folder->all()->only({"item_id", "changekey"});
  query.setPageSize(kMessages);
  filled.ids = query.query(&error);
  benchmarks::require(filled.ids.size() == count, error);
  return filled;
}

const Filled& thousand() {
  static const auto& made = *new Filled(filled("Thousand", kMessages));
  return made;
}

std::size_t countItems(const std::optional<TWItemEntries>& entries) {
  if (!entries) return 0;
  std::size_t items = 0;
  for (const auto& entry : *entries) items += entry.item() ? 1U : 0U;
  return items;
}

void create(benchmark::State& state) {
  static int folders = 0;
  const auto& mailbox = SandboxAccount::instance();
  Share share(state);
  for ([[maybe_unused]] auto _ : state) {
    // Into a new folder each time, so that none grows.
    const auto folder = mailbox.newFolder("New " + std::to_string(++folders));
    const auto messages = mailbox.messages(kMessages, folder);
    share.measure([&] {
      return countGood(mailbox.account()->bulkCreate(folder, messages, "SaveOnly", "SendToNone"));
    });
  }
  share.report();
}

void fetch(benchmark::State& state) {
  const auto& account = SandboxAccount::instance().account();
  Share share(state);
  for ([[maybe_unused]] auto _ : state)
    share.measure([&] { return countItems(account->fetch(thousand().ids, thousand().folder)); });
  share.report();
}

void update(benchmark::State& state) {
  const auto& account = SandboxAccount::instance().account();
  Share share(state);
  for ([[maybe_unused]] auto _ : state) {
    std::vector<TWItemUpdate> updates;
    const auto read = account->fetch(thousand().ids, thousand().folder);
    if (!read) return state.SkipWithError("nothing to update");
    for (const auto& entry : *read) {
      entry.item()->set("subject", "Quarterly figures, second reading");
      entry.item()->set("importance", "High");
      updates.push_back({entry.item(), {"subject", "importance"}});
    }
    share.measure([&] {
      return countGood(
          account->bulkUpdate(updates, "AlwaysOverwrite", "SaveOnly", "SendToNone", true));
    });
  }
  share.report();
}

/// A line of /proc/self/status, in bytes.
double statusBytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    double kilobytes = 0;
    if (word == name + ":" && status >> kilobytes) return 1024 * kilobytes;
  }
  return 0;
}

void fetchMany(benchmark::State& state) {
  const auto& account = SandboxAccount::instance().account();
  static const auto& many = *new Filled(filled("Ten thousand", kManyMessages));
  double peak = 0;
  double kept = 0;
  for ([[maybe_unused]] auto _ : state) {
    state.PauseTiming();
    malloc_trim(0);                               // so that all that is needed shows
    std::ofstream("/proc/self/clear_refs") << 5;  // begins a new peak
    const double before = statusBytes("VmRSS");
    const double heapBefore = benchmarks::heapBytes();
    state.ResumeTiming();
    const auto read = account->fetch(many.ids, many.folder);
    state.PauseTiming();
    if (countItems(read) != kManyMessages) return state.SkipWithError("not all were read");
    peak = statusBytes("VmHWM") - before;
    kept = benchmarks::heapBytes() - heapBefore;
    state.ResumeTiming();
  }
  // Of the whole process: what the sandbox needs for an answer is in it.
  state.counters["peak MB"] = peak / 1e6;
  state.counters["kept MB"] = kept / 1e6;
}

BENCHMARK(create)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(fetch)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(update)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(fetchMany)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
