#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tarnwell/transport/TWHeaders.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWCredentials;
struct TWConnectionOptions;

/// A request made ready: everything that goes over the wire but the login.
struct TWHTTPRequest {
  std::string url;
  std::string method;
  /// Complete, a bearer token included.
  TWHeaders headers;
  std::optional<TWData> body;
  bool followsRedirects = true;
};

/// A long-lived exchange: one request whose answer stays open while the server has more to say. It
/// decides by itself when it has heard enough.
///
/// A connection makes one for each streaming request, waits for it and drops it.
class TWStreamExchange {
 public:
  TWStreamExchange() = default;
  TWStreamExchange(const TWStreamExchange&) = delete;
  TWStreamExchange& operator=(const TWStreamExchange&) = delete;
  virtual ~TWStreamExchange() = default;

  /// Sends the request and blocks until the exchange is over. Absent when nothing was kept; a
  /// failure of the transport ends the wait with what was collected so far.
  [[nodiscard]] virtual std::optional<TWData> await() = 0;
  /// Ends `await` at once, from any thread. Does nothing before `arm` and `await`.
  virtual void cancel() = 0;
  /// From now on `cancel` counts, and an `await` that is still to come ends at once after it. The
  /// connection calls this before it shows the exchange to other threads, so that none of them
  /// cancels in vain.
  virtual void arm() = 0;
  /// Whether `cancel` has cut `await` short, once that is over. What came whole was not cancelled.
  [[nodiscard]] virtual bool wasCancelled() const = 0;
  /// Where a redirect that was refused points to, once `await` is over; the connection reports it.
  [[nodiscard]] virtual std::optional<std::string> refusedRedirect() const { return std::nullopt; }
  /// Whether to go on when the server's certificate cannot be trusted; false at first.
  virtual void setAllowInsecureCertificate(bool allow) = 0;
};

/// Makes the exchange of one streaming request. The credentials may be null. A null answer stands
/// for the default exchange, a `TWConnectionStream`.
using TWStreamFactory = std::function<std::shared_ptr<TWStreamExchange>(
    std::shared_ptr<TWCredentials> credentials, TWHTTPRequest request,
    const TWConnectionOptions& options)>;

}  // namespace tarnwell
