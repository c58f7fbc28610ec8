#include "tarnwell/transport/TWConnection.h"

#include <algorithm>
#include <utility>

#include "tarnwell/protocol/TWConnectionStream.h"
#include "tarnwell/protocol/TWCredentials.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWTransport.h"
#include "tarnwell/transport/detail/ConnectionParts.h"
#include "tarnwell/transport/detail/HTTPTransfer.h"
#include "tarnwell/transport/detail/Wipe.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWLogger.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

struct Registry {
  std::mutex mutex;
  std::vector<std::weak_ptr<TWConnection>> connections;
};

Registry& registry() {
  // Never destroyed: connections may be made and dropped while the program ends.
  static auto* const shared = new Registry;
  return *shared;
}

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TWError cancellation(std::string_view message) {
  return {TWHTTPErrorDomain, TWHTTPErrorCancelled, message};
}

std::string_view textOf(TWConnection::Body body) {
  return body ? std::string_view(reinterpret_cast<const char*>(body->data()), body->size())
              : std::string_view();
}

void wipeSecrets(TWHeaders& headers) {
  for (auto& [name, value] : headers) detail::wipe(value);
}

}  // namespace

std::shared_ptr<TWConnection> TWConnection::withCredentials(
    std::shared_ptr<TWCredentials> credentials, bool allowsRedirects) {
  return withCredentials(std::move(credentials), allowsRedirects, TWConnectionOptions());
}

std::shared_ptr<TWConnection> TWConnection::withCredentials(
    std::shared_ptr<TWCredentials> credentials, bool allowsRedirects, TWConnectionOptions options) {
  std::shared_ptr<TWConnection> connection(
      new TWConnection(std::move(credentials), allowsRedirects, std::move(options)));
  recordConnectionOpened(connection);
  return connection;
}

TWConnection::TWConnection(std::shared_ptr<TWCredentials> credentials, bool allowsRedirects,
                           TWConnectionOptions options)
    : credentials_(std::move(credentials)),
      allowsRedirects_(allowsRedirects),
      options_(std::move(options)),
      transfer_(std::make_unique<detail::HTTPTransfer>(detail::transferOptions(options_))) {}

TWConnection::~TWConnection() = default;

TWResponse TWConnection::fetch(std::string_view url, std::string_view method,
                               const std::optional<TWHeaders>& headers, Body body, bool stream) {
  TWResponse record;
  LogLines lines;
  {
    const std::lock_guard turn(lock_);
    const Clock::time_point start = Clock::now();
    {
      const std::lock_guard lock(fieldMutex_);
      cancelled_ = false;
    }
    if (closed_) {
      record.url = url;
      record.error = cancellation("The connection is closed");
      reportRedirect(record, {});
    } else {
      auto request = makeRequest(url, method, headers);
      if (options_.onRequest && !refusal(request)) options_.onRequest(method, url, textOf(body));
      record = stream ? fetchStream(std::move(request), body)
                      : fetchAnswer(std::move(request), body, start, lines);
    }
    lines.push_back(
        formatMessage("[%@][Connection] Request took: %.2fs", {user(), secondsSince(start)}));
  }
  if (closed_) releaseWhenClosed();
  // Not before the turn is over: whoever reads a line may make a request, or wait for one.
  for (const std::string& line : lines) TWLogger::logger().rlog(line);
  return record;
}

TWHTTPRequest TWConnection::makeRequest(std::string_view url, std::string_view method,
                                        const std::optional<TWHeaders>& headers) const {
  TWHTTPRequest request{std::string(url), std::string(method),
                        headers ? *headers : TWTransport::defaultHeaders(), std::nullopt,
                        allowsRedirects_};
  if (credentials_ && credentials_->useOAuth2()) {
    std::erase_if(request.headers, [](const auto& field) {
      return equalIgnoringCase(field.first, "Authorization");
    });
    std::string token = credentials_->password();
    request.headers.emplace_back("Authorization", "Bearer " + token);
    detail::wipe(token);
  }
  return request;
}

