// What a whole call of a service costs: ResolveNames against a fixed answer on loopback, and the
// bare exchange of the same bytes with a parse of the answer. The goal is at most 1.2 times.

#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/services/TWResolveNames.h"
#include "tarnwell/transport/TWTransport.h"

#include "benchmarks/Loopback.h"
#include "benchmarks/Silence.h"

namespace {

using namespace tarnwell;

constexpr int kCalls = 1000;
constexpr const char* kName = "anna";
constexpr const char* kToken = "eyJ0eXAiOiJKV1QiLCJhbGciOiJSUzI1NiJ9.c3ViamVjdA.c2lnbmF0dXJl";

/// An answer with that many mailboxes, as servers send them.
std::string answerWith(std::int64_t mailboxes) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
      "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Header>"
      "<h:ServerVersionInfo MajorVersion=\"15\" MinorVersion=\"1\" MajorBuildNumber=\"225\" "
      "MinorBuildNumber=\"42\" Version=\"Exchange2016\" "
      "xmlns:h=\"http://schemas.microsoft.com/exchange/services/2006/types\"/></s:Header><s:Body>"
      "<m:ResolveNamesResponse "
      "xmlns:m=\"http://schemas.microsoft.com/exchange/services/2006/messages\" "
      "xmlns:t=\"http://schemas.microsoft.com/exchange/services/2006/types\"><m:ResponseMessages>"
      "<m:ResolveNamesResponseMessage ResponseClass=\"Success\">"
      "<m:ResponseCode>NoError</m:ResponseCode><m:ResolutionSet IncludesLastItemInRange=\"true\">";
  for (std::int64_t i = 0; i < mailboxes; ++i)
    text +=
        "<t:Resolution><t:Mailbox><t:Name>Anna Bergman</t:Name>"
        "<t:EmailAddress>anna.bergman@people.example</t:EmailAddress>"
        "<t:RoutingType>SMTP</t:RoutingType><t:MailboxType>Mailbox</t:MailboxType>"
        "</t:Mailbox></t:Resolution>";
  return text +
         "</m:ResolutionSet></m:ResolveNamesResponseMessage></m:ResponseMessages>"
         "</m:ResolveNamesResponse></s:Body></s:Envelope>";
}

std::shared_ptr<TWProtocol> protocolAt(const std::string& url) {
  return TWProtocol::withServiceEndpoint(
      url, TWCredentials::credentialsWithUsernameAccessToken("ann@example.com", kToken),
      TWVersion(TWBuild(15, 1, 225, 42), "Exchange2016"));
}

void resolveNames(benchmark::State& state) {
  TWLogger::logger().setDelegate(std::make_shared<benchmarks::Silence>());
  test::RawServer server(benchmarks::answering(answerWith(state.range(0))));
  const auto protocol = protocolAt(server.url("/EWS/Exchange.asmx"));
  const auto expected = static_cast<std::size_t>(state.range(0));
  for ([[maybe_unused]] auto _ : state) {
    for (int i = 0; i < kCalls; ++i) {
      const auto found = TWResolveNames::withProtocol(protocol)->call({kName});
      if (!found || found->size() != expected) state.SkipWithError("no answer");
    }
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}

void bareExchange(benchmark::State& state) {
  test::RawServer server(benchmarks::answering(answerWith(state.range(0))));
  const auto url = server.url("/EWS/Exchange.asmx");
  const auto payload =
      TWResolveNames(protocolAt(url)).getPayload({kName}, {}, false, std::nullopt, std::nullopt);
  benchmarks::BareClient client(url, TWTransport::wrap(payload, "Exchange2016"),
                                {std::string("Authorization: Bearer ") + kToken});
  for ([[maybe_unused]] auto _ : state) {
    for (int i = 0; i < kCalls; ++i) {
      if (!client.post()) state.SkipWithError("no answer");
      const auto document = NKXMLDocument::withXMLString(client.answer());
      benchmark::DoNotOptimize(document);
    }
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}

// One mailbox, and as many as a server gives at a time.
BENCHMARK(bareExchange)->Arg(1)->Arg(100)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(resolveNames)->Arg(1)->Arg(100)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
