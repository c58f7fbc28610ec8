#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/RawServer.h"

namespace tarnwell::test {

/// Header fields in the order of the wire, repeats included.
using HeaderList = std::vector<std::pair<std::string, std::string>>;

/// A request as it arrived.
struct ScriptedRequest {
  std::string method;
  std::string target;
  std::string version;
  HeaderList headers;
  std::string body;
  /// The head byte for byte, from the request line to the blank line.
  std::string head;
  /// The number of the connection that carried it, from 1.
  int connection = 0;

  /// The first field of that name, ignoring case.
  [[nodiscard]] std::optional<std::string> header(std::string_view name) const;
  /// How many fields have that name, ignoring case.
  [[nodiscard]] std::size_t count(std::string_view name) const;
};

/// What the server says to one request.
struct ScriptedAnswer {
  int status = 200;
  HeaderList headers;
  std::string body;
  /// Close the connection after this answer (a "Connection: close" header is added).
  bool close = false;
  /// Leave Content-Length out; the body ends with the connection.
  bool withoutLength = false;

  [[nodiscard]] static ScriptedAnswer xml(std::string body, int status = 200);
  [[nodiscard]] static ScriptedAnswer redirect(int status, std::string location);
  /// A 401 with one WWW-Authenticate field for each challenge.
  [[nodiscard]] static ScriptedAnswer challenge(const std::vector<std::string>& challenges);
};

/// A loopback HTTP/1.1 server for exact exchanges: it records every request and answers as told,
/// from a queue first, then by a handler, then with an empty 200. TLS when given a certificate.
///
///     ScriptedServer server;
///     server.enqueue(ScriptedAnswer::xml("<a/>"));
///     connection->post(server.url("/EWS/Exchange.asmx"), std::nullopt, "<q/>");
///     EXPECT_EQ(server.requests().at(0).body, "<q/>");
///
/// A handler may block on a Gate; it runs on the thread of its connection.
class ScriptedServer {
 public:
  using Handler = std::function<ScriptedAnswer(const ScriptedRequest&)>;
  using Options = RawServer::Options;

  ScriptedServer();
  explicit ScriptedServer(Handler handler);
  explicit ScriptedServer(const Options& options);
  ScriptedServer(Handler handler, const Options& options);

  [[nodiscard]] int port() const noexcept { return server_.port(); }
  [[nodiscard]] std::string url(std::string_view path, std::string_view host = "127.0.0.1") const {
    return server_.url(path, host);
  }

  /// The answer to the next request that finds the answers queued before it used up.
  void enqueue(ScriptedAnswer answer);

  /// Every request so far, in order of arrival.
  [[nodiscard]] std::vector<ScriptedRequest> requests() const;
  [[nodiscard]] std::size_t requestCount() const;
  /// Blocks until that many requests have arrived; false when that takes too long.
  [[nodiscard]] bool waitForRequests(std::size_t count) const;
  /// The most requests that were being answered at one time.
  [[nodiscard]] std::size_t mostAtOnce() const;
  [[nodiscard]] int connectionCount() const noexcept { return server_.connectionCount(); }
  [[nodiscard]] bool waitForNoConnections() { return server_.waitForNoConnections(); }

 private:
  void serve(RawConnection& peer);
  [[nodiscard]] ScriptedAnswer answerTo(const ScriptedRequest& request);

  mutable std::mutex mutex_;  // guards all down to the handler
  mutable std::condition_variable arrived_;
  std::vector<ScriptedRequest> requests_;
  std::deque<ScriptedAnswer> queue_;
  std::size_t busy_ = 0;
  std::size_t mostAtOnce_ = 0;
  Handler handler_;
  RawServer server_;  // last: its threads end before the rest goes
};

/// The request's parts; absent when it is not one.
[[nodiscard]] std::optional<ScriptedRequest> parseRequest(std::string_view text);
/// The answer's bytes as they go over the wire. A HEAD request gets no body.
[[nodiscard]] std::string formatAnswer(const ScriptedAnswer& answer, std::string_view method);

}  // namespace tarnwell::test
