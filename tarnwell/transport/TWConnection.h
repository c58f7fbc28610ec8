#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/transport/TWAuthType.h"
#include "tarnwell/transport/TWHeaders.h"
#include "tarnwell/transport/TWResponse.h"
#include "tarnwell/transport/TWStreamExchange.h"

namespace tarnwell {

class TWCredentials;
namespace detail {
class HTTPTransfer;
}  // namespace detail

/// Told of a request: its method, URL and body. Never of its headers, which may hold a secret.
using TWRequestObserver =
    std::function<void(std::string_view method, std::string_view url, std::string_view body)>;

/// How a connection reaches its server, and how long it is patient.
struct TWConnectionOptions {
  /// When a request is cancelled, counted from the moment it is the connection's turn.
  std::chrono::milliseconds requestLimit{30000};
  /// When an exchange with the server ends at the latest, counted from its first step.
  std::chrono::milliseconds resourceLimit{30000};
  /// The longest silence of a server in a streaming request, which has no other limit.
  std::chrono::milliseconds streamIdleLimit{120000};
  /// The longest body of an answer that is taken in, in bytes and unpacked. More ends the request
  /// with `TWHTTPErrorTooLarge`.
  std::size_t bodyLimit = std::size_t{512} << 20U;
  /// The most that a streaming request keeps of a server that talks without saying anything, in
  /// bytes. More ends the request with what it has.
  std::size_t streamTextLimit = std::size_t{64} << 20U;
  /// "http://host:port" or "socks5h://host:port". Empty: none; the environment is not asked.
  std::string proxy;
  /// A PEM file with certificates of authorities to trust beside the system's own. Empty: none.
  std::string caFile;
  /// Where to connect instead of a URL's own host and port, "host:port:to-host:to-port" each. Names
  /// in headers and certificates stay the URL's.
  std::vector<std::string> connectTo;
  /// Makes the exchanges of streaming requests. Empty: a `TWConnectionStream`.
  TWStreamFactory makeStream;
  /// Told of each request right before it is sent, streaming ones included; what a login adds to it
  /// (further rounds, redirects) is not told. Called on the thread of the request, on several
  /// threads at a time when connections share these options. It must not throw, make a request on
  /// the same connection or look up a shared protocol: that waits for itself. Empty: no one is.
  TWRequestObserver onRequest;
};

/// Blocking HTTP with one set of credentials, one request at a time.
///
///     auto connection = TWConnection::withCredentials(credentials, false);
///     TWResponse record = connection->post(url, std::nullopt, xml);
///     if (record.error) ...
///
/// Nothing is thrown and nothing retried; whatever happens is in the record. Challenges for Basic,
/// NTLM and Digest are answered with the password; an access token goes out as "Authorization:
/// Bearer" and leaves other challenges unanswered. Neither ever follows a redirect to another host.
/// Cookies are kept in memory as long as the sockets: until the connection goes or is closed,
/// `allowInsecureCertificate` changes, or a login by NTLM is refused. Nothing is written to disk.
///
/// Safe from any thread: a second request waits for the first to end, everything else answers at
/// once. The log lines of a request are written when it has ended.
class TWConnection {
 public:
  /// A body, or none: an empty body differs from none. Made from `TWData` without a copy.
  using Body = std::optional<std::span<const std::uint8_t>>;

  /// Sends nothing yet. The credentials may be null: then no challenge is answered.
  [[nodiscard]] static std::shared_ptr<TWConnection> withCredentials(
      std::shared_ptr<TWCredentials> credentials, bool allowsRedirects);
  [[nodiscard]] static std::shared_ptr<TWConnection> withCredentials(
      std::shared_ptr<TWCredentials> credentials, bool allowsRedirects,
      TWConnectionOptions options);
  // Nothing but a bool is a flag.
  static std::shared_ptr<TWConnection> withCredentials(std::shared_ptr<TWCredentials> credentials,
                                                       auto allowsRedirects) = delete;
  static std::shared_ptr<TWConnection> withCredentials(std::shared_ptr<TWCredentials> credentials,
                                                       auto allowsRedirects,
                                                       TWConnectionOptions options) = delete;
  TWConnection(const TWConnection&) = delete;
  TWConnection& operator=(const TWConnection&) = delete;
  ~TWConnection();

  // Requests. Without headers (`std::nullopt`) the default ones of a SOAP request are sent; headers
  // given, even an empty list, replace them altogether. Line breaks in a header or the method, URLs
  // that are none, and URLs with a user name or a password give an error before anything is sent.

