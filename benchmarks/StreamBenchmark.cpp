// What it costs to collect a stream: the time for a byte must not depend on how many have come.
// A notification of 1, 10 and 100 MB arrives in small and in large pieces, by hand and over
// loopback; heartbeats arrive by the thousand.
//
// A text of 1 MB finds memory that the run before it has used; a longer one gets pages that are new
// to the process, which costs up to half as much again. With MALLOC_MMAP_THRESHOLD_ and
// MALLOC_TRIM_THRESHOLD_ of 4000000000 in the environment what is left is the work.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "tarnwell/Core/XML/NKXMLDocument.h"
#include "tarnwell/protocol/TWConnectionStream.h"

#include "benchmarks/Loopback.h"
#include "benchmarks/Silence.h"
#include "tests/support/StreamAnswers.h"

namespace {

using namespace tarnwell;

constexpr std::size_t kMegabyte = 1'000'000;

/// A notification of about that size, of as many events.
std::string longNotification(std::size_t size) {
  std::string events;
  while (events.size() < size)
    events +=
        "<t:NewMailEvent><t:TimeStamp>2026-11-21T14:00:00Z</t:TimeStamp>"
        "<t:ItemId Id=\"AAMkAGQ3NzA2Y2QxLTk4YjUtNDEyYy1hZjI1LTk3ZGY5NWQ1\" "
        "ChangeKey=\"CQAAABYAAADKBbi\"/><t:ParentFolderId Id=\"AQMkADQ3NzA2Y2QxLTk4YjUtNDEy\"/>"
        "</t:NewMailEvent>";
  return test::streamDocument("<m:Notifications><m:Notification>" + events +
                              "</m:Notification></m:Notifications>");
}

/// Lets the text arrive in pieces of that size; how many ended the wait.
int feed(TWConnectionStream& stream, const std::string& text, std::size_t pieceSize) {
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  int decisions = 0;
  for (std::size_t at = 0; at < bytes.size(); at += pieceSize)
    if (stream.validateData(bytes.subspan(at, std::min(pieceSize, bytes.size() - at)))) ++decisions;
  return decisions;
}

void collect(benchmark::State& state) {
  const auto text = longNotification(static_cast<std::size_t>(state.range(0)) * kMegabyte);
  for ([[maybe_unused]] auto _ : state) {
    const auto stream = TWConnectionStream::withCredentials(nullptr, {});
    if (feed(*stream, text, static_cast<std::size_t>(state.range(1))) != 1)
      state.SkipWithError("not recognised");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

/// For comparison: one parsing into a tree, as the text needs it afterwards in any case.
void parse(benchmark::State& state) {
  const auto text = longNotification(static_cast<std::size_t>(state.range(0)) * kMegabyte);
  for ([[maybe_unused]] auto _ : state)
    if (!NKXMLDocument::withXMLString(text)) state.SkipWithError("not parsed");
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

/// Over HTTP, with the parsing of what was collected.
void collectOverLoopback(benchmark::State& state) {
  TWLogger::logger().setDelegate(std::make_shared<benchmarks::Silence>());
  const auto text = longNotification(static_cast<std::size_t>(state.range(0)) * kMegabyte);
  test::RawServer server(benchmarks::answering(text));
  TWConnectionOptions options;
  options.streamTextLimit = 2 * text.size();
  const auto connection = TWConnection::withCredentials(nullptr, true, options);
  const auto url = server.url("/");
  for ([[maybe_unused]] auto _ : state)
    if (connection->post(url, std::nullopt, "<q/>", true).data.size() != text.size())
      state.SkipWithError("not collected");
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void heartbeats(benchmark::State& state) {
  const auto text = test::heartbeat() + "  ";
  const auto stream = TWConnectionStream::withCredentials(nullptr, {});
  for ([[maybe_unused]] auto _ : state) {
    if (feed(*stream, text, text.size()) != 0 || stream->fetched())
      state.SkipWithError("not dropped");
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(collect)
    ->ArgNames({"MB", "piece"})
    ->ArgsProduct({{1, 10, 100}, {256, 16384}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(parse)->ArgName("MB")->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond);
BENCHMARK(collectOverLoopback)
    ->ArgName("MB")
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(heartbeats)->Unit(benchmark::kMicrosecond);

}  // namespace
