#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/transport/TWAuthType.h"
#include "tarnwell/transport/TWHeaders.h"
#include "tarnwell/transport/TWResponse.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWConnection;
class TWCredentials;

/// What the header of an envelope says of the account that asks; the account fills it.
struct TWEnvelopeContext {
  /// Primary SMTP address of the impersonated mailbox; absent unless the account's access type is
  /// impersonation.
  std::optional<std::string> impersonatedAddress;
  /// Windows name of the account's default time zone (`TWTimeZone::mszone`).
  std::string timeZoneId;
};

/// A user name and a secret as one authentication scheme wants them.
struct TWAuthInstance {
  std::string username;
  std::string password;
};

/// Whoever lends a connection for a request: a protocol, which makes it on demand.
class TWConnectionSource {
 public:
  virtual ~TWConnectionSource() = default;
  /// The ordinary connection; null once closed.
  [[nodiscard]] virtual std::shared_ptr<TWConnection> connection() = 0;
};

/// The SOAP side of a request: fixed headers, the envelope, the reading of challenges and
/// redirects. Stateless; safe from any thread.
class TWTransport {
 public:
  /// "Content-Type" and "Accept-Encoding" of every request that is given no headers. Built once.
  [[nodiscard]] static const TWHeaders& defaultHeaders();

  /// The SOAP 1.1 envelope of a request, as text: `s:Header` with `t:RequestServerVersion` and,
  /// with an account, `t:ExchangeImpersonation` (impersonation only) and `t:TimeZoneContext`; then
  /// `s:Body` with the payload. The payload is moved into the body, so it must have no parent;
  /// detach it to use it again.
  /// @param version  the API version to declare, for instance "Exchange2010_SP2".
  /// @param account  null for requests that no account is bound to.
  [[nodiscard]] static std::string wrap(const NKXMLElement& payload, std::string_view version,
                                        const TWEnvelopeContext* account = nullptr);

  /// The authentication type that a server asks for, read from its answer to a bare request. 401:
  /// the first "WWW-Authenticate" header that names a known scheme decides; in one header Digest
  /// goes before NTLM and NTLM before Basic. 200: none is needed. Errors: the record's own; 2
  /// (ErrorTransport) for a redirect without a target and for other statuses; 4 (ErrorUnauthorized)
  /// for a 401 without a known scheme.
  [[nodiscard]] static TWAuthType authTypeFromResponse(const TWResponse& response,
                                                       TWError* error = nullptr);

  /// The distinct lower-case tokens of a header value, cut at blanks and commas.
  [[nodiscard]] static std::set<std::string> tokenize(std::string_view value);

  /// User name and password for a scheme; absent for `TWAuthType::none` and without credentials.
  /// With NTLM an e-mail address gets a leading backslash, that is, an empty domain; the other
  /// schemes send it as it is.
  [[nodiscard]] static std::optional<TWAuthInstance> getAuthInstance(
      const std::shared_ptr<const TWCredentials>& credentials, TWAuthType authType);

  /// Whether a redirect can be followed. Errors, code 2 (ErrorTransport): no new URL, or the URL of
  /// the first request again (compared as text). An empty URL is none.
  static bool validateRedirectUrl(std::optional<std::string_view> newUrl,
                                  std::string_view withOriginalUrl, TWError* error = nullptr);

  /// Posts a body through the source's ordinary connection. A source that is closed or null gives
  /// an empty record. A failure is in the record, and in `*error` too.
  [[nodiscard]] static TWResponse post(TWConnectionSource* protocol, std::string_view url,
                                       const std::optional<TWHeaders>& headers, const TWData& body,
                                       TWError* error = nullptr);
};

}  // namespace tarnwell