  /// Blocks until the answer is complete, `requestLimit` has passed, or `cancel` was called. The
  /// record's error is in `TWHTTPErrorDomain` (timed out, cancelled, unknown host and so on), or
  /// code 1 (ErrorRedirect) of the catalogue with the target under "url" when a redirect was
  /// refused: then, and in every later record of this connection.
  ///
  /// With `stream` the request is carried by an exchange of `TWConnectionOptions::makeStream`,
  /// without time limit; the record has the request's URL, no HTTP response, and the bytes that the
  /// exchange kept. Its error tells of requests that cannot be sent, of `cancel` and of refused
  /// redirects; other failures end the stream with what was kept. Other requests of this connection
  /// wait until it is over.
  [[nodiscard]] TWResponse fetch(std::string_view url, std::string_view method,
                                 const std::optional<TWHeaders>& headers, Body body,
                                 bool stream = false);
  [[nodiscard]] TWResponse post(std::string_view url, const std::optional<TWHeaders>& headers,
                                Body body);
  /// Posts a text as UTF-8.
  [[nodiscard]] TWResponse post(std::string_view url, const std::optional<TWHeaders>& headers,
                                std::string_view xml, bool stream = false);
  // Nothing but a bool is a flag: the errors are in the record.
  TWResponse fetch(std::string_view url, std::string_view method,
                   const std::optional<TWHeaders>& headers, Body body, auto stream) = delete;
  TWResponse post(std::string_view url, const std::optional<TWHeaders>& headers,
                  std::string_view xml, auto stream) = delete;
  [[nodiscard]] TWResponse get(std::string_view url);
  /// A HEAD never has a body: the one given is not sent.
  [[nodiscard]] TWResponse head(std::string_view url, const std::optional<TWHeaders>& headers,
                                Body body);

  /// Ends the request in flight at once, streaming or not; its caller gets a record with
  /// `TWHTTPErrorCancelled`. A request is in flight from the moment it is its turn. Neither waits
  /// for a request nor touches the next.
  void cancel();
  /// No more requests: one that is running may end, later ones get `TWHTTPErrorCancelled`.
  void close();

  [[nodiscard]] const std::shared_ptr<TWCredentials>& credentials() const noexcept {
    return credentials_;
  }
  /// Whether redirects are followed: 20 at most, never from https to http.
  [[nodiscard]] bool allowsRedirects() const noexcept { return allowsRedirects_; }
  /// The target of the last redirect that was refused.
  [[nodiscard]] std::optional<std::string> redirected() const;

  /// Whether to go on with a server whose certificate cannot be trusted; false at first.
  /// Connections made under another setting are not used again.
  [[nodiscard]] bool allowInsecureCertificate() const noexcept { return allowInsecureCertificate_; }
  void setAllowInsecureCertificate(bool allow);
  void setAllowInsecureCertificate(auto allow) = delete;
  /// Whether the certificate that was evaluated last could not be trusted, accepted or not.
  /// Streaming requests have sockets of their own and do not count.
  [[nodiscard]] bool hasInsecureCertificate() const noexcept { return hasInsecureCertificate_; }

  /// The scheme that a password was last sent by, streaming requests not counted.
  [[nodiscard]] TWAuthType lastUsedAuthType() const noexcept { return lastUsedAuthType_; }
  /// Logs a change.
  void setLastUsedAuthType(TWAuthType type);

  // What the protocol notes here about its endpoint.

  [[nodiscard]] bool ssl() const noexcept { return ssl_; }
  void setSsl(bool ssl) noexcept { ssl_ = ssl; }
  void setSsl(auto ssl) = delete;
  [[nodiscard]] std::string server() const;
  void setServer(std::string_view server);
  [[nodiscard]] std::string serviceEndpoint() const;
  void setServiceEndpoint(std::string_view serviceEndpoint);

  /// The streaming request in flight, or null.
  [[nodiscard]] std::shared_ptr<TWStreamExchange> stream() const;

  /// All connections that are in use somewhere and not closed.
  [[nodiscard]] static std::vector<std::shared_ptr<TWConnection>> openConnections();
  /// Notes the connection, without keeping it alive, for `openConnections`. Every new one is noted;
  /// one that is noted already, or null, changes nothing.
  static void recordConnectionOpened(const std::shared_ptr<TWConnection>& connection);

 private:
  using Clock = std::chrono::steady_clock;
  using LogLines = std::vector<std::string>;

  TWConnection(std::shared_ptr<TWCredentials> credentials, bool allowsRedirects,
               TWConnectionOptions options);

  [[nodiscard]] TWResponse fetchAnswer(TWHTTPRequest request, Body body, Clock::time_point start,
                                       LogLines& lines);
  [[nodiscard]] TWResponse fetchStream(TWHTTPRequest request, Body body);
  [[nodiscard]] TWError refusal(const TWHTTPRequest& request) const;
  void reportRedirect(TWResponse& record, std::string target);
  [[nodiscard]] TWHTTPRequest makeRequest(std::string_view url, std::string_view method,
                                          const std::optional<TWHeaders>& headers) const;
  /// The line of the log that tells of a change.
  [[nodiscard]] std::optional<std::string> noteAuthType(TWAuthType type);
  [[nodiscard]] TWValue user() const;
  void releaseWhenClosed();

  const std::shared_ptr<TWCredentials> credentials_;
  const bool allowsRedirects_;
  const TWConnectionOptions options_;

  std::mutex lock_;  // held for the whole of one request, but not while a log line is written
  const std::unique_ptr<detail::HTTPTransfer> transfer_;

  std::atomic<bool> ssl_{false};
  std::atomic<bool> closed_{false};
  std::atomic<bool> allowInsecureCertificate_{false};
  std::atomic<bool> hasInsecureCertificate_{false};
  std::atomic<bool> trustChanged_{false};
  std::atomic<bool> cancelled_{false};  // since the turn of the request in flight began
  std::atomic<TWAuthType> lastUsedAuthType_{};

  mutable std::mutex fieldMutex_;  // guards the four below; never held over a request or a log line
  std::string server_;
  std::string serviceEndpoint_;
  std::optional<std::string> redirected_;
  std::shared_ptr<TWStreamExchange> stream_;
};

}  // namespace tarnwell