TWResponse TWConnection::fetchAnswer(TWHTTPRequest request, Body body, Clock::time_point start,
                                     LogLines& lines) {
  detail::HTTPRequest exchange;
  exchange.url = std::move(request.url);
  exchange.method = std::move(request.method);
  exchange.headers = std::move(request.headers);
  exchange.body = body;
  exchange.followsRedirects = request.followsRedirects;
  exchange.login = detail::passwordLogin(credentials_.get());
  const Clock::time_point requestEnd = start + detail::countable(options_.requestLimit);
  exchange.deadline =
      std::min(requestEnd, Clock::now() + detail::countable(options_.resourceLimit));
  exchange.bodyLimit = options_.bodyLimit;
  exchange.cancelled = &cancelled_;
  exchange.acceptsCertificate = [this](bool trusted) {
    hasInsecureCertificate_ = !trusted;
    return trusted || allowInsecureCertificate_;
  };

  if (trustChanged_.exchange(false)) transfer_->dropConnections();
  detail::HTTPResult result = transfer_->perform(exchange);
  wipeSecrets(exchange.headers);
  if (exchange.login) detail::wipe(exchange.login->password);

  const bool isLate =
      result.error.is(TWHTTPErrorDomain, TWHTTPErrorTimedOut) && Clock::now() >= requestEnd;
  for (const TWAuthType scheme : result.schemes) {
    if (auto line = noteAuthType(scheme)) lines.push_back(*std::move(line));
  }
  if (isLate) {
    // The text says 30 whatever the limit is.
    lines.push_back(formatMessage("[%@][Connection] Cancelled Request after 30 seconds: %.2fs",
                                  {user(), secondsSince(start)}));
  }

  TWResponse record;
  record.url = std::move(result.url);
  record.response = std::move(result.response);
  record.error = result.error;
  // Half a body is never taken for a whole one, not even one that happens to parse.
  if (!result.error) record.setData(std::move(result.body));
  reportRedirect(record, std::move(result.redirectTarget));
  return record;
}

void TWConnection::reportRedirect(TWResponse& record, std::string target) {
  if (!target.empty()) {
    record.needsRedirect = true;
    record.redirectUrl = target;
    const std::lock_guard lock(fieldMutex_);
    redirected_ = std::move(target);
  }
  // On purpose never cleared: a connection that was once sent elsewhere is no good any more, and
  // callers recover with a fresh one.
  if (const std::optional<std::string> refused = redirected()) {
    record.error = TWError(TWErrorCode::ErrorRedirect, TWDictionary{{"url", *refused}});
  }
}

TWError TWConnection::refusal(const TWHTTPRequest& request) const {
  std::optional<detail::HTTPLogin> login = detail::passwordLogin(credentials_.get());
  TWError error = detail::refusal(request.url, request.method, request.headers, login);
  if (login) detail::wipe(login->password);
  return error;
}

TWResponse TWConnection::fetchStream(TWHTTPRequest request, Body body) {
  TWResponse record;
  record.url = request.url;
  // An exchange reports no errors, so what can be known before is said before.
  record.error = refusal(request);
  std::string target;
  if (!record.error) {
    if (body) request.body.emplace(body->begin(), body->end());
    std::shared_ptr<TWStreamExchange> exchange;
    if (options_.makeStream) exchange = options_.makeStream(credentials_, request, options_);
    if (!exchange) {
      exchange = TWConnectionStream::withCredentials(credentials_, std::move(request), options_);
    }
    exchange->setAllowInsecureCertificate(allowInsecureCertificate_);
    exchange->arm();
    {
      const std::lock_guard lock(fieldMutex_);
      stream_ = exchange;
    }
    if (cancelled_) exchange->cancel();  // by somebody who did not see it yet
    std::optional<TWData> fetched = exchange->await();
    {
      const std::lock_guard lock(fieldMutex_);
      stream_.reset();
    }
    if (exchange->wasCancelled()) record.error = cancellation("The request was cancelled");
    if (fetched) record.setData(*std::move(fetched));
    target = exchange->refusedRedirect().value_or("");
  }
  reportRedirect(record, std::move(target));
  return record;
}

