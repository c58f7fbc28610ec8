#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "tarnwell/transport/TWAuthType.h"
#include "tarnwell/transport/TWHTTPResponse.h"
#include "tarnwell/transport/TWHeaders.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell::detail {

using Bytes = std::vector<std::uint8_t>;

/// What all transfers of one `HTTPTransfer` have in common.
struct HTTPTransferOptions {
  /// PEM file with authorities that are trusted beside the system's own. Empty: none.
  std::string caFile;
  /// "http://host:port" or "socks5h://host:port". Empty: none, whatever the environment says.
  std::string proxy;
  /// "host:port:to-host:to-port" each: where to connect instead.
  std::vector<std::string> connectTo;
};

struct HTTPLogin {
  std::string username;
  std::string password;
};

/// One request. The hooks run on the thread that performs it.
struct HTTPRequest {
  std::string url;
  std::string method = "GET";
  /// Sent as they are, and besides them nothing but what HTTP itself needs. "Content-Length" and
  /// "Transfer-Encoding" are left out: the body tells. A body in gzip or zlib form is unpacked, and
  /// a damaged one or one that is not whole is an error. One in any other encoding is an error
  /// after an "Accept-Encoding" among these, and left as it is otherwise.
  TWHeaders headers;
  /// Must outlive the call. Absent and empty differ for methods other than POST. HEAD sends none.
  std::optional<std::span<const std::uint8_t>> body;
  /// False: a 3xx answer is the result, with its target in `HTTPResult::redirectTarget`.
  bool followsRedirects = true;
  /// Absent: challenges are not answered.
  std::optional<HTTPLogin> login;
  std::optional<std::chrono::steady_clock::time_point> deadline;
  /// The longest time without a byte from the server.
  std::optional<std::chrono::milliseconds> idleLimit;
  /// A decoded body that would grow longer ends the transfer with `TWHTTPErrorTooLarge`; what
  /// `receive` takes has no limit.
  std::size_t bodyLimit = std::size_t{512} << 20U;
  /// Ends the transfer like `cancel` when set, even when it was set before the transfer began; only
  /// with a call of `cancel` after it at once. Null: none.
  const std::atomic<bool>* cancelled = nullptr;
  /// Told of every evaluation of a server's certificate; answers whether to go on. Without it only
  /// trusted ones are accepted.
  std::function<bool(bool trusted)> acceptsCertificate;
  /// Takes the body piece by piece, which `HTTPResult::body` then lacks; false ends the transfer,
  /// which counts as success. Called for the final answer only, not for challenges and followed
  /// redirects.
  std::function<bool(std::span<const std::uint8_t>)> receive;
};

/// What keeps a request from being sent at all, if anything does: a malformed URL, one that is
/// neither http nor https, or one that holds a user name or a password; line breaks and NULs. The
/// message quotes nothing of it.
[[nodiscard]] TWError refusal(const std::string& url, const std::string& method,
                              const TWHeaders& headers, const std::optional<HTTPLogin>& login);

/// The limit, cut to what a clock can count.
[[nodiscard]] inline std::chrono::milliseconds countable(std::chrono::milliseconds limit) noexcept {
  return std::clamp<std::chrono::milliseconds>(limit, std::chrono::milliseconds(0),
                                               std::chrono::hours(24 * 365));
}

struct HTTPResult {
  /// The URL that answered, or the one asked for when none did.
  std::string url;
  /// Where a redirect that was not followed points to, as an absolute URL.
  std::string redirectTarget;
  /// The last answer. Beside an error it is there only when its own body failed: the challenge or
  /// redirect before a request that failed is dropped, and so is a head that never ended.
  std::optional<TWHTTPResponse> response;
  Bytes body;
  /// In `TWHTTPErrorDomain`. Any status is a success here.
  TWError error;
  /// The schemes of the credentials that were sent, in order.
  std::vector<TWAuthType> schemes;
};

/// An HTTP client of one request at a time that keeps its connections between requests.
///
///     HTTPTransfer transfer;
///     HTTPRequest request;
///     request.url = "https://example.com/table.xml";
///     const HTTPResult result = transfer.perform(request);
///
/// `perform` and `dropConnections` are for one thread at a time; `cancel` may come from any. A
/// transfer shares nothing with any other: what one of them accepted leniently is never reused by a
/// strict one. Neither SIGPIPE nor any other signal reaches the program through this.
class HTTPTransfer {
 public:
  explicit HTTPTransfer(HTTPTransferOptions options = {});
  HTTPTransfer(const HTTPTransfer&) = delete;
  HTTPTransfer& operator=(const HTTPTransfer&) = delete;
  ~HTTPTransfer();

  /// Blocks until the answer is complete, the request has failed, or it was cancelled.
  [[nodiscard]] HTTPResult perform(const HTTPRequest& request);
  /// Ends the request in flight at once, in whatever phase it is, with `TWHTTPErrorCancelled`. Does
  /// nothing when none is, and does not touch the next.
  void cancel() noexcept;
  /// Forgets connections, cookies and what was learnt about logging in. Not while a request is in
  /// flight.
  void dropConnections() noexcept;

 private:
  struct Engine;
  std::unique_ptr<Engine> engine_;
};

/// Called at the start of every evaluation of a certificate, while the lock that keeps evaluations
/// apart is held; for tests. Null: nothing.
void setTrustEvaluationProbe(void (*probe)());

}  // namespace tarnwell::detail
