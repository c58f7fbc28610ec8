#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tarnwell/protocol/TWProtocol.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell {

/// What one autodiscover answer says.
struct TWAutodiscoverParams {
  std::string ewsUrl;
  std::string primarySMTPAddress;
};

/// The result of a discovery: the mailbox's canonical address and the shared protocol of its
/// endpoint.
struct TWAutodiscoverObject {
  std::string primarySMTPAddress;
  std::shared_ptr<TWProtocol> protocol;
};

/// How a discovery goes about it.
struct TWAutodiscoverOptions {
  /// Whether plain http is spoken: to the last candidate, to the target of a redirect, to the
  /// endpoint that an answer names. Switch it off where credentials must not go over an unencrypted
  /// connection; an answer with such an endpoint is then as good as none.
  bool allowsPlainHTTP = true;
  /// At most so many redirects are followed in one discovery.
  int maxRedirects = 10;
  /// For every connection made.
  TWConnectionOptions connection;
};

/// Finds the EWS endpoint of a mailbox from its e-mail address, by the POX autodiscover exchange:
/// the address is posted to candidate hosts, which answer with the endpoint or redirect to another
/// host.
///
///     if (const auto found = TWAutodiscover::discover("ann@example.com", credentials))
///       use(found->protocol);
///
/// Blocks for one exchange per candidate and the probing of the protocols made. Safe from any
/// thread.
class TWAutodiscover {
 public:
  /// Absent when no candidate knows the mailbox. Why is not told; `autodiscoverHostname` tells it
  /// of one host.
  [[nodiscard]] static std::optional<TWAutodiscoverObject> discover(
      std::string_view email, const std::shared_ptr<TWCredentials>& credentials,
      const TWAutodiscoverOptions& options = {});
  /// The same for a domain of its own.
  [[nodiscard]] static std::optional<TWAutodiscoverObject> tryAutoDiscover(
      std::string_view domain, std::string_view email,
      const std::shared_ptr<TWCredentials>& credentials, const TWAutodiscoverOptions& options = {});

  /// Whether a candidate is reached over TLS, and its host.
  using Candidate = std::pair<bool, std::string>;
  /// The domain and "autodiscover." before it over https, then the latter over http; none for no
  /// domain.
  [[nodiscard]] static std::vector<Candidate> hostnamesForHostname(std::string_view domain);

  /// One attempt against one host.
  ///
  /// Errors: 1 (ErrorRedirect) with the target under "url"; 5 (ErrorAutodiscoverFailed) for an
  /// answer that is no answer or none at all, with an error under "e" or the server's "code" and
  /// "msg", or for an endpoint that the options forbid; 6 (ErrorRedirectAddress) with the new
  /// address under "email"; 7 (ErrorAutodiscoverAccountType); 384 (ErrorValueOutOfRange)
  /// for an address with a character that XML forbids, which is not sent.
  [[nodiscard]] static std::optional<TWAutodiscoverObject> autodiscoverHostname(
      std::string_view host, std::string_view email,
      const std::shared_ptr<TWCredentials>& credentials, bool hasSSL, TWError* error = nullptr,
      const TWAutodiscoverOptions& options = {});
  /// Nothing but a bool is a flag.
  static std::optional<TWAutodiscoverObject> autodiscoverHostname(
      std::string_view host, std::string_view email,
      const std::shared_ptr<TWCredentials>& credentials, auto hasSSL, TWError* error = nullptr,
      const TWAutodiscoverOptions& options = {}) = delete;

  /// The request's body.
  [[nodiscard]] static std::string getAutodiscoverPayload(std::string_view email);
  /// Posts it to the protocol's endpoint.
  [[nodiscard]] static std::optional<TWResponse> getAutodiscoverResponse(TWProtocol& protocol,
                                                                         std::string_view email,
                                                                         TWError* error = nullptr);
  /// What keeps such a record from being read: 1 (ErrorRedirect) as it is; 5
  /// (ErrorAutodiscoverFailed) around 2 and 4, under "e", and for a record without a document. "No
  /// error" for any other.
  [[nodiscard]] static TWError errorOfResponse(const TWResponse& response);
  /// Reads an answer.
  [[nodiscard]] static std::optional<TWAutodiscoverParams> parseAutodiscoverResponse(
      std::string_view xml, TWError* error = nullptr);
  [[nodiscard]] static std::optional<TWAutodiscoverParams> parseAutodiscoverResponse(
      const NKXMLElement& root, TWError* error = nullptr);
  /// The error that an answer without an account stands for.
  [[nodiscard]] static TWError parseResponseErrors(const NKXMLElement& root);
};

}  // namespace tarnwell