TWResponse TWConnection::post(std::string_view url, const std::optional<TWHeaders>& headers,
                              Body body) {
  return fetch(url, "POST", headers, body);
}

TWResponse TWConnection::post(std::string_view url, const std::optional<TWHeaders>& headers,
                              std::string_view xml, bool stream) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(xml.data());
  return fetch(url, "POST", headers, std::span(bytes, xml.size()), stream);
}

TWResponse TWConnection::get(std::string_view url) {
  return fetch(url, "GET", std::nullopt, std::nullopt);
}

TWResponse TWConnection::head(std::string_view url, const std::optional<TWHeaders>& headers,
                              Body body) {
  return fetch(url, "HEAD", headers, body);
}

void TWConnection::cancel() {
  {
    // No turn begins meanwhile, so that this ends one request only.
    const std::lock_guard lock(fieldMutex_);
    cancelled_ = true;
    transfer_->cancel();
  }
  if (const auto exchange = stream()) exchange->cancel();
}

void TWConnection::close() {
  closed_ = true;
  releaseWhenClosed();
}

void TWConnection::releaseWhenClosed() {
  // Whoever holds the lock comes here after letting go of it, so that the sockets close at once
  // either way and nobody waits.
  const std::unique_lock turn(lock_, std::try_to_lock);
  if (turn) transfer_->dropConnections();
}

void TWConnection::setAllowInsecureCertificate(bool allow) {
  if (allowInsecureCertificate_.exchange(allow) != allow) trustChanged_ = true;
}

std::optional<std::string> TWConnection::noteAuthType(TWAuthType type) {
  if (lastUsedAuthType_.exchange(type) == type) return std::nullopt;
  return formatMessage("[%@] Using auth type: %lu", {user(), static_cast<std::int64_t>(type)});
}

void TWConnection::setLastUsedAuthType(TWAuthType type) {
  if (const auto line = noteAuthType(type)) TWLogger::logger().rlog(*line);
}

std::optional<std::string> TWConnection::redirected() const {
  const std::lock_guard lock(fieldMutex_);
  return redirected_;
}

std::string TWConnection::server() const {
  const std::lock_guard lock(fieldMutex_);
  return server_;
}

void TWConnection::setServer(std::string_view server) {
  const std::lock_guard lock(fieldMutex_);
  server_ = server;
}

std::string TWConnection::serviceEndpoint() const {
  const std::lock_guard lock(fieldMutex_);
  return serviceEndpoint_;
}

void TWConnection::setServiceEndpoint(std::string_view serviceEndpoint) {
  const std::lock_guard lock(fieldMutex_);
  serviceEndpoint_ = serviceEndpoint;
}

std::shared_ptr<TWStreamExchange> TWConnection::stream() const {
  const std::lock_guard lock(fieldMutex_);
  return stream_;
}

TWValue TWConnection::user() const {
  return credentials_ ? TWValue(credentials_->username()) : TWValue();
}

std::vector<std::shared_ptr<TWConnection>> TWConnection::openConnections() {
  std::vector<std::shared_ptr<TWConnection>> open;
  Registry& shared = registry();
  const std::lock_guard lock(shared.mutex);
  for (const std::weak_ptr<TWConnection>& noted : shared.connections) {
    if (std::shared_ptr<TWConnection> connection = noted.lock();
        connection && !connection->closed_) {
      open.push_back(std::move(connection));
    }
  }
  return open;
}

void TWConnection::recordConnectionOpened(const std::shared_ptr<TWConnection>& connection) {
  if (!connection) return;
  Registry& shared = registry();
  const std::lock_guard lock(shared.mutex);
  // Dropped where it stood before, so that it is listed once.
  std::erase_if(shared.connections,
                [&](const auto& noted) { return noted.expired() || noted.lock() == connection; });
  shared.connections.push_back(connection);
}

}  // namespace tarnwell
