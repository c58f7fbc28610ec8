// What the connection costs on top of the transfer library: posts on loopback through TWConnection,
// and through a bare libcurl handle with the same options, against the same server.

#include <memory>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include "tarnwell/transport/TWConnection.h"
#include "tarnwell/util/TWLogger.h"

#include "tests/support/ScriptedServer.h"

namespace {

using tarnwell::test::RawConnection;
using tarnwell::test::RawServer;

constexpr int kRequests = 1000;

std::string soap(std::size_t payload) {
  return "<s:Envelope xmlns:s=\"http://schemas.xmlsoap.org/soap/envelope/\"><s:Body><m>" +
         std::string(payload, 'x') + "</m></s:Body></s:Envelope>";
}

/// Answers every request with the same document.
RawServer::Handler answering(const std::string& body) {
  return [answer = "HTTP/1.1 200 OK\r\nContent-Type: text/xml; charset=utf-8\r\nContent-Length: " +
                   std::to_string(body.size()) + "\r\n\r\n" + body](RawConnection& peer) {
    while (peer.readRequest()) {
      if (!peer.write(answer)) return;
    }
  };
}

class Silence final : public tarnwell::TWLoggerDelegate {
 public:
  void debug(const std::string&) override {}
  void release(const std::string&) override {}
};

void postThroughConnection(benchmark::State& state) {
  tarnwell::TWLogger::logger().setDelegate(std::make_shared<Silence>());
  const std::string body = soap(static_cast<std::size_t>(state.range(0)));
  RawServer server(answering(body));
  const auto connection = tarnwell::TWConnection::withCredentials(nullptr, true);
  const std::string url = server.url("/EWS/Exchange.asmx");
  for (auto _ : state) {
    for (int i = 0; i < kRequests; ++i) {
      const tarnwell::TWResponse record =
          connection->post(url, std::nullopt, std::string_view(body));
      if (!record.response || record.response->statusCode != 200) state.SkipWithError("no answer");
    }
  }
  state.SetItemsProcessed(state.iterations() * kRequests);
}

std::size_t take(char* data, std::size_t size, std::size_t count, void* text) {
  static_cast<std::string*>(text)->append(data, size * count);
  return size * count;
}

/// @param parses  whether the answer is parsed, too, which the connection always does.
void postThroughLibcurl(benchmark::State& state, bool parses) {
  const std::string body = soap(static_cast<std::size_t>(state.range(0)));
  RawServer server(answering(body));
  const std::unique_ptr<CURL, void (*)(CURL*)> owner(curl_easy_init(), curl_easy_cleanup);
  CURL* const easy = owner.get();
  curl_slist* headers = nullptr;
  for (const char* line : {"Content-Type: text/xml; charset=utf-8", "Accept:", "Expect:"}) {
    headers = curl_slist_append(headers, line);
  }
  const std::string url = server.url("/EWS/Exchange.asmx");
  std::string answer;
  curl_easy_setopt(easy, CURLOPT_URL, url.c_str());
  curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy, CURLOPT_PROXY, "");
  curl_easy_setopt(easy, CURLOPT_COOKIEFILE, "");
  curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(easy, CURLOPT_POST, 1L);
  curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  curl_easy_setopt(easy, CURLOPT_POSTFIELDS, body.c_str());
  curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "compress, gzip");
  curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, take);
  curl_easy_setopt(easy, CURLOPT_WRITEDATA, &answer);
  for (auto _ : state) {
    for (int i = 0; i < kRequests; ++i) {
      answer.clear();
      if (curl_easy_perform(easy) != CURLE_OK) state.SkipWithError("no answer");
      if (parses) {
        const auto document = tarnwell::NKXMLDocument::withXMLString(answer);
        benchmark::DoNotOptimize(document);
      }
    }
  }
  curl_slist_free_all(headers);
  state.SetItemsProcessed(state.iterations() * kRequests);
}

void connection(benchmark::State& state) { postThroughConnection(state); }
void libcurl(benchmark::State& state) { postThroughLibcurl(state, false); }
void libcurlAndParsing(benchmark::State& state) { postThroughLibcurl(state, true); }

// A small answer, and one as large as a page of a folder.
BENCHMARK(libcurl)->Arg(500)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(libcurlAndParsing)->Arg(500)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(connection)->Arg(500)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
