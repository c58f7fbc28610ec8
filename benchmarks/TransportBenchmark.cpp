// What the connection costs on top of the transfer library: posts on loopback through TWConnection,
// and through a bare libcurl handle with the same options, against the same server.

#include <memory>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>

#include "tarnwell/transport/TWConnection.h"

#include "benchmarks/Loopback.h"
#include "benchmarks/Silence.h"

namespace {

using namespace tarnwell;
using benchmarks::answering;

constexpr int kRequests = 1000;

/// A document of about that size, of the elements that servers send.
std::string soap(std::size_t size) {
  std::string text =
      "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\" "
      "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"><s:Body>";
  while (text.size() < size)
    text +=
        "<t:Message><t:ItemId Id=\"AAMkAGQ3NzA2Y2QxLTk4YjUtNDEyYy1hZjI1LTk3ZGY5NWQ1\" "
        "ChangeKey=\"CQAAABYAAADKBbi\"/><t:Subject>The minutes of Tuesday</t:Subject>"
        "<t:IsRead>true</t:IsRead></t:Message>";
  return text + "</s:Body></s:Envelope>";
}

/// As little markup as there can be: what an attachment looks like.
std::string longText(std::size_t size) {
  return "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body><m>" +
         std::string(size, 'x') + "</m></s:Body></s:Envelope>";
}

void postThroughConnection(benchmark::State& state, const std::string& body) {
  TWLogger::logger().setDelegate(std::make_shared<benchmarks::Silence>());
  test::RawServer server(answering(body));
  const auto connection = TWConnection::withCredentials(nullptr, true);
  const std::string url = server.url("/EWS/Exchange.asmx");
  for ([[maybe_unused]] auto _ : state) {
    for (int i = 0; i < kRequests; ++i) {
      const TWResponse record = connection->post(url, std::nullopt, std::string_view(body));
      if (!record.response || record.response->statusCode != 200) state.SkipWithError("no answer");
    }
  }
  state.SetItemsProcessed(state.iterations() * kRequests);
}

/// @param parses  whether the answer is parsed, too, which the connection always does.
void postThroughLibcurl(benchmark::State& state, const std::string& body, bool parses) {
  test::RawServer server(answering(body));
  benchmarks::BareClient client(server.url("/EWS/Exchange.asmx"), body);
  for ([[maybe_unused]] auto _ : state) {
    for (int i = 0; i < kRequests; ++i) {
      if (!client.post()) state.SkipWithError("no answer");
      if (parses) {
        const auto document = NKXMLDocument::withXMLString(client.answer());
        benchmark::DoNotOptimize(document);
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * kRequests);
}

std::string bodyOf(const benchmark::State& state) {
  return soap(static_cast<std::size_t>(state.range(0)));
}

void connection(benchmark::State& state) { postThroughConnection(state, bodyOf(state)); }
void libcurl(benchmark::State& state) { postThroughLibcurl(state, bodyOf(state), false); }
void libcurlAndParsing(benchmark::State& state) { postThroughLibcurl(state, bodyOf(state), true); }

void connectionLongText(benchmark::State& state) {
  postThroughConnection(state, longText(100'000));
}
void libcurlAndParsingLongText(benchmark::State& state) {
  postThroughLibcurl(state, longText(100'000), true);
}

// A small answer, and one as large as a page of a folder.
BENCHMARK(libcurl)->Arg(500)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(libcurlAndParsing)->Arg(500)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(connection)->Arg(500)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(libcurlAndParsingLongText)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(connectionLongText)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
