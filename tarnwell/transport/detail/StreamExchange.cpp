#include "tarnwell/transport/detail/StreamExchange.h"

#include <utility>

#include "tarnwell/transport/TWConnection.h"
#include "tarnwell/transport/detail/ConnectionParts.h"

namespace tarnwell::detail {

StreamExchange::StreamExchange(std::shared_ptr<TWCredentials> credentials, TWHTTPRequest request,
                               const TWConnectionOptions& options)
    : credentials_(std::move(credentials)),
      request_(std::move(request)),
      idleLimit_(options.streamIdleLimit),
      bodyLimit_(options.bodyLimit),
      transfer_(transferOptions(options)) {}

void StreamExchange::cancel() {
  if (!armed_) return;
  cancelled_ = true;
  transfer_.cancel();
}

std::optional<TWData> StreamExchange::await() {
  arm();
  HTTPRequest request;
  request.url = request_.url;
  request.method = request_.method;
  request.headers = request_.headers;
  if (request_.body) request.body = *request_.body;
  request.followsRedirects = request_.followsRedirects;
  request.login = passwordLogin(credentials_.get());
  request.idleLimit = idleLimit_;
  request.cancelled = &cancelled_;
  request.acceptsCertificate = [this](bool trusted) {
    return trusted || allowInsecureCertificate_;
  };
  std::optional<TWData> fetched;
  request.receive = [&fetched, this](std::span<const std::uint8_t> piece) {
    if (!fetched) fetched.emplace();
    if (piece.size() > bodyLimit_ - fetched->size()) return false;
    fetched->insert(fetched->end(), piece.begin(), piece.end());
    return true;
  };
  // Failures are not reported: the caller judges what was collected, and nothing is a result, too.
  HTTPResult result = transfer_.perform(request);
  wasCancelled_ = result.error.is(TWHTTPErrorDomain, TWHTTPErrorCancelled);
  if (result.redirectTarget.empty()) return fetched;
  refusedRedirect_ = std::move(result.redirectTarget);
  return std::nullopt;  // the page of a redirect is no event
}

}  // namespace tarnwell::detail
